#pragma once

#include "host/common/Programs.h"
#include "host/common/Timer.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <sdbus-c++/sdbus-c++.h>
#include <set>
#include <string>
#include <vector>

namespace host {

/**
 * Knows which connection to the bus belongs to which application, and finds or starts applications.
 * A connection is identified by the program of its process, not by its bus names, which any process
 * can take. It is looked up when it appears, and remembered when it has ended. Main loop.
 */
class Applications {
public:
    /// Throws sdbus::Error without a bus.
    Applications();
    Applications(const Applications&) = delete;
    Applications& operator=(const Applications&) = delete;

    /// Empty for a connection that never existed, or ended too long ago.
    Identity who(const std::string& connection);

    /// The program file of the connection's process, by which limits per program are counted; empty
    /// when it is not known.
    std::string programBehind(const std::string& connection);

    /// connection: where the application takes requests; when there is none, error is not null.
    using Found = std::function<void(const std::string& connection, const sdbus::Error* error)>;
    /// Finds the application, or starts it. If another program holds its bus name, its own program
    /// is started without the name. found is called once, maybe before this returns.
    void find(const std::string& application, Found found);

    /// Whether the error is final because no such application is installed.
    static bool isUnknown(const std::string& application, const sdbus::Error& error);

    /// The connection's application takes requests although it does not have its bus name.
    void ready(const std::string& connection);
    /// The connection's process ends because it was told to.
    void ending(const std::string& connection);

    /// Sets the function to call when a connection of an application has ended; a process may have
    /// several connections.
    using Ended = std::function<void(const std::string& application, bool wasTold)>;
    void whenEnded(Ended ended) { _ended = std::move(ended); }

private:
    struct Client {
        pid_t process = 0;
        std::string program;
        Identity identity;
    };
    struct Search {
        std::vector<Found> waiting;
        std::unique_ptr<Timer> limit; ///< for a program that was started without the bus
    };

    Client _clientOf(const std::string& connection);
    void _ownerChanged(
        const std::string& name, const std::string& before, const std::string& after);
    void _tryToKnow(const std::string& connection);
    void _remember(const std::string& connection);
    std::string _runningOf(const std::string& application);
    void _look(const std::string& application);
    template <typename Work>
    void _orSettle(const std::string& application, Work work);
    void _start(const std::string& application);
    void _startByBus(const std::string& application);
    bool _isActivatable(const std::string& application);
    void _startProgram(const std::string& application);
    void _settle(
        const std::string& application, const std::string& connection, const sdbus::Error* error);

    std::unique_ptr<sdbus::IProxy> _bus;
    std::map<std::string, Client> _clients; ///< by connection, including those in _remembered
    std::set<pid_t> _ending; ///< processes that were told to end
    std::deque<std::string> _remembered; ///< connections that have ended, the oldest first
    std::map<std::string, std::string> _owners; ///< connections by the bus names that they own
    std::map<std::string, std::string> _nameless; ///< connections of applications without a name
    std::map<std::string, Search> _searches; ///< by application
    Ended _ended;
    sdbus::Slot _changes;
};

} // namespace host
