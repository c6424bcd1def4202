#include "common/AlarmList.h"

#include "common/AlarmTime.h"
#include "common/StoreFile.h"

#include <AlarmDbModel.h>
#include <algorithm>
#include <cerrno>
#include <memory>
#include <sqlite3.h>
#include <tuple>
#include <unistd.h>

namespace app {

namespace {

// The result of a look into table alarm, with SQLite's words for it.
int lookInto(const std::string& path, std::string& text)
{
    sqlite3* opened = nullptr;
    int code = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> store(opened, sqlite3_close);
    if (code == SQLITE_OK)
        code = sqlite3_exec(opened, "SELECT count(*) FROM alarm", nullptr, nullptr, nullptr);
    text = sqlite3_errmsg(opened);
    return code;
}

Found foundOrNot(int result, const AlarmDbData& alarm)
{
    if (result == 0 && alarm.id != -1)
        return Found::Yes;
    return result == 0 && storeFault().empty() ? Found::No : Found::Unreadable;
}

} // namespace

std::string storeFault()
{
    const std::string path = storePath();
    if (path.empty())
        return "there is no data folder";
    if (access(path.c_str(), F_OK) != 0 && errno == ENOENT)
        return "";

    // Another process may have made the file and not yet the table.
    const int tries = 20;
    const useconds_t pause = 50000;
    std::string text;
    for (int i = 0; i < tries; ++i) {
        const int code = lookInto(path, text);
        if (code == SQLITE_OK)
            return "";
        if (code != SQLITE_ERROR)
            break;
        usleep(pause);
    }
    return text;
}

std::vector<AlarmDbData> allAlarms()
{
    std::vector<AlarmDbData> alarms;
    AlarmDbModel store;
    store.getAllAlarmList(alarms);
    store.getAllMobileAlarmList(alarms);
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

std::optional<AlarmDbData> upcomingAlarm(const std::vector<AlarmDbData>& alarms, time_t now)
{
    const AlarmDbData* upcoming = nullptr;
    for (const AlarmDbData& alarm : alarms) {
        if (!alarm.enable)
            continue;
        if (!upcoming || upcomingInstant(alarm, now) < upcomingInstant(*upcoming, now))
            upcoming = &alarm;
    }
    return upcoming ? std::optional<AlarmDbData>(*upcoming) : std::nullopt;
}

} // namespace app
