#include "PhoneAlarms.h"

#include "AlarmTime.h"

#include <AlarmSyncUtil.h>

namespace companion {

bool isOfPhone(const AlarmDbData& alarm) { return alarm.deviceType == kPhoneDevice; }

bool phoneAlarmsRing()
{
    return AlarmSyncUtil::_isConnectedWithOurCompany()
        && AlarmSyncUtil::_isNotificationStateEnabled();
}

bool isSilent(const AlarmDbData& alarm, time_t now)
{
    if (!alarm.enable || !isOfPhone(alarm) || alarm.alarm_mgr_id > 0)
        return false;
    return !awaitedInstant(alarm, now) || !phoneAlarmsRing();
}

} // namespace companion
