#include "AlarmSyncUtil.h"

#include "AlarmDbModel.h"
#include "AlarmLog.h"
#include "AlarmManagerModel.h"
#include "PlatformHandle.h"

#include <cstring>
#include <sys/time.h>
#include <vconf-keys.h>
#include <vconf.h>
#include <vector>

namespace {
const char* const kVendorKey = "db/wms/host_status/vendor";
const char* const kNotificationKey = "db/alarm/host_alarm_notification_enabled";

const char* const kOurVendor = "velmora";
const int kBluetoothBit = 1;

const int kDays = 7;
const int kDigit = 16;
const int kOnceDigit = 1;
const int kWeeklyDigit = 5;

std::vector<AlarmDbData> enabledMobileAlarms(AlarmDbModel& store)
{
    std::vector<AlarmDbData> alarms;
    store.getAllEnabledMobileAlarmList(alarms);
    return alarms;
}

// Saves the record with its new registration, without telling other processes and without marking
// it as changed for the phone. A record that is marked already keeps its mark and is given a new
// modification time.
void saveRegistration(AlarmDbModel& store, AlarmDbData& alarm)
{
    store.updateAlarmData(alarm, false, false, false, true);
}
} // namespace

long long AlarmSyncUtil::getCurrentDeviceMilliSecTime()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

void AlarmSyncUtil::requestWatchUpdate() {}

bool AlarmSyncUtil::isBtConnected()
{
    int type = 0;
    if (vconf_get_int(VCONFKEY_VAP_CONNECTIVITY_TYPE, &type) != VCONF_OK) {
        LOG_CRITICAL("vconf_get_int(VCONFKEY_VAP_CONNECTIVITY_TYPE FAILED");
        return false;
    }
    if ((type & kBluetoothBit) == 0)
        return false;

    int connected = 0;
    if (vconf_get_bool(VCONFKEY_WMS_WMANAGER_CONNECTED, &connected) != VCONF_OK) {
        LOG_CRITICAL("vconf_get_int(VCONFKEY_WMS_WMANAGER_CONNECTED FAILED");
        return false;
    }
    return connected != 0;
}

int AlarmSyncUtil::convertRepeatWeeklyFromMobileData(int repeatValue, int* repeatOnce)
{
    LOG_CRITICAL("repeatValue[%d]", repeatValue);
    const int lowest = repeatValue % kDigit;
    *repeatOnce = lowest == kOnceDigit ? 1 : 0;

    int repeatWeekly = 0;
    int day = kDays - 1;
    for (int rest = repeatValue / kDigit; rest != 0; rest /= kDigit) {
        if (rest % kDigit > 0)
            repeatWeekly |= 1 << day;
        --day;
    }
    LOG_CRITICAL("repeatWeekly[%d] repeatOnce[%d]", repeatWeekly, *repeatOnce);
    return repeatWeekly;
}

int AlarmSyncUtil::convertRepeatWeeklyFromWatchData(int repeatWeekly, int repeatOnce)
{
    LOG_CRITICAL("repeatWeekly[%d] repeatOnce[%d]", repeatWeekly, repeatOnce);
    int repeatValue = 0;
    for (int day = 0; day < kDays; ++day)
        repeatValue = repeatValue * kDigit + ((repeatWeekly >> day) & 1);
    repeatValue = repeatValue * kDigit + (repeatOnce != 0 ? kOnceDigit : kWeeklyDigit);
    LOG_CRITICAL("repeatValue[%d]", repeatValue);
    return repeatValue;
}

void AlarmSyncUtil::removeMobileAlarmData()
{
    AlarmDbModel store;
    if (store.getNumberOfMobileAlarm() < 1)
        return;
    AlarmManagerModel scheduler;
    for (AlarmDbData& alarm : enabledMobileAlarms(store))
        scheduler.unregisterAlarmFromServer(alarm, true);
    store.removeSyncedAlarmData();
    store.setNotiFlag(true, true);
}

void AlarmSyncUtil::unregisterMobileAlarm()
{
    if (!_isConnectedWithOurCompany())
        return;
    AlarmDbModel store;
    AlarmManagerModel scheduler;
    for (AlarmDbData& alarm : enabledMobileAlarms(store)) {
        scheduler.unregisterAlarmFromServer(alarm, true);
        saveRegistration(store, alarm);
    }
}

void AlarmSyncUtil::registerMobileAlarm()
{
    unregisterMobileAlarm();
    if (!_isConnectedWithOurCompany() || !_isNotificationStateEnabled())
        return;
    AlarmDbModel store;
    AlarmManagerModel scheduler;
    for (AlarmDbData& alarm : enabledMobileAlarms(store)) {
        scheduler.registerAlarmToServer(alarm, true);
        saveRegistration(store, alarm);
    }
}

bool AlarmSyncUtil::_isConnectedWithOurCompany()
{
    const HeapText vendor(vconf_get_str(kVendorKey));
    return vendor.get() && strcmp(vendor.get(), kOurVendor) == 0;
}

bool AlarmSyncUtil::_isNotificationStateEnabled()
{
    int enabled = 0;
    if (vconf_get_bool(kNotificationKey, &enabled) != VCONF_OK) {
        LOG_CRITICAL("Failed to vconf_get_bool");
        return true;
    }
    LOG_CRITICAL("notiStateEnabled = %d", enabled);
    return enabled != 0;
}
