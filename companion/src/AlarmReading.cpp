#include "AlarmReading.h"

#include "AlarmTime.h"
#include "PhoneAlarms.h"
#include "StoreConnection.h"

#include <algorithm>
#include <sqlite3.h>
#include <tuple>
#include <unistd.h>

namespace companion {

namespace {

std::unique_ptr<StoreConnection> openStore(std::chrono::milliseconds patience)
{
    if (access(storePath().c_str(), F_OK) != 0)
        start();
    return std::make_unique<StoreConnection>(std::chrono::steady_clock::now() + patience);
}

void sortByTime(std::vector<AlarmDbData>& alarms)
{
    std::sort(alarms.begin(), alarms.end(), [](const AlarmDbData& left, const AlarmDbData& right) {
        return std::tie(left.hour, left.min, left.id) < std::tie(right.hour, right.min, right.id);
    });
}

} // namespace

// BEGIN itself reads nothing: the moment is that of the first read.
AlarmReading::AlarmReading(std::chrono::milliseconds patience)
    : _store(openStore(patience))
{
    if (!_store->run("BEGIN"))
        _fault = _store->error();
}

AlarmReading::~AlarmReading() { _store->run("ROLLBACK"); }

Found AlarmReading::find(int id, AlarmDbData& alarm)
{
    AlarmDbData read;
    (void)_store->model().getAlarm(id, read);
    return _taken(read, alarm);
}

Found AlarmReading::findRegistered(int alarmMgrId, AlarmDbData& alarm)
{
    AlarmDbData read;
    (void)_store->model().getAlarmWithAlarmMgrId(alarmMgrId, read);
    return _taken(read, alarm);
}

std::optional<std::vector<AlarmDbData>> AlarmReading::all()
{
    std::vector<AlarmDbData> alarms;
    _store->model().getAllAlarmList(alarms);
    if (!_isRead())
        return std::nullopt;
    _store->model().getAllMobileAlarmList(alarms);
    if (!_isRead())
        return std::nullopt;
    alarms.erase(std::remove_if(alarms.begin(), alarms.end(),
                     [](const AlarmDbData& alarm) { return alarm.isDeleted; }),
        alarms.end());
    sortByTime(alarms);
    return alarms;
}

std::optional<std::vector<AlarmDbData>> AlarmReading::unsynced()
{
    std::vector<AlarmDbData> alarms;
    _store->model().getAllUnsyncedAlarmList(alarms);
    if (!_isRead())
        return std::nullopt;
    alarms.erase(std::remove_if(alarms.begin(), alarms.end(),
                     [](const AlarmDbData& alarm) { return !isOfPhone(alarm); }),
        alarms.end());
    std::sort(alarms.begin(), alarms.end(),
        [](const AlarmDbData& left, const AlarmDbData& right) { return left.id < right.id; });
    return alarms;
}

Found AlarmReading::_taken(const AlarmDbData& read, AlarmDbData& alarm)
{
    if (!_isRead())
        return Found::Unreadable;
    if (read.id == -1)
        return Found::No;
    alarm = read;
    return Found::Yes;
}

bool AlarmReading::_isRead()
{
    if (_store->code() != SQLITE_OK && _fault.empty())
        _fault = _store->error();
    return _fault.empty();
}

Found findAlarm(int id, AlarmDbData& alarm) { return AlarmReading().find(id, alarm); }

Found findRegisteredAlarm(int alarmMgrId, AlarmDbData& alarm)
{
    return AlarmReading().findRegistered(alarmMgrId, alarm);
}

std::optional<std::vector<AlarmDbData>> allAlarms() { return AlarmReading().all(); }

std::string storeFault()
{
    if (storePath().empty())
        return "there is no data folder";
    AlarmReading reading;
    (void)reading.all();
    return reading.fault();
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

} // namespace companion
