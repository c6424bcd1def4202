#include "PhoneRows.h"

#include "common/SaveLock.h"
#include "common/StoreFile.h"

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

enum class Row { Found, Gone, Unreadable };

Row find(AlarmDbModel& store, int id, AlarmDbData& alarm)
{
    std::vector<AlarmDbData> found;
    store.getAlarmListWithIds(found, std::to_string(id));
    if (found.empty())
        return app::storeFault().empty() ? Row::Gone : Row::Unreadable;
    alarm = found.front();
    return Row::Found;
}

void cancel(int alarmMgrId)
{
    if (alarmMgrId > 0)
        (void)alarm_cancel(alarmMgrId);
}

// Where the row cannot be read, both stay: the alert rings for the one that the row names.
bool settleRegistration(AlarmDbModel& store, const AlarmDbData& before, const AlarmDbData& after)
{
    AlarmDbData now;
    const Row row = find(store, after.id, now);
    const bool isTaken
        = row == Row::Found && now.uuid == after.uuid && now.alarm_mgr_id == after.alarm_mgr_id;
    if (row != Row::Unreadable && before.alarm_mgr_id != after.alarm_mgr_id)
        cancel(isTaken ? before.alarm_mgr_id : after.alarm_mgr_id);
    return isTaken && isSameContent(now, after);
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

bool insert(AlarmDbModel& store, AlarmDbData alarm)
{
    store.insertAlarmData(alarm, true, true);
    return settleRegistration(store, AlarmDbData(), alarm);
}

bool change(AlarmDbModel& store, const AlarmDbData& before, AlarmDbData after)
{
    store.updateAlarmData(after, true, true, false, false);
    return settleRegistration(store, before, after);
}

bool changeRinging(AlarmDbModel& store, const AlarmDbData& before, const AlarmDbData& after)
{
    app::storeRegistration(after);
    return settleRegistration(store, before, after);
}

bool remove(AlarmDbModel& store, AlarmDbData alarm)
{
    store.removeAlarmData(alarm, true, true, false, false);
    AlarmDbData found;
    if (find(store, alarm.id, found) != Row::Gone)
        return false;
    cancel(alarm.alarm_mgr_id);
    return true;
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
    dlog_print(DLOG_ERROR, kTag, "the phone's alarms wait: they cannot be written");
    return false;
}

} // namespace rows
