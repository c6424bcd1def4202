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
 * The process's line to hostd for what a ringing alarm needs, on a thread of its own. Who asks for
 * something waits for a daemon that is slow or hangs, but all together for 200 ms only: from then
 * on nobody waits until it is prompt again. What was asked of a daemon that did not answer is not
 * sent later: it is told to the daemon anew by the renewals, when it goes on or another process has
 * become hostd.
 */
class DaemonLink {
public:
    /// Lives as long as the process. Throws sdbus::Error without a bus.
    static DaemonLink& instance();

    /// What became of a request.
    struct Answer {
        bool isThere = false; ///< false: hostd may not even have got it; a renewal is to tell it
        std::string error; ///< the name of what hostd refused it with; empty = done
        std::string text;
        sdbus::MethodReply* values = nullptr; ///< what hostd returns
    };
    /// Makes the caller's result of the answer, on the link's thread.
    using Answered = std::function<int(const Answer& answer)>;

    /// Asks hostd and returns what answered does. Any thread but the link's.
    template <typename... Arguments>
    int ask(
        const char* interface, const char* method, Answered answered, const Arguments&... arguments)
    {
        return _ask(
            { interface, method, [=](sdbus::MethodCall& call) { (void)(call << ... << arguments); },
                std::move(answered) });
    }

    /// Runs the task on the link's thread, and returns when it has ended. Any thread but that one.
    void run(const std::function<void()>& task);

    // What follows is for the link's thread, in tasks, answers, renewals and handlers of signals.

    /// False while hostd hangs or there is none.
    bool listens() const { return !_isHanging && !_daemon.owner().empty(); }

    /// Tells hostd without waiting; answered, if there is one, is called when it answers.
    template <typename... Arguments>
    void tell(
        const char* interface, const char* method, Answered answered, const Arguments&... arguments)
    {
        _send({ interface, method,
                  [=](sdbus::MethodCall& call) { (void)(call << ... << arguments); }, nullptr },
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
        std::function<void(sdbus::MethodCall& call)> write; ///< its arguments
        Answered answered;
    };
    struct Waiting {
        Request request;
        std::promise<int> result;
        Clock::time_point begin;
        Clock::time_point end;
    };

    DaemonLink();
    int _ask(Request request);
    void _begin(const std::shared_ptr<Waiting>& waiting);
    void _end(std::shared_ptr<Waiting> waiting, const Answer& answer);
    void _endLate();
    Clock::time_point _firstEnd() const; ///< of those that wait
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
    const Request _ping = { "org.freedesktop.DBus.Peer", "Ping", nullptr, nullptr };
    std::vector<std::function<void()>> _renewals;
    std::list<std::shared_ptr<Waiting>> _waiting;
    Clock::duration _patience; ///< how long requests may still wait, all together
    bool _isHanging = false;
    bool _isSeeing = false; ///< whether it is prompt again
    bool _isRenewalDue = false; ///< something was asked for in vain
    bool _isReported = false; ///< that nobody answers is in the log

    std::mutex _mutex; ///< guards the tasks
    std::deque<std::function<void()>> _tasks;
    const int _wake; ///< readable when there are tasks
    std::thread _thread;
};

} // namespace host
