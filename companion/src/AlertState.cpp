#include "AlertState.h"

#include <algorithm>
#include <app_preference.h>
#include <string>

namespace companion {

const char* const kAlertId = "com.velmora.alarm-alert";
const char* const kSnoozeOperation = "http://velmora.com/appcontrol/operation/alarm/snooze";
const char* const kDismissOperation = "http://velmora.com/appcontrol/operation/alarm/dismiss";
const char* const kAlarmExtra = "alarm_id";
const char* const kReasonExtra = "reason";
const char* const kRingingKey = "alarmRinging";

namespace {

// The preference of the alarm after which so many others began to ring.
std::string keyOf(size_t place)
{
    return place == 0 ? kRingingKey : kRingingKey + std::to_string(place + 1);
}

int ringingAlarmAt(size_t place)
{
    int id = -1;
    (void)preference_get_int(keyOf(place).c_str(), &id);
    return id;
}

} // namespace

int ringingAlarm() { return ringingAlarmAt(0); }

std::vector<int> ringingAlarms()
{
    std::vector<int> ids;
    const int newest = ringingAlarm();
    if (newest >= 0)
        ids.push_back(newest);
    size_t place = 1;
    for (int id = ringingAlarmAt(place); id >= 0; id = ringingAlarmAt(++place))
        ids.push_back(id);
    return ids;
}

void setRingingAlarms(const std::vector<int>& ids)
{
    size_t places = std::max<size_t>(ids.size(), 1);
    while (ringingAlarmAt(places) >= 0)
        ++places;
    while (places-- > 0) {
        const int id = places < ids.size() ? ids[places] : -1;
        if (ringingAlarmAt(places) != id)
            (void)preference_set_int(keyOf(places).c_str(), id);
    }
}

} // namespace companion
