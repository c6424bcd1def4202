#include "host/daemon/ClockWatch.h"

#include "host/common/Log.h"
#include "host/common/Session.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>

namespace host {

namespace {

const std::int64_t kNever = 253402300800; // the year 10000

} // namespace

WatchedFd::WatchedFd(int fd, const char* what, std::function<void()> readable)
    : _fd(fd)
    , _readable(std::move(readable))
{
    if (fd < 0)
        throw std::system_error(errno, std::generic_category(), what);
    const auto call = [](void* data, Ecore_Fd_Handler*) -> Eina_Bool {
        static_cast<WatchedFd*>(data)->_readable();
        return ECORE_CALLBACK_RENEW;
    };
    _handler = ecore_main_fd_handler_add(fd, ECORE_FD_READ, call, this, nullptr, nullptr);
}

WatchedFd::~WatchedFd()
{
    ecore_main_fd_handler_del(_handler);
    close(_fd);
}

ClockWatch::ClockWatch(std::function<void()> due, std::function<void()> changed)
    : _due(std::move(due))
    , _changed(std::move(changed))
    , _zone(zoneId())
    , _timer(timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC), "timerfd_create",
          [this] { _readTimer(); })
    , _zoneEvents(
          inotify_init1(IN_NONBLOCK | IN_CLOEXEC), "inotify_init1", [this] { _readZoneEvents(); })
{
    // The folders are watched, because a link is replaced, not written. zoneId() falls back to the
    // link in /etc.
    const std::string& link = zoneLinkPath();
    for (const std::string& folder :
        { std::filesystem::path(link).parent_path().string(), std::string("/etc") }) {
        const int watch = inotify_add_watch(
            _zoneEvents.get(), folder.c_str(), IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO);
        if (watch < 0 && errno != ENOENT) {
            logWarning("Changes of the zone in " + folder
                + " will not be noticed: " + std::generic_category().message(errno));
        }
    }
}

void ClockWatch::wakeAt(std::optional<std::int64_t> instant)
{
    itimerspec when = {};
    when.it_value.tv_sec = std::max<std::int64_t>(instant.value_or(kNever), 1);
    const int flags = TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET;
    if (timerfd_settime(_timer.get(), flags, &when, nullptr) == 0)
        return;
    if (errno != ECANCELED)
        throw std::system_error(errno, std::generic_category(), "timerfd_settime");
    // The clock was set after the last read of the timer, and no read will report it.
    _changed();
}

void ClockWatch::_readTimer()
{
    std::uint64_t expirations = 0;
    if (read(_timer.get(), &expirations, sizeof expirations) > 0) {
        _due();
    } else if (errno == ECANCELED) {
        _changed();
    }
}

void ClockWatch::_readZoneEvents()
{
    alignas(inotify_event) char events[16 * (sizeof(inotify_event) + NAME_MAX + 1)];
    while (read(_zoneEvents.get(), events, sizeof events) > 0) {
    }
    const std::string zone = zoneId();
    if (zone == _zone)
        return;
    _zone = zone;
    _changed();
}

} // namespace host
