#include "common/Alert.h"

#include <app_preference.h>

namespace app {

const char* const kAlertId = "com.velmora.alarm-alert";
const char* const kSnoozeOperation = "http://velmora.com/appcontrol/operation/alarm/snooze";
const char* const kDismissOperation = "http://velmora.com/appcontrol/operation/alarm/dismiss";
const char* const kAlarmExtra = "alarm_id";
const char* const kReasonExtra = "reason";
const char* const kRingingKey = "alarmRinging";

int ringingAlarm()
{
    int id = -1;
    (void)preference_get_int(kRingingKey, &id);
    return id;
}

void setRingingAlarm(int id)
{
    int before = -1;
    if (preference_get_int(kRingingKey, &before) == PREFERENCE_ERROR_NONE && before == id)
        return;
    (void)preference_set_int(kRingingKey, id);
}

} // namespace app
