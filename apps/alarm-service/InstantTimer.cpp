#include "InstantTimer.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <dlog.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

const char* const kTag = "alarm-service";
const time_t kNever = 253402300800; // the year 10000

} // namespace

InstantTimer::InstantTimer(std::function<void()> due)
    : _due(std::move(due))
{
}

bool InstantTimer::wakeAt(std::optional<time_t> instant)
{
    itimerspec when = {};
    when.it_value.tv_sec = std::max<time_t>(instant.value_or(kNever), 1);
    const int flags = TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET;
    bool isSet = _open() && timerfd_settime(_timer, flags, &when, nullptr) == 0;
    if (!isSet && _timer >= 0 && errno == ECANCELED) {
        // The clock was set since the timer was read last, and no read would tell it now: call back
        // at once.
        when.it_value.tv_sec = 1;
        isSet = timerfd_settime(_timer, flags, &when, nullptr) == 0;
    }
    if (!isSet)
        dlog_print(DLOG_ERROR, kTag, "there is no timer: %s", strerror(errno));
    return isSet;
}

void InstantTimer::stop()
{
    if (_handler)
        ecore_main_fd_handler_del(_handler);
    _handler = nullptr;
    if (_timer >= 0)
        close(_timer);
    _timer = -1;
}

// A read fails with ECANCELED when the clock was set.
unsigned char InstantTimer::_readableCb(void* data, Ecore_Fd_Handler*) noexcept
{
    auto* self = static_cast<InstantTimer*>(data);
    uint64_t expirations = 0;
    if (read(self->_timer, &expirations, sizeof expirations) > 0 || errno == ECANCELED)
        self->_due();
    return ECORE_CALLBACK_RENEW;
}

bool InstantTimer::_open()
{
    if (_timer >= 0)
        return true;
    _timer = timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    if (_timer < 0)
        return false;
    _handler
        = ecore_main_fd_handler_add(_timer, ECORE_FD_READ, _readableCb, this, nullptr, nullptr);
    return true;
}
