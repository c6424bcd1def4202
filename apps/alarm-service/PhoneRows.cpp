#include "PhoneRows.h"

#include "PhoneRinging.h"

#include <dlog.h>
#include <tuple>

namespace rows {

namespace {

const char* const kTag = "alarm-service";
const int kTries = 4;

// When the phone means the alarm to ring. The weekday of a one-shot is worked out on the watch, so
// the phone's instant counts in its place.
auto timeOf(const AlarmDbData& alarm)
{
    const bool once = alarm.repeat_once != 0;
    return std::tuple(alarm.hour, alarm.min, once, once ? 0 : alarm.repeatWeekly,
        once ? alarm.mobileAlertTime : 0, alarm.enable, alarm.isDeleted);
}

auto contentOf(const AlarmDbData& alarm)
{
    return std::tuple(timeOf(alarm), alarm.name, alarm.mobileCreateTime, alarm.mobileModifiedTime,
        alarm.mobileAlertTime, alarm.isNeedToSync);
}

} // namespace

bool isSameTime(const AlarmDbData& left, const AlarmDbData& right)
{
    return timeOf(left) == timeOf(right);
}

bool isSameContent(const AlarmDbData& left, const AlarmDbData& right)
{
    return contentOf(left) == contentOf(right);
}

void Writer::insert(AlarmDbData alarm)
{
    ++_writes;
    alarm.modTime = _saving.takeModTime();
    (void)_saving.make(alarm, setPhoneRing, alarm);
    (void)_saving.insert(alarm);
}

void Writer::change(const AlarmDbData& before, AlarmDbData after)
{
    ++_writes;
    after.modTime = _saving.takeModTime();
    if (!isSameTime(before, after))
        (void)_saving.make(after, setPhoneRing, after);
    (void)_saving.replace(before, after);
}

void Writer::remove(const AlarmDbData& alarm)
{
    ++_writes;
    (void)_saving.erase(alarm);
}

void Writer::changeRinging(const AlarmDbData& before, bool isToRing)
{
    AlarmDbData after = before;
    after.alarm_mgr_id = -1;
    if (isToRing && !_saving.make(before, setPhoneRing, after)) {
        _isRefused = true;
        return;
    }
    ++_writes;
    (void)_saving.replace(before, after, companion::AlarmSaving::News::Silent);
}

Turn Writer::end()
{
    if (_saving.commit() != companion::Saved::Yes || _isRefused)
        return Turn::Failed;
    return _writes == 0 ? Turn::NothingToWrite : Turn::Written;
}

bool inTurns(const std::function<Turn(Writer&)>& turn)
{
    for (int failures = 0; failures < kTries;) {
        Writer writer;
        const companion::Saved state = writer.state();
        if (state != companion::Saved::Yes) {
            dlog_print(DLOG_ERROR, kTag, "the phone's alarms wait: %s", companion::textOf(state));
            return false;
        }
        const Turn done = turn(writer);
        if (done == Turn::NothingToWrite)
            return true;
        failures += done == Turn::Failed ? 1 : 0;
    }
    dlog_print(DLOG_ERROR, kTag, "the phone's alarms wait: they cannot be stored");
    return false;
}

} // namespace rows
