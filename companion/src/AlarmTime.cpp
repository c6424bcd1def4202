#include "AlarmTime.h"

#include "HeapText.h"
#include "PhoneAlarms.h"

#include <AlarmDbData.h>
#include <AlarmIcuDataModel.h>
#include <algorithm>

namespace companion {

namespace {

const time_t kDay = 24L * 60 * 60;
const time_t kSoon = 6 * kDay;
const int kEveryDay = 127;

long zoneOffset(time_t instant) { return localTime(instant).tm_gmtoff; }

// The instant of a day's wall time. local is that wall time counted as if the zone were UTC.
time_t instantOf(time_t local)
{
    const long before = zoneOffset(local - kDay);
    const long after = zoneOffset(local + kDay);
    const time_t earlier = local - std::max(before, after);
    const time_t later = local - std::min(before, after);
    for (const time_t instant : { earlier, later }) {
        if (instant + zoneOffset(instant) == local)
            return instant;
    }
    // The clocks skip this wall time. The gap ends after the instant earlier, and at later at the
    // latest.
    time_t low = earlier;
    time_t high = later;
    while (high - low > 1) {
        const time_t middle = low + (high - low) / 2;
        (zoneOffset(middle) == after ? high : low) = middle;
    }
    return high;
}

// The start of the instant's day, counted as if the zone were UTC.
time_t localDay(time_t instant)
{
    const time_t local = instant + zoneOffset(instant);
    return local - local % kDay;
}

time_t secondsOfDay(const WallTime& time)
{
    return (time.hour * 60 + time.minute) * 60 + time.second;
}

int weekdayBitOfLocalDay(time_t day)
{
    const int thursday = 4;
    return 1 << ((day / kDay + thursday) % 7);
}

WallTime registeredTime(const AlarmDbData& alarm)
{
    return { alarm.hour, alarm.min, localTime(alarm.stime).tm_sec };
}

// A one-shot of the phone may be of any day. The watch's own ring within a day.
bool isOneShotOfPhone(const AlarmDbData& alarm) { return isOfPhone(alarm) && alarm.repeat_once; }

} // namespace

time_t currentTime()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

std::string deviceZone() { return takeText(AlarmIcuDataModel::getCurrentTimeZone()); }

tm localTime(time_t instant)
{
    tzset();
    tm local = {};
    localtime_r(&instant, &local);
    return local;
}

WallTime wallTime(time_t instant)
{
    const tm local = localTime(instant);
    return { local.tm_hour, local.tm_min, local.tm_sec };
}

int weekdayBit(time_t instant) { return 1 << localTime(instant).tm_wday; }

time_t nextInstant(time_t after, const WallTime& time, int weekdays)
{
    weekdays &= kEveryDay;
    time_t day = localDay(after);
    for (;; day += kDay) {
        if (weekdays != 0 && (weekdays & weekdayBitOfLocalDay(day)) == 0)
            continue;
        const time_t instant = instantOf(day + secondsOfDay(time));
        if (instant > after)
            return instant;
    }
}

time_t lastInstant(time_t upTo, const WallTime& time)
{
    time_t day = localDay(upTo);
    for (;; day -= kDay) {
        const time_t instant = instantOf(day + secondsOfDay(time));
        if (instant <= upTo)
            return instant;
    }
}

bool isNamedByWallTime(time_t instant)
{
    return nextInstant(instant - 1, wallTime(instant), weekdayBit(instant)) == instant;
}

time_t dueInstant(const AlarmDbData& alarm)
{
    const time_t minute = 60;
    return alarm.stime + minute * alarm.count * alarm.snooze_min;
}

bool isWithinTheWeek(time_t instant, time_t now) { return now < instant && instant < now + kSoon; }

time_t instantOnDayOf(time_t instant, const AlarmDbData& alarm)
{
    WallTime wall = wallTime(instant);
    if (wall.hour != alarm.hour || wall.minute != alarm.min)
        wall = { alarm.hour, alarm.min, 0 };
    const time_t midnight = lastInstant(instant, {});
    return nextInstant(midnight - 1, wall, weekdayBit(instant));
}

std::optional<time_t> awaitedInstant(const AlarmDbData& alarm, time_t now)
{
    const bool isWaiting = isOneShotOfPhone(alarm) && alarm.mobileAlertTime > 0
        && alarm.alarm_mgr_id <= 0 && now < alarm.stime;
    return isWaiting ? std::optional<time_t>(alarm.stime) : std::nullopt;
}

time_t upcomingInstant(const AlarmDbData& alarm, time_t now)
{
    if (const std::optional<time_t> awaited = awaitedInstant(alarm, now))
        return *awaited;
    if (alarm.count == 0)
        return nextInstant(now, registeredTime(alarm), alarm.repeatWeekly);
    const time_t due = dueInstant(alarm);
    return nextInstant(now, wallTime(due), alarm.repeatWeekly | weekdayBit(due));
}

time_t ringingInstant(const AlarmDbData& alarm, time_t now)
{
    if (alarm.count > 0)
        return dueInstant(alarm);
    return lastInstant(now, registeredTime(alarm));
}

void setRing(AlarmDbData& alarm, time_t instant)
{
    alarm.stime = static_cast<int>(instant);
    alarm.timezone = deviceZone();
    alarm.count = 0;
    if (alarm.repeat_once)
        alarm.repeatWeekly = weekdayBit(instant);
}

void setNextRing(AlarmDbData& alarm, time_t now)
{
    const int weekdays = alarm.repeat_once ? 0 : alarm.repeatWeekly;
    setRing(alarm, nextInstant(now, { alarm.hour, alarm.min, 0 }, weekdays));
}

void setSwitchedRing(AlarmDbData& alarm, time_t now)
{
    const time_t instant = instantOnDayOf(alarm.stime, alarm);
    if (isOneShotOfPhone(alarm) && (!alarm.enable || now < instant)) {
        setRing(alarm, instant);
    } else {
        setNextRing(alarm, now);
    }
}

} // namespace companion
