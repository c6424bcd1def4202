#pragma once

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>
#include <cstdint>
#include <optional>

namespace host {

/// When an alarm rings, as the device's clock shows it.
struct AlarmTime {
    int hour = 0;
    int minute = 0;
    int second = 0;
    int weekSet = 0; ///< OR of 1 (Sunday) to 64 (Saturday); 0 = any day
    std::optional<cctz::civil_day> firstDay; ///< the first day on which the alarm may ring
};

/**
 * The first instant later than after at which the clock shows the alarm's time of day on one of its
 * days; in seconds since the epoch.
 *
 * If a clock change skips the time, the alarm rings at the first instant after the gap; if it
 * repeats the time, the alarm rings once, the first time. The day is that of the wall time, skipped
 * or not.
 */
std::int64_t nextOccurrence(
    std::int64_t after, const AlarmTime& alarm, const cctz::time_zone& zone);

} // namespace host
