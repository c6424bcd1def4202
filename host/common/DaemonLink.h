#pragma once

#include "host/common/Signals.h"

#include <chrono>
#include <deque>
#include <functional>
#include <future>
#include <list>
#include <memory>
#include <mutex>
#include <sdbus-c++/sdbus-c++.h>
#include <string>
#include <thread>
#include <vector>

namespace host {

/**
 * The connection to hostd for what a ringing alarm needs, on a thread of its own. Callers wait for
 * a daemon that is slow or hangs, but for 200 ms in total: from then on nobody waits until hostd is
 * prompt again. A request that was not answered is not sent later. Instead, the renewals tell hostd
 * what the process holds when it goes on, or when a new hostd has started.
 */
class DaemonLink {
public:
    /// Lives as long as the process. Throws sdbus::Error without a bus.
    static DaemonLink& instance();

    /// What became of a request to hostd.
    struct Answer {
        bool isThere = false; ///< false: hostd may not have got the request; a renewal tells it
        std::string error; ///< name of hostd's D-Bus error; empty = done
        std::string text; ///< of the error
        sdbus::MethodReply* values = nullptr; ///< what hostd returns
    };
    /// Turns the answer into the result of ask; runs on the link's thread.
    using Answered = std::function<int(const Answer& answer)>;

    /// Sends the request and returns the result of answered. Any thread but the link's.
    template <typename... Arguments>
    int ask(const char* interface, const char* method, const Answered& answered,
        const Arguments&... arguments)
    {
        return _ask({ interface, method,
                        [=](sdbus::MethodCall& call) { (void)(call << ... << arguments); } },
            answered);
    }

    /// Runs the task on the link's thread and returns when it has ended. Any thread but the link's.
    void run(const std::function<void()>& task);

    // The following functions are called on the link's thread: in tasks, answers, renewals and
    // signal handlers.

    /// False while hostd hangs or there is none.
    bool listens() const { return !_isHanging && !_daemon.owner().empty(); }

    /// Sends the request without waiting; answered, unless null, is called with the answer.
    template <typename... Arguments>
    void tell(
        const char* interface, const char* method, Answered answered, const Arguments&... arguments)
    {
        _send({ interface, method,
                  [=](sdbus::MethodCall& call) { (void)(call << ... << arguments); } },
            [answered = std::move(answered)](const Answer& answer) {
                if (answered)
                    answered(answer);
            });
    }

    /// Calls renew each time that hostd may not know what this process holds.
    void addRenewal(std::function<void()> renew) { _renewals.push_back(std::move(renew)); }
    void watch(const char* interface, const char* signal, SignalHandler handler)
    {
        _daemon.watch(interface, signal, std::move(handler));
    }
    /// The name under which hostd knows this process.
    const std::string& client() const { return _client; }

private:
    using Clock = std::chrono::steady_clock;

    struct Request {
        const char* interface;
        const char* method;
        std::function<void(sdbus::MethodCall& call)> write; ///< appends the arguments
    };
    struct Waiting {
        Request request;
        std::packaged_task<int(const Answer& answer)> answered;
        Clock::time_point begin;
        Clock::time_point end;
    };

    DaemonLink();
    int _ask(Request request, const Answered& answered);
    void _begin(const std::shared_ptr<Waiting>& waiting);
    void _end(std::shared_ptr<Waiting> waiting, const Answer& answer);
    void _endLate();
    Clock::time_point _firstEnd() const; ///< when the first waiting request gives up
    void _sendIfPossible(const std::shared_ptr<Waiting>& waiting, const Request& request,
        std::function<void(const Answer& answer)> answered);
    void _send(const Request& request, std::function<void(const Answer& answer)> answered);
    Answer _read(sdbus::MethodReply& reply, const sdbus::Error* error);
    void _seeIfPrompt();
    void _becomePatient();
    void _renew();
    void _report(const std::string& text);

    void _post(std::function<void()> task);
    void _runTasks();
    void _serve();
    bool _processMessages();
    void _sleep(bool isBusThere);

    const std::unique_ptr<sdbus::IConnection> _connection;
    const std::string _client;
    DaemonWatch _daemon;
    const std::unique_ptr<sdbus::IProxy> _proxy;
    const Request _ping = { "org.freedesktop.DBus.Peer", "Ping", nullptr };
    std::vector<std::function<void()>> _renewals;
    std::list<std::shared_ptr<Waiting>> _waiting;
    Clock::duration _patience; ///< how long requests may still wait, in total
    bool _isHanging = false;
    bool _isSeeing = false; ///< a ping is on its way to see whether hostd is prompt again
    bool _isRenewalDue = false; ///< a request was not answered
    bool _isReported = false; ///< the log says already that hostd does not answer

    std::mutex _mutex; ///< guards _tasks
    std::deque<std::function<void()>> _tasks;
    const int _wake; ///< eventfd, readable when there are tasks
    std::thread _thread;
};

} // namespace host
