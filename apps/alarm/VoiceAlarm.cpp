#include "VoiceAlarm.h"

#include "common/Failure.h"
#include "common/Text.h"
#include "VoiceRequest.h"

#include <AlarmOrvikUtil.h>
#include <AlarmTime.h>
#include <PhoneAlarms.h>
#include <tuple>

namespace {

// The library finds the date. On nights in which the clock is changed, it and the alarm service
// differ on the instant. A registration tells a weekday and no date, so the date must be the next
// of its weekday.
void setDay(AlarmDbData& alarm, tm date, time_t now)
{
    AlarmOrvikUtil::setAlertTime(alarm, &date);
    const companion::WallTime time = { alarm.hour, alarm.min, 0 };
    time_t instant = companion::instantOnDayOf(alarm.stime, alarm);
    if (instant <= now)
        instant = companion::nextInstant(instant, time, 0);
    if (instant <= now)
        throw badInput("the time of the alarm is over");
    if (instant != companion::nextInstant(now, time, companion::weekdayBit(instant)))
        throw badInput("the date of the alarm is more than a week away");
    companion::setRing(alarm, instant);
}

} // namespace

void setAsAsked(AlarmDbData& alarm, const VoiceRequest& request, time_t now)
{
    alarm.hour = request.time.hour;
    alarm.min = request.time.minute;
    alarm.name = request.name;
    alarm.snooze_enable = request.mayBeSnoozed ? 1 : 0;
    alarm.repeat_once = request.days.once ? 1 : 0;
    alarm.repeatWeekly = request.days.weekdays;
    if (request.date) {
        setDay(alarm, *request.date, now);
    } else {
        companion::setNextRing(alarm, now);
    }
    alarm.atime = alarm.stime;
}

bool ringsInsteadOf(const AlarmDbData& made, const AlarmDbData& stored, time_t now)
{
    const auto timeOf = [](const AlarmDbData& alarm) {
        return std::tuple(alarm.hour, alarm.min, alarm.repeat_once != 0);
    };
    if (!stored.enable || companion::isSilent(stored, now) || timeOf(stored) != timeOf(made))
        return false;
    if (!made.repeat_once)
        return stored.repeatWeekly == made.repeatWeekly;
    // One that rings now is still on, and will be switched off.
    return now < companion::dueInstant(stored)
        && companion::upcomingInstant(stored, now) == made.stime;
}

// "time" is the record's atime, which other programs may have left empty; "snoozeDuration" is
// snooze_min, which is not stored.
AlarmDbData recordForReply(AlarmDbData alarm, time_t now)
{
    alarm.atime = static_cast<int>(companion::upcomingInstant(alarm, now));
    alarm.name = printable(alarm.name);
    if (!alarm.snooze_enable)
        alarm.snooze_min = 0;
    return alarm;
}
