#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace host {

/// A thread that runs tasks one after the other.
class CallbackThread {
public:
    CallbackThread();
    ~CallbackThread();

    /// Any thread; never waits for a task.
    void post(std::function<void()> task);

    /// Drops tasks that have not begun, and returns when the running one has ended.
    void end();

    /// Whether the caller runs on this thread.
    bool isCurrent() const { return std::this_thread::get_id() == _thread.get_id(); }

private:
    void _run();

    std::mutex _mutex; ///< never held while a task runs
    std::condition_variable _wake;
    std::deque<std::function<void()>> _tasks;
    bool _isEnding = false;
    std::thread _thread;
};

} // namespace host
