#include "host/common/Bus.h"

#include "host/common/Log.h"

#include <Ecore.h>
#include <poll.h>

namespace host {

const char* const kDaemonName = "com.velmora.host";
const char* const kDaemonPath = "/com/velmora/host";
const char* const kApplicationPath = "/com/velmora/host/Application";
const char* const kApplicationEnded = "com.velmora.host.Application.Error.Ended";

namespace {

const uint64_t kCallTimeoutMicroseconds = 10'000'000;
const int kMessagesPerTurn
    = 32; ///< so that a flood of messages does not keep the loop from its timers

// Lives as long as the process: Ecore forgets its handlers by itself when it is shut down.
class Loop {
public:
    Loop()
    {
        ecore_app_no_system_modules();
        ecore_init();
        _handler = ecore_main_fd_handler_add(bus().getEventLoopPollData().fd,
            static_cast<Ecore_Fd_Handler_Flags>(ECORE_FD_READ | ECORE_FD_ERROR), _readyCb, this,
            nullptr, nullptr);
        ecore_idle_enterer_add(_idleCb, this);
    }

private:
    // sd-bus queues what arrives while a call waits for its answer, and a queued message does not
    // make the descriptor readable again: hence the idle enterer.
    static Eina_Bool _readyCb(void* data, Ecore_Fd_Handler*)
    {
        auto* loop = static_cast<Loop*>(data);
        loop->_whileBusIsThere([loop] { loop->_drain(); });
        return ECORE_CALLBACK_RENEW;
    }

    static Eina_Bool _idleCb(void* data)
    {
        auto* loop = static_cast<Loop*>(data);
        loop->_whileBusIsThere([loop] {
            loop->_drain();
            loop->_follow();
        });
        return ECORE_CALLBACK_RENEW;
    }

    template <typename Work>
    void _whileBusIsThere(Work work)
    {
        if (!_handler)
            return;
        try {
            work();
        } catch (const sdbus::Error& error) {
            logInfo("the session's bus is gone: " + error.getMessage());
            ecore_main_fd_handler_del(_handler);
            _handler = nullptr;
            ecore_main_loop_quit();
        }
    }

    static Eina_Bool _timeoutCb(void* data)
    {
        static_cast<Loop*>(data)->_timer = nullptr;
        return ECORE_CALLBACK_CANCEL;
    }

    // Messages that are left are for later turns of the loop: _follow sees that they are pending.
    void _drain()
    {
        for (int i = 0; i < kMessagesPerTurn && bus().processPendingRequest(); ++i) {
        }
    }

    // Has the loop wait for what the connection waits for: a writable socket, the time limit of a
    // call.
    void _follow()
    {
        const sdbus::IConnection::PollData poll = bus().getEventLoopPollData();
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

    Ecore_Fd_Handler* _handler = nullptr;
    Ecore_Timer* _timer = nullptr;
};

} // namespace

std::unique_ptr<sdbus::IConnection> connectToBus()
{
    auto connection = sdbus::createSessionBusConnection();
    connection->setMethodCallTimeout(kCallTimeoutMicroseconds);
    return connection;
}

sdbus::IConnection& bus()
{
    static const std::unique_ptr<sdbus::IConnection> connection = connectToBus();
    return *connection;
}

void serveBusOnLoop()
{
    static const auto* loop = new Loop;
    (void)loop;
}

} // namespace host
