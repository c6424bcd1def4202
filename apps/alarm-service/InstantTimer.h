#pragma once

#include <ctime>
#include <Ecore.h>
#include <functional>
#include <optional>

/**
 * Calls back at an instant of the clock, and also when the clock is set: a timer of the main loop
 * counts seconds, and would be late or early then, and after a sleep of the device. Main loop only.
 */
class InstantTimer {
public:
    explicit InstantTimer(std::function<void()> due);
    InstantTimer(const InstantTimer&) = delete;
    InstantTimer& operator=(const InstantTimer&) = delete;
    ~InstantTimer() { stop(); }

    /// Calls back once at that instant, or soon when it is over; replaces the instant before. None:
    /// only when the clock is set. False, with a log line, when the system has no timer left.
    bool wakeAt(std::optional<time_t> instant);

    /// To be called before the main loop ends.
    void stop();

private:
    static unsigned char _readableCb(void* data, Ecore_Fd_Handler* handler) noexcept;
    bool _open();

    std::function<void()> _due;
    int _timer = -1;
    Ecore_Fd_Handler* _handler = nullptr;
};
