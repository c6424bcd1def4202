#include "common/AlarmList.h"

#include "common/AlarmTime.h"
#include "common/PhoneLink.h"
#include "common/StoreFile.h"

#include <AlarmDbModel.h>
#include <algorithm>
#include <tuple>

namespace app {

namespace {

Found foundOrNot(int result, const AlarmDbData& alarm)
{
    if (result == 0 && alarm.id != -1)
        return Found::Yes;
    return result == 0 && storeFault().empty() ? Found::No : Found::Unreadable;
}

} // namespace

std::optional<std::vector<AlarmDbData>> allAlarms()
{
    // The library waits much longer for who locks the file, so it is asked only when nobody does.
    if (!storeFault().empty())
        return std::nullopt;
    StoreReading store;
    if (!store.isOpen())
        return std::nullopt;
    std::vector<AlarmDbData> alarms;
    store.model().getAllAlarmList(alarms);
    store.model().getAllMobileAlarmList(alarms);
    alarms.erase(std::remove_if(alarms.begin(), alarms.end(),
                     [](const AlarmDbData& alarm) { return alarm.isDeleted; }),
        alarms.end());
    std::sort(alarms.begin(), alarms.end(), [](const AlarmDbData& left, const AlarmDbData& right) {
        return std::tie(left.hour, left.min, left.id) < std::tie(right.hour, right.min, right.id);
    });
    return alarms;
}

Found findAlarm(int id, AlarmDbData& alarm)
{
    const int result = AlarmDbModel().getAlarm(id, alarm);
    return foundOrNot(result, alarm);
}

Found findRegisteredAlarm(int alarmMgrId, AlarmDbData& alarm)
{
    const int result = AlarmDbModel().getAlarmWithAlarmMgrId(alarmMgrId, alarm);
    return foundOrNot(result, alarm);
}

bool isSilent(const AlarmDbData& alarm, time_t now)
{
    if (!alarm.enable || alarm.deviceType != kPhoneDevice || alarm.alarm_mgr_id > 0)
        return false;
    return !awaitedInstant(alarm, now) || !phoneAlarmsRing();
}

std::optional<AlarmDbData> upcomingAlarm(const std::vector<AlarmDbData>& alarms, time_t now)
{
    const AlarmDbData* upcoming = nullptr;
    for (const AlarmDbData& alarm : alarms) {
        if (!alarm.enable || isSilent(alarm, now))
            continue;
        if (!upcoming || upcomingInstant(alarm, now) < upcomingInstant(*upcoming, now))
            upcoming = &alarm;
    }
    return upcoming ? std::optional<AlarmDbData>(*upcoming) : std::nullopt;
}

} // namespace app
