#include "host/daemon/NextOccurrence.h"

#include <algorithm>

namespace host {

namespace {

using Instant = cctz::time_point<cctz::seconds>;

bool isFlagged(int weekSet, const cctz::civil_day& day)
{
    // A damaged set has no day. It means every day, since an alarm too many is better than none.
    const bool hasDay = (weekSet & 0x7F) != 0;
    // cctz counts the days from Monday, the set counts them from Sunday.
    const int sinceSunday = (static_cast<int>(cctz::get_weekday(day)) + 1) % 7;
    return !hasDay || (weekSet & (1 << sinceSunday)) != 0;
}

Instant firstInstant(const cctz::civil_second& wallTime, const cctz::time_zone& zone)
{
    const cctz::time_zone::civil_lookup found = zone.lookup(wallTime);
    const bool skipped = found.kind == cctz::time_zone::civil_lookup::SKIPPED;
    return skipped ? found.trans : found.pre;
}

} // namespace

std::int64_t nextOccurrence(std::int64_t after, const AlarmTime& alarm, const cctz::time_zone& zone)
{
    // The first instants of wall times are in the same order as these, so an earlier day than today
    // cannot have a later instant, and the first day that fits has the earliest one.
    const Instant start{ cctz::seconds(after) };
    cctz::civil_day day(zone.lookup(start).cs);
    if (alarm.firstDay)
        day = std::max(day, *alarm.firstDay);
    for (;; ++day) {
        if (!isFlagged(alarm.weekSet, day))
            continue;
        const Instant found = firstInstant(cctz::civil_second(day.year(), day.month(), day.day(),
                                               alarm.hour, alarm.minute, alarm.second),
            zone);
        if (found > start)
            return found.time_since_epoch().count();
    }
}

} // namespace host
