#pragma once

#include <functional>
#include <optional>
#include <sys/time.h>
#include <vector>

/// The clock of the objects that a test links. Without a value it is the real one.
struct ClockDouble {
    /// What gettimeofday, time and clock_gettime, of the real-time clock, answer.
    std::optional<timeval> now;
    /// How often time was asked.
    int timesAsked = 0;
    /// The sleeps asked for, in microseconds.
    std::vector<unsigned int> sleeps;
    /// Takes the place of a sleep.
    std::function<void()> sleep;
};

ClockDouble& clockDouble();
