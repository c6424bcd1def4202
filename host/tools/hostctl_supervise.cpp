#include "host/common/Bus.h"
#include "host/common/Signals.h"
#include "host/common/Timer.h"
#include "host/tools/hostctl.h"

#include <algorithm>
#include <Ecore.h>
#include <memory>

namespace hostctl {

namespace {

const double kPauseSeconds = 1;

// Starts hostd, and starts it again whenever it is gone, at most once a second.
class Supervisor {
public:
    Supervisor()
        : _bus(sdbus::createProxy(bus(), host::kBusName, host::kBusPath))
        , _daemon(bus(), [this](const std::string& owner) { _ownerChanged(owner); })
    {
        _start();
    }

private:
    void _ownerChanged(const std::string& owner)
    {
        if (!owner.empty())
            return;
        host::logWarning("hostd is gone and is started again");
        _startSoon();
    }

    void _startSoon()
    {
        const double wait = std::max(0.0, _started + kPauseSeconds - ecore_time_get());
        _again = std::make_unique<host::Timer>(wait, [this] { _start(); });
    }

    void _start()
    {
        _started = ecore_time_get();
        _bus->callMethodAsync("StartServiceByName")
            .onInterface(host::kBusName)
            .withArguments(std::string(host::kDaemonName), std::uint32_t{ 0 })
            .uponReplyInvoke([this](const sdbus::Error* error, std::uint32_t) {
                if (!error)
                    return;
                host::logError("hostd cannot be started: " + error->getMessage());
                _startSoon();
            });
    }

    std::unique_ptr<sdbus::IProxy> _bus;
    const host::DaemonWatch _daemon;
    double _started = 0;
    std::unique_ptr<host::Timer> _again;
};

} // namespace

void supervise(const Arguments& arguments)
{
    if (!arguments.empty())
        throw UsageError("\"" + arguments[0] + "\" is too much; it must be supervise");
    (void)bus();
    host::serveBusOnLoop();
    ecore_event_handler_add(
        ECORE_EVENT_SIGNAL_EXIT,
        [](void*, int, void*) -> Eina_Bool {
            ecore_main_loop_quit();
            return ECORE_CALLBACK_PASS_ON;
        },
        nullptr);
    const Supervisor supervisor;
    ecore_main_loop_begin();
}

} // namespace hostctl
