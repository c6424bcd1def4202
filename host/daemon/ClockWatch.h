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
    /// Takes ownership of the descriptor. Throws std::system_error, by errno, when it is -1.
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
 * Follows the device's clock on the Ecore loop: calls back at a given instant, and when the clock
 * was set or another zone was chosen. Ecore must be initialised.
 */
class ClockWatch {
public:
    ClockWatch(std::function<void()> due, std::function<void()> changed);

    /// Calls due at this instant (seconds since the epoch), or at once if it is past; replaces the
    /// instant of an earlier call. Changes of the clock are reported with and without an instant.
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
