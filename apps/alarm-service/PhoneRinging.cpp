#include "PhoneRinging.h"

#include "PhoneRows.h"

#include <AlarmTime.h>
#include <algorithm>
#include <ctime>
#include <dlog.h>
#include <Ecore.h>
#include <PhoneAlarms.h>

namespace {

const char* const kTag = "alarm-service";
const double kLookAgain = 3600; // seconds
const double kTryAgain = 5;

// When a one-shot of the phone rings; 0 when the phone does not say.
time_t instantOf(const AlarmDbData& alarm)
{
    if (!alarm.repeat_once || alarm.mobileAlertTime == 0)
        return 0;
    return companion::instantOnDayOf(static_cast<time_t>(alarm.mobileAlertTime / 1000), alarm);
}

/// What the phone's make, the user and the time want, as it was at one moment.
class Rule {
public:
    bool isWanted(const AlarmDbData& alarm) const
    {
        return _areWanted && alarm.enable && !alarm.isDeleted;
    }

    /// An alarm that is registered stays so while it rings or is snoozed, when its instant is over.
    bool isRight(const AlarmDbData& alarm) const
    {
        if (alarm.alarm_mgr_id > 0)
            return isWanted(alarm);
        return !isWanted(alarm) || !_isDueSoon(alarm);
    }

private:
    bool _isDueSoon(const AlarmDbData& alarm) const
    {
        const time_t instant = instantOf(alarm);
        return instant == 0 || companion::isWithinTheWeek(instant, _now);
    }

    bool _areWanted = companion::phoneAlarmsRing();
    time_t _now = companion::currentTime();
};

rows::Turn setSomeRight(rows::Writer& writer)
{
    const Rule rule;
    for (const AlarmDbData& alarm : writer.stored()) {
        if (!rule.isRight(alarm) && writer.mayWrite())
            writer.changeRinging(alarm, rule.isWanted(alarm));
    }
    return writer.end();
}

// Whether all of the phone's alarms are right now. Most of the time they are, and nobody has to
// wait.
bool setAllRight()
{
    const Rule rule;
    const auto alarms = companion::allAlarms();
    const auto isRight = [&rule](const AlarmDbData& alarm) {
        return !companion::isOfPhone(alarm) || rule.isRight(alarm);
    };
    return (alarms && std::all_of(alarms->begin(), alarms->end(), isRight))
        || rows::inTurns(setSomeRight);
}

} // namespace

bool setPhoneRing(AlarmDbData& alarm, time_t now)
{
    const time_t instant = instantOf(alarm);
    if (instant == 0) {
        companion::setNextRing(alarm, now);
    } else {
        companion::setRing(alarm, instant);
    }
    return true;
}

void PhoneRinging::follow()
{
    stop();
    const bool isDone = setAllRight();
    if (!isDone)
        dlog_print(DLOG_WARN, kTag, "the phone's alarms are registered later");
    _timer = ecore_timer_add(isDone ? kLookAgain : kTryAgain, _timerCb, this);
}

void PhoneRinging::stop()
{
    if (_timer)
        ecore_timer_del(_timer);
    _timer = nullptr;
}

unsigned char PhoneRinging::_timerCb(void* data) noexcept
{
    auto* self = static_cast<PhoneRinging*>(data);
    self->_timer = nullptr;
    self->follow();
    return ECORE_CALLBACK_CANCEL;
}
