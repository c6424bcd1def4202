#include "AlarmManagerModel.h"

#include "AlarmDbData.h"
#include "AlarmLog.h"
#include "AlarmSyncUtil.h"
#include "PlatformHandle.h"

#include <app_alarm.h>
#include <ctime>

namespace {
const char* const kAlertApplication = "com.velmora.alarm-alert";
const char* const kRegistration = "registerAlarmToServer";
const int kPhone = 1;
const int kWatch = 2;

tm localTime(time_t time)
{
    tm local = {};
    localtime_r(&time, &local);
    return local;
}

void takeSnoozeTime(const AlarmDbData& alarm, int& hour, int& min)
{
    const time_t start = static_cast<time_t>(alarm.stime) / 10 * 10;
    // Unsigned, so that no count of a damaged record overflows with undefined behaviour.
    const auto count = static_cast<unsigned long long>(alarm.count);
    const tm local = localTime(static_cast<time_t>(start + count * alarm.snooze_min * 60));
    hour = local.tm_hour;
    min = local.tm_min;
    LOG_CRITICAL_OF(kRegistration, "Next snooze time = %d : %d", hour, min);
}

bool isLeftToPhone(const AlarmDbData& alarm, bool connected)
{
    if (alarm.deviceType == kWatch)
        return false;
    return alarm.deviceType != kPhone || connected;
}
} // namespace

bool AlarmManagerModel::registerAlarmToServer(AlarmDbData& alarm, bool force)
{
    tm registerTm = localTime(alarm.stime);
    const bool connected = AlarmSyncUtil::isBtConnected();

    int hour = alarm.hour;
    int min = alarm.min;
    if (alarm.count != 0)
        takeSnoozeTime(alarm, hour, min);

    // Year, month and day 0 tell the platform: no date, the next such time of day.
    registerTm.tm_hour = hour;
    registerTm.tm_min = min;
    registerTm.tm_mday = 0;
    registerTm.tm_mon = -1;
    registerTm.tm_year = -1900;

    AppControl control;
    app_control_create(control.out());
    app_control_set_app_id(control.get(), kAlertApplication);
    LOG_CRITICAL(
        "registerTm.tm_hour = %d, registerTm.tm_min = %d", registerTm.tm_hour, registerTm.tm_min);

    bool result = true;
    int platformId = 0;
    if (force || !isLeftToPhone(alarm, connected)) {
        LOG_CRITICAL("repeatWeekly = %d once is %d", alarm.repeatWeekly, alarm.repeat_once);
        const int error = alarm_schedule_with_recurrence_week_flag(
            control.get(), &registerTm, alarm.repeatWeekly, &platformId);
        if (error != 0) {
            LOG_CRITICAL("register alarm failed(%d)", error);
            result = false;
        }
    }

    alarm.alarm_mgr_id = platformId;
    LOG_CRITICAL("saved alarm manager id = %d", alarm.alarm_mgr_id);
    return result;
}

void AlarmManagerModel::unregisterAlarmFromServer(AlarmDbData& alarm, bool /*ignoredFlag*/)
{
    if (alarm.alarm_mgr_id < 0) {
        LOG_CRITICAL("already canceled alarm");
        return;
    }
    const int error = alarm_cancel(alarm.alarm_mgr_id);
    if (error != 0) {
        LOG_CRITICAL("Failed to remove alarm[id(%d), mgrid(%d)], error code: %d", alarm.id,
            alarm.alarm_mgr_id, error);
    }
    alarm.alarm_mgr_id = -1;
}

bool AlarmManagerModel::updateAlarmOnServer(AlarmDbData& alarm)
{
    unregisterAlarmFromServer(alarm, false);
    const bool result = registerAlarmToServer(alarm, false);
    if (!result)
        LOG_CRITICAL("register alarm failed");
    return result;
}
