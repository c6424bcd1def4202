#include "UiTimerDouble.h"

#include "CallJournal.h"

#include <sstream>

namespace {
void note(const std::string& call, double period)
{
    std::ostringstream text;
    text << call << '(' << period << ')';
    callJournal().note(text.str());
}

void stop(UiTimerDouble::Timer& timer)
{
    timer.active = false;
    timer.tickCb = nullptr;
}
} // namespace

UiTimerDouble& uiTimerDouble()
{
    static UiTimerDouble instance;
    return instance;
}

void UiTimerDouble::Timer::tick()
{
    if (!active)
        return;
    // The tick may destroy the timer.
    const app_assist::WUiTimer::TickCb running = tickCb;
    if (!running(data))
        stop(*this);
}

namespace app_assist {
struct WUiTimer::Impl {
    std::shared_ptr<UiTimerDouble::Timer> timer;
};

WUiTimer::WUiTimer()
    : _impl(std::make_unique<Impl>())
{
}

WUiTimer::~WUiTimer() = default;

std::shared_ptr<WUiTimer> WUiTimer::create(double period, TickCb tick, void* data)
{
    note("WUiTimer::create", period);
    std::shared_ptr<WUiTimer> result(new WUiTimer);
    result->_impl->timer = std::make_shared<UiTimerDouble::Timer>(
        UiTimerDouble::Timer{ period, std::move(tick), data, true, std::this_thread::get_id() });
    uiTimerDouble().timers.push_back(result->_impl->timer);
    return result;
}

void WUiTimer::destroy()
{
    note("WUiTimer::destroy", _impl->timer->period);
    stop(*_impl->timer);
}

bool WUiTimer::isActive() const { return _impl->timer->active; }
} // namespace app_assist
