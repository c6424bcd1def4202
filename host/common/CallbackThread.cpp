#include "host/common/CallbackThread.h"

namespace host {

CallbackThread::CallbackThread()
    : _thread([this] { _run(); })
{
}

CallbackThread::~CallbackThread() { end(); }

void CallbackThread::post(std::function<void()> task)
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _tasks.push_back(std::move(task));
    }
    _wake.notify_one();
}

void CallbackThread::end()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _isEnding = true;
    }
    _wake.notify_one();
    if (_thread.joinable())
        _thread.join();
}

void CallbackThread::_run()
{
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        _wake.wait(lock, [this] { return _isEnding || !_tasks.empty(); });
        if (_isEnding)
            return;
        {
            const std::function<void()> task = std::move(_tasks.front());
            _tasks.pop_front();
            lock.unlock();
            task();
        }
        lock.lock();
    }
}

} // namespace host
