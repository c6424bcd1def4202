#include "PhoneRows.h"

#include "common/SaveLock.h"

#include <AlarmDbModel.h>
#include <app_alarm.h>
#include <dlog.h>
#include <string>
#include <tuple>
#include <unistd.h>

namespace rows {

namespace {

const char* const kTag = "alarm-service";
const int kTries = 4;
const useconds_t kPauseBetweenTurns = 20000; // others look for the lock more often

// A one-shot's day is worked out here, so the phone's instant counts for it.
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

void cancel(int alarmMgrId)
{
    if (alarmMgrId > 0)
        (void)alarm_cancel(alarmMgrId);
}

bool find(AlarmDbModel& store, int id, AlarmDbData& alarm)
{
    std::vector<AlarmDbData> found;
    store.getAlarmListWithIds(found, std::to_string(id));
    if (!found.empty())
        alarm = found.front();
    return !found.empty();
}

} // namespace

std::vector<AlarmDbData> stored()
{
    std::vector<AlarmDbData> alarms;
    AlarmDbModel().getAllMobileAlarmList(alarms);
    return alarms;
}

bool isSameTime(const AlarmDbData& left, const AlarmDbData& right)
{
    return timeOf(left) == timeOf(right);
}

bool isSameContent(const AlarmDbData& left, const AlarmDbData& right)
{
    return contentOf(left) == contentOf(right);
}

bool inTurns(const std::function<Turn(app::SaveLock&)>& turn)
{
    for (int failures = 0; failures < kTries; usleep(kPauseBetweenTurns)) {
        app::SaveLock lock;
        const std::string fault = lock.isHeld() ? app::storeFault() : "others save all the time";
        if (!fault.empty()) {
            dlog_print(DLOG_ERROR, kTag, "the phone's alarms wait: %s", fault.c_str());
            return false;
        }
        const Turn done = turn(lock);
        if (done == Turn::NothingToWrite)
            return true;
        failures += done == Turn::Failed ? 1 : 0;
    }
    dlog_print(DLOG_ERROR, kTag, "the phone's alarms wait: they cannot be stored");
    return false;
}

void Writer::insert(AlarmDbData alarm)
{
    _transaction.model().insertAlarmData(alarm, true, true);
    _check(AlarmDbData(), alarm);
}

void Writer::change(const AlarmDbData& before, AlarmDbData after)
{
    _transaction.model().updateAlarmData(after, true, true, false, false);
    _check(before, after);
}

void Writer::remove(AlarmDbData alarm)
{
    ++_writes;
    _transaction.model().removeAlarmData(alarm, true, true, false, false);
    AlarmDbData found;
    _hasFailed = find(_transaction.model(), alarm.id, found);
    if (!_hasFailed)
        _former.push_back(alarm.alarm_mgr_id);
}

void Writer::changeRinging(const AlarmDbData& before, AlarmDbData after)
{
    _transaction.model().updateAlarmData(after, false, false, false, true);
    // The library's update notes, in a row that the phone is yet to hear of, that it was modified
    // now.
    _transaction.model()._updateMobileTime(after);
    _check(before, after);
}

Turn Writer::end()
{
    const bool isStored = _transaction.commit();
    for (const int registration : isStored ? _former : _fresh)
        cancel(registration);
    if (!isStored || _hasFailed)
        return Turn::Failed;
    return _writes == 0 ? Turn::NothingToWrite : Turn::Written;
}

void Writer::_check(const AlarmDbData& before, const AlarmDbData& after)
{
    ++_writes;
    AlarmDbData now;
    const bool isTaken = find(_transaction.model(), after.id, now) && now.uuid == after.uuid
        && now.alarm_mgr_id == after.alarm_mgr_id;
    _hasFailed = !isTaken || !isSameContent(now, after);
    if (before.alarm_mgr_id == after.alarm_mgr_id)
        return;
    if (isTaken) {
        _former.push_back(before.alarm_mgr_id);
        _fresh.push_back(after.alarm_mgr_id);
    } else {
        cancel(after.alarm_mgr_id);
    }
}

} // namespace rows
