#pragma once

#include "host/common/Entries.h"
#include "host/common/Wire.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <sdbus-c++/sdbus-c++.h>
#include <string>

namespace host {

class DaemonWatch;

/**
 * Receives the launch requests and replies for this process, and sends its own. Main thread;
 * requests and answers arrive from the main loop. Errors of the bus are thrown as sdbus::Error.
 */
class ApplicationPort {
public:
    static ApplicationPort& instance();

    struct Request {
        Entries entries;
        std::string sender; ///< unique bus name
        uint64_t ticket = 0; ///< 0 = no reply wanted
        std::string once; ///< of requests with the same text only one is handled; empty = each is
        sdbus::Result<> handled;
    };
    using Receiver = std::function<void(Request request)>;
    using Answer = std::function<void(int result, const Entries& reply)>;

    /// Takes the application id as the process's bus name and passes each request to receiver. When
    /// another program holds the name, hostd directs requests here all the same. Throws
    /// sdbus::Error when the application runs already.
    void open(const std::string& application, Receiver receiver);

    /// Gives the bus name back. Requests that had arrived have been passed on when this returns;
    /// later ones start the application again.
    void close();

    /// False when a request with the same once text was handled before in this session, by any
    /// process.
    static bool isNew(const Request& request);

    /// Tells the sender that the request is handled. Until then the sender may send it again, to
    /// the next process when this one dies.
    static void finish(const Request& request);

    /// Starts the application unless it runs and sends the request to its own program, even when
    /// another program holds its bus name. answer, unless null, is called once.
    void launch(const std::string& application, const Entries& request, Answer answer,
        const std::string& once = {});

    void reply(const std::string& sender, uint64_t ticket, int result, const Entries& entries);

private:
    ApplicationPort();
    ~ApplicationPort();
    class Object;
    struct Sending {
        std::string application;
        WireEntries request;
        std::string once;
        uint64_t ticket = 0;
        int tries = 0;
    };

    void _send(const std::string& connection, const Sending& sending);
    void _failed(Sending sending, const sdbus::Error& error);
    void _becomeKnown();

    std::unique_ptr<Object> _object;
    std::string _application;
    bool _hasName = false;
    std::unique_ptr<DaemonWatch> _daemon; ///< for an application without its bus name
    bool _isKnown = false; ///< whether hostd has looked up which application this process is
};

} // namespace host
