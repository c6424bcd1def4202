#pragma once

#include "host/common/Programs.h"
#include "host/daemon/Timer.h"

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
 * Which connection to the bus is which application's, and how an application is reached. A
 * connection is who its process's program is, looked at when the connection is made and remembered
 * when it has ended; a name on the bus is taken by anybody. Main loop.
 */
class Applications {
public:
    /// Throws sdbus::Error without a bus.
    Applications();
    Applications(const Applications&) = delete;
    Applications& operator=(const Applications&) = delete;

    /// Nobody for a connection that was never there, or ended too long ago.
    Identity who(const std::string& connection);

    /// The file of the program behind the connection, for what one program may have in all; empty
    /// when that is not known.
    std::string programBehind(const std::string& connection);

    /// Where the application takes requests, or why nowhere.
    using Found = std::function<void(const std::string& connection, const sdbus::Error* error)>;
    /// Starts the application if need be. Where another program holds its name, the application's
    /// is started without the name. found is called once, maybe before this returns.
    void find(const std::string& application, Found found);

    /// Whether the error will stay, as there is no such application.
    static bool isUnknown(const std::string& application, const sdbus::Error& error);

    /// The connection's application takes requests without its name.
    void ready(const std::string& connection);
    /// The connection's process ends because it was told to.
    void ending(const std::string& connection);

    /// Called when a connection of an application has ended; a process may have several.
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
        std::unique_ptr<Timer> limit; ///< of a program that was started without the bus
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
    std::map<std::string, Client> _clients; ///< by connection, those that are remembered, too
    std::set<pid_t> _ending; ///< processes that were told to end
    std::deque<std::string> _remembered; ///< connections that have ended, the oldest first
    std::map<std::string, std::string> _owners; ///< names and who holds them
    std::map<std::string, std::string> _nameless; ///< applications that run without their name
    std::map<std::string, Search> _searches; ///< by application
    Ended _ended;
    sdbus::Slot _changes;
};

} // namespace host
