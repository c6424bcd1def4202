#pragma once

#include "AlarmCompanion.h"

#include <string>

/**
 * Time of day and the alarms' instants, in the device's zone as it is at each call. A wall time
 * that a clock change skips stands for the first instant after the gap; one that comes twice, for
 * the first of the two.
 */
namespace companion {

struct WallTime {
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/// The device's zone, such as "Europe/Berlin".
std::string deviceZone();

/// The zone's broken-down time of the instant.
tm localTime(time_t instant);

WallTime wallTime(time_t instant);

/// The instant's weekday in the layout of AlarmDbData::repeatWeekly.
int weekdayBit(time_t instant);

/// The first instant later than after at which it is time on a day of weekdays; 0 = any day.
time_t nextInstant(time_t after, const WallTime& time, int weekdays);

/// The last instant, upTo or earlier, at which it was time.
time_t lastInstant(time_t upTo, const WallTime& time);

/// Whether the wall time and weekday of an instant mean this very instant. They do not in the
/// second pass of a doubled hour.
bool isNamedByWallTime(time_t instant);

/// When a registration of the alarm made before then rings: stime, later by the snoozes taken.
time_t dueInstant(const AlarmDbData& alarm);

/// Whether a registration made now, which tells a weekday and no date, means that instant: one
/// later than now, and by less than six days.
bool isWithinTheWeek(time_t instant, time_t now);

/// The instant, where it lies in the alarm's minute; else the alarm's hour:min on that day.
time_t instantOnDayOf(time_t instant, const AlarmDbData& alarm);

/// The instant after now for which a one-shot of the phone waits unregistered: a registration knows
/// weekdays only. None for any other alarm.
std::optional<time_t> awaitedInstant(const AlarmDbData& alarm, time_t now);

/// When the alarm, being on, rings next after now.
time_t upcomingInstant(const AlarmDbData& alarm, time_t now);

/// When the alarm that rings at now came due.
time_t ringingInstant(const AlarmDbData& alarm, time_t now);

/// Prepares the alarm for that instant: stime in the device's zone, no snoozes taken, and for a
/// one-shot the weekday on which it rings.
void setRing(AlarmDbData& alarm, time_t instant);

/// As setNextRing(), for an alarm that is switched on or off at its old time. A one-shot of the
/// phone keeps its day, but for one that is switched on when that is over.
void setSwitchedRing(AlarmDbData& alarm, time_t now);

} // namespace companion
