#pragma once

#include "host/common/Boundary.h"

#include <Ecore.h>
#include <functional>

namespace host {

/// Calls a function once from the main loop after so many seconds, unless the timer is destroyed
/// before.
class Timer {
public:
    Timer(double seconds, std::function<void()> call)
        : _call(std::move(call))
        , _timer(ecore_timer_add(seconds, _dueCb, this))
    {
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer()
    {
        if (_timer)
            ecore_timer_del(_timer);
    }

private:
    static Eina_Bool _dueCb(void* data)
    {
        auto* timer = static_cast<Timer*>(data);
        timer->_timer = nullptr;
        const std::function<void()> call = std::move(timer->_call);
        guarded("the callback of a timer failed", call); // which may destroy the timer
        return ECORE_CALLBACK_CANCEL;
    }

    std::function<void()> _call;
    Ecore_Timer* _timer;
};

} // namespace host
