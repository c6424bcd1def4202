#include "app-assist.h"

namespace app_assist {

struct WUiTimer::Impl {
    static Eina_Bool tickCb(void* data);

    std::shared_ptr<WUiTimer> self; ///< keeps an active timer alive
    std::shared_ptr<TickCb> tick; ///< shared with a running tick, which may destroy the timer
    void* data = nullptr;
    Ecore_Timer* timer = nullptr;
    bool ticking = false;
};

WUiTimer::WUiTimer()
    : _impl(std::make_unique<Impl>())
{
}

WUiTimer::~WUiTimer() = default;

std::shared_ptr<WUiTimer> WUiTimer::create(double period, TickCb tick, void* data)
{
    if (!(period > 0) || !tick)
        return nullptr;
    std::shared_ptr<WUiTimer> made(new WUiTimer);
    Impl& impl = *made->_impl;
    impl.timer = ecore_timer_add(period, Impl::tickCb, &impl);
    if (!impl.timer)
        return nullptr;
    impl.self = made;
    impl.tick = std::make_shared<TickCb>(std::move(tick));
    impl.data = data;
    return made;
}

void WUiTimer::destroy()
{
    // During a tick, the tick's return value deletes the Ecore timer.
    if (_impl->timer && !_impl->ticking)
        ecore_timer_del(_impl->timer);
    _impl->timer = nullptr;
    _impl->tick = nullptr;
    // This may have been the last owner: the timer is destroyed at the end of this function.
    const std::shared_ptr<WUiTimer> last = std::move(_impl->self);
}

bool WUiTimer::isActive() const { return _impl->timer != nullptr; }

Eina_Bool WUiTimer::Impl::tickCb(void* data)
{
    auto* impl = static_cast<Impl*>(data);
    const std::shared_ptr<WUiTimer> self = impl->self;
    const std::shared_ptr<TickCb> tick = impl->tick;
    if (!tick)
        return ECORE_CALLBACK_CANCEL;
    const bool isNested = impl->ticking;
    impl->ticking = true;
    if (!(*tick)(impl->data))
        self->destroy();
    impl->ticking = isNested;
    return self->isActive() ? ECORE_CALLBACK_RENEW : ECORE_CALLBACK_CANCEL;
}

} // namespace app_assist
