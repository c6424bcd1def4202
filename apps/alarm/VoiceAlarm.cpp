#include "VoiceAlarm.h"

#include "common/Failure.h"
#include "common/Text.h"
#include "VoiceRequest.h"

#include <AlarmOrvikUtil.h>
#include <AlarmTime.h>

namespace {

const time_t kDay = 24L * 60 * 60;

// The library finds the day. On nights in which the clock is changed, it and the alarm service
// differ on the instant; and a registration tells a weekday and no date, so the day must be the
// next of its weekday. An instant that is now goes by before it is registered, and is then made
// anew.
void setDay(AlarmDbData& alarm, tm date, time_t now)
{
    AlarmOrvikUtil::setAlertTime(alarm, &date);
    AlarmOrvikUtil::setRepeatValue(alarm);
    const time_t instant
        = companion::nextInstant(now - 1, { alarm.hour, alarm.min, 0 }, alarm.repeatWeekly);
    if (instant - alarm.stime > kDay)
        throw badInput("the time of the alarm is over");
    if (alarm.stime - instant > kDay)
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
