#pragma once

#include "host/common/Log.h"

#include <Ecore.h>
#include <exception>
#include <functional>
#include <string>

namespace host {

/// Calls once from the main loop, so many seconds later, unless it goes before.
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
        try {
            call(); // which may destroy the timer
        } catch (const std::exception& error) {
            logError(std::string("at its time: ") + error.what()); // Ecore is written in C
        }
        return ECORE_CALLBACK_CANCEL;
    }

    std::function<void()> _call;
    Ecore_Timer* _timer;
};

} // namespace host
