#include "PhoneRinging.h"

#include "common/AlarmTime.h"
#include "common/PhoneLink.h"
#include "PhoneRows.h"

#include <AlarmManagerModel.h>
#include <algorithm>
#include <app_alarm.h>
#include <ctime>
#include <dlog.h>
#include <Ecore.h>

namespace {

const char* const kTag = "alarm-service";
const double kLookAgain = 3600; // seconds
const double kTryAgain = 5;

// Of a one-shot; 0 when the phone does not say.
time_t instantOf(const AlarmDbData& alarm)
{
    if (!alarm.repeat_once || alarm.mobileAlertTime == 0)
        return 0;
    return app::instantOnDayOf(static_cast<time_t>(alarm.mobileAlertTime / 1000), alarm);
}

/// What the phone's make, the user and the time want, as it was at one moment.
class Rule {
public:
    bool isWanted(const AlarmDbData& alarm) const
    {
        return _areWanted && alarm.enable && !alarm.isDeleted;
    }

    bool isDueSoon(const AlarmDbData& alarm) const
    {
        const time_t instant = instantOf(alarm);
        return instant == 0 || app::isWithinTheWeek(instant, _now);
    }

    /// One that is registered stays so while it rings or is snoozed, when its instant is over.
    bool isRight(const AlarmDbData& alarm) const
    {
        if (alarm.alarm_mgr_id > 0)
            return isWanted(alarm);
        return !isWanted(alarm) || !isDueSoon(alarm);
    }

    /// At the phone's instant, however far that is, or over: what is told to the phone has it.
    void setNextRing(AlarmDbData& alarm) const
    {
        const time_t instant = instantOf(alarm);
        if (instant == 0) {
            app::setNextRing(alarm, _now);
        } else {
            app::setRing(alarm, instant);
        }
    }

private:
    bool _areWanted = app::phoneAlarmsRing();
    time_t _now = app::currentTime();
};

void registerBy(const Rule& rule, AlarmDbData& alarm)
{
    alarm.alarm_mgr_id = -1;
    rule.setNextRing(alarm);
    if (!rule.isWanted(alarm) || !rule.isDueSoon(alarm))
        return;
    if (!AlarmManagerModel().registerAlarmToServer(alarm, true))
        alarm.alarm_mgr_id = -1;
}

void setRight(const Rule& rule, rows::Writer& writer, const AlarmDbData& before)
{
    AlarmDbData alarm = before;
    alarm.alarm_mgr_id = -1;
    if (rule.isWanted(alarm)) {
        registerPhoneAlarm(alarm);
        if (alarm.alarm_mgr_id <= 0)
            return writer.fail();
    }
    writer.changeRinging(before, alarm);
}

rows::Turn setSomeRight()
{
    const Rule rule;
    rows::Writer writer;
    for (const AlarmDbData& alarm : rows::stored()) {
        if (!rule.isRight(alarm) && writer.mayWrite())
            setRight(rule, writer, alarm);
    }
    return writer.end();
}

// Whether all of them are right now. Most of the time they are, and nobody has to wait.
bool setAllRight()
{
    const Rule rule;
    const std::vector<AlarmDbData> alarms = rows::stored();
    const auto isRight = [&rule](const AlarmDbData& alarm) { return rule.isRight(alarm); };
    return std::all_of(alarms.begin(), alarms.end(), isRight)
        || rows::inTurns([](app::SaveLock&) { return setSomeRight(); });
}

} // namespace

// An instant that went by before it was registered would mean another day.
void registerPhoneAlarm(AlarmDbData& alarm)
{
    const int tries = 3;
    for (int i = 0; i < tries; ++i) {
        registerBy(Rule(), alarm);
        if (alarm.alarm_mgr_id <= 0 || app::currentTime() < alarm.stime)
            return;
        (void)alarm_cancel(alarm.alarm_mgr_id);
        alarm.alarm_mgr_id = -1;
    }
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
