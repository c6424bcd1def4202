#pragma once

#include <cstdint>
#include <Ecore.h>
#include <functional>
#include <optional>
#include <string>

namespace host {

/// A file descriptor that the Ecore loop watches for reading.
class WatchedFd {
public:
    /// Takes the descriptor over. Throws std::system_error when it is -1.
    WatchedFd(int fd, const char* what, std::function<void()> readable);
    WatchedFd(const WatchedFd&) = delete;
    WatchedFd& operator=(const WatchedFd&) = delete;
    ~WatchedFd();
    int get() const { return _fd; }

private:
    int _fd;
    std::function<void()> _readable;
    Ecore_Fd_Handler* _handler = nullptr;
};

/**
 * The device's clock on the Ecore loop: wakes at an instant that it shows, and tells when it was
 * set or when another zone was chosen. Ecore must be initialised.
 */
class ClockWatch {
public:
    ClockWatch(std::function<void()> due, std::function<void()> changed);

    /// Calls due at that instant, seconds since the epoch, at once if it is past; replaces the
    /// instant before. A clock that is set is noticed with and without one.
    void wakeAt(std::optional<std::int64_t> instant);

private:
    void _readTimer();
    void _readZoneEvents();

    std::function<void()> _due;
    std::function<void()> _changed;
    std::string _zone;
    WatchedFd _timer;
    WatchedFd _zoneEvents;
};

} // namespace host
