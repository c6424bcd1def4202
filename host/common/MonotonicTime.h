#pragma once

#include <cstdint>
#include <ctime>

namespace host {

/// Nanoseconds of CLOCK_MONOTONIC, which all processes share and which nobody can set.
inline std::uint64_t monotonicNow()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000
        + static_cast<std::uint64_t>(now.tv_nsec);
}

} // namespace host
