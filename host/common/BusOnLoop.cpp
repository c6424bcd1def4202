#include "host/common/BusOnLoop.h"

#include <chrono>
#include <poll.h>

namespace host {

namespace {

// So that neither a flood of messages nor slow ones keep the loop from its timers.
const int kMessagesPerTurn = 32;
const std::chrono::milliseconds kTurn{ 20 };

} // namespace

BusOnLoop::BusOnLoop(
    sdbus::IConnection& connection, std::function<void(const std::string& reason)> gone)
    : _connection(connection)
    , _gone(std::move(gone))
    , _handler(ecore_main_fd_handler_add(connection.getEventLoopPollData().fd,
          static_cast<Ecore_Fd_Handler_Flags>(ECORE_FD_READ | ECORE_FD_ERROR), _readyCb, this,
          nullptr, nullptr))
    , _idle(ecore_idle_enterer_add(_idleCb, this))
{
}

BusOnLoop::~BusOnLoop()
{
    if (_handler)
        ecore_main_fd_handler_del(_handler);
    if (_timer)
        ecore_timer_del(_timer);
    ecore_idle_enterer_del(_idle);
}

// sd-bus queues what arrives while a call waits for its answer, and a queued message does not make
// the descriptor readable again: hence the idle enterer.
Eina_Bool BusOnLoop::_readyCb(void* data, Ecore_Fd_Handler*)
{
    auto* self = static_cast<BusOnLoop*>(data);
    self->_whileBusIsThere([self] { self->_drain(); });
    return ECORE_CALLBACK_RENEW;
}

Eina_Bool BusOnLoop::_idleCb(void* data)
{
    auto* self = static_cast<BusOnLoop*>(data);
    self->_whileBusIsThere([self] {
        self->_drain();
        self->_follow();
    });
    return ECORE_CALLBACK_RENEW;
}

Eina_Bool BusOnLoop::_timeoutCb(void* data)
{
    static_cast<BusOnLoop*>(data)->_timer = nullptr;
    return ECORE_CALLBACK_CANCEL;
}

template <typename Work>
void BusOnLoop::_whileBusIsThere(Work work)
{
    if (!_handler)
        return;
    try {
        work();
    } catch (const sdbus::Error& error) {
        ecore_main_fd_handler_del(_handler);
        _handler = nullptr;
        _gone(error.getMessage());
    }
}

// Messages that are left are for later turns of the loop: _follow sees that they are pending.
void BusOnLoop::_drain()
{
    const auto end = std::chrono::steady_clock::now() + kTurn;
    for (int i = 0; i < kMessagesPerTurn && std::chrono::steady_clock::now() < end; ++i) {
        if (!_connection.processPendingRequest())
            return;
    }
}

// Has the loop wait for what the connection waits for: a writable socket, the time limit of a call.
void BusOnLoop::_follow()
{
    const sdbus::IConnection::PollData poll = _connection.getEventLoopPollData();
    const int flags
        = ECORE_FD_READ | ECORE_FD_ERROR | ((poll.events & POLLOUT) != 0 ? ECORE_FD_WRITE : 0);
    ecore_main_fd_handler_active_set(_handler, static_cast<Ecore_Fd_Handler_Flags>(flags));
    if (_timer)
        ecore_timer_del(_timer);
    _timer = nullptr;
    const int milliseconds = poll.getPollTimeout();
    if (milliseconds >= 0)
        _timer = ecore_timer_add(milliseconds / 1000.0, _timeoutCb, this);
}

} // namespace host
