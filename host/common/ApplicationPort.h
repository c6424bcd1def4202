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
 * Where the launch requests and replies for this process arrive, and from where it sends its own.
 * Main thread; everything arrives from the main loop. Errors of the bus are thrown as sdbus::Error.
 */
class ApplicationPort {
public:
    static ApplicationPort& instance();

    struct Request {
        Entries entries;
        std::string sender; ///< unique bus name
        uint64_t ticket = 0; ///< 0 = no reply wanted
        std::string once; ///< the same for requests of which one is to be handled; empty = none
        sdbus::Result<> handled;
    };
    using Receiver = std::function<void(Request request)>;
    using Answer = std::function<void(int result, const Entries& reply)>;

    /// Takes the process's application id as its bus name and passes each request to receiver. When
    /// another program holds the name, requests come all the same, by way of hostd. Throws
    /// sdbus::Error when the application runs already.
    void open(const std::string& application, Receiver receiver);

    /// Gives the name back. Requests that had come have been received when this returns; later ones
    /// start the application anew.
    void close();

    /// False when a request with its once text was handled in this session, by any process.
    static bool isNew(const Request& request);

    /// Tells the sender that the request needs nothing more. Until then it may send it again, to
    /// the next process when this one dies.
    static void finish(const Request& request);

    /// Starts the application if need be and sends the request to its own program, whoever holds
    /// its name; the answer, when one is wanted, comes once.
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
    std::unique_ptr<DaemonWatch> _daemon; ///< of an application without its name: hostd must know
    bool _isKnown = false; ///< to hostd, which remembers who this process is
};

} // namespace host
