#include "AlarmDbModel.h"
#include "AppCommonDouble.h"
#include "QuickWrites.h"
#include "StoreFile.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

// Each operation of the store beside the same statements given to SQLite directly.

namespace {
// A row as a program without the library would read it: the same columns, as strings and numbers.
struct PlainAlarm {
    int id, magic, managerId, enable, stime, atime, etime, mtime, sdate, edate, hour, min;
    int repeatOnce, repeatWeekly, snoozeEnable, count, smartEnable, vibration, type, volume;
    int deviceType, contextId;
    bool isDeleted, isNeedToSync;
    unsigned long long createTime, modifiedTime, alertTime;
    std::string name, timezone, tone, uuid;
};

void readText(sqlite3_stmt* stmt, int column, std::string& field)
{
    const unsigned char* text = sqlite3_column_text(stmt, column);
    if (text)
        field = reinterpret_cast<const char*>(text);
}

void readRow(sqlite3_stmt* stmt, PlainAlarm& alarm)
{
    alarm.id = sqlite3_column_int(stmt, 0);
    alarm.magic = sqlite3_column_int(stmt, 1);
    alarm.managerId = sqlite3_column_int(stmt, 2);
    alarm.enable = sqlite3_column_int(stmt, 4);
    readText(stmt, 7, alarm.name);
    alarm.stime = sqlite3_column_int(stmt, 8);
    alarm.atime = sqlite3_column_int(stmt, 9);
    alarm.etime = sqlite3_column_int(stmt, 10);
    alarm.mtime = sqlite3_column_int(stmt, 11);
    alarm.sdate = sqlite3_column_int(stmt, 12);
    alarm.edate = sqlite3_column_int(stmt, 13);
    alarm.hour = sqlite3_column_int(stmt, 14);
    alarm.min = sqlite3_column_int(stmt, 15);
    readText(stmt, 16, alarm.timezone);
    alarm.repeatOnce = sqlite3_column_int(stmt, 17);
    alarm.repeatWeekly = sqlite3_column_int(stmt, 19);
    alarm.snoozeEnable = sqlite3_column_int(stmt, 20);
    alarm.count = sqlite3_column_int(stmt, 23);
    alarm.smartEnable = sqlite3_column_int(stmt, 24);
    alarm.vibration = sqlite3_column_int(stmt, 25);
    alarm.type = sqlite3_column_int(stmt, 27);
    readText(stmt, 28, alarm.tone);
    alarm.volume = sqlite3_column_int(stmt, 29);
    alarm.deviceType = sqlite3_column_int(stmt, 36);
    readText(stmt, 37, alarm.uuid);
    alarm.createTime = sqlite3_column_int64(stmt, 38);
    alarm.modifiedTime = sqlite3_column_int64(stmt, 39);
    alarm.alertTime = sqlite3_column_int64(stmt, 40);
    alarm.isDeleted = sqlite3_column_int(stmt, 41) == 1;
    alarm.isNeedToSync = sqlite3_column_int(stmt, 42) == 1;
    alarm.contextId = sqlite3_column_int(stmt, 43);
}

sqlite3_stmt* prepare(sqlite3* connection, const char* sql)
{
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(connection, sql, -1, &stmt, nullptr);
    return stmt;
}

sqlite3* open(const char* path)
{
    sqlite3* connection = nullptr;
    sqlite3_open_v2(path, &connection, SQLITE_OPEN_READWRITE, nullptr);
    sqlite3_stmt* stmt = prepare(connection, "PRAGMA user_version");
    sqlite3_step(stmt);
    benchmark::DoNotOptimize(sqlite3_column_int(stmt, 0));
    sqlite3_finalize(stmt);
    return connection;
}

void readAlarm(sqlite3* connection, int id, PlainAlarm& alarm)
{
    char* sql = sqlite3_mprintf("SELECT * FROM alarm WHERE isDeleted = 0 AND id = %d", id);
    sqlite3_stmt* stmt = prepare(connection, sql);
    sqlite3_free(sql);
    if (sqlite3_step(stmt) == SQLITE_ROW)
        readRow(stmt, alarm);
    sqlite3_finalize(stmt);
}

void insertAlarm(sqlite3* connection, const AlarmDbData& a)
{
    char* sql = sqlite3_mprintf(
        "INSERT INTO alarm (magic, alarm_mgr_id, enable, name, stime, atime, etime, mtime, sdate, "
        "edate, hour, min, timezone, repeat_once, repeat_weekly, snooze_enable, count, "
        "smart_alarm_enable, type, tone, volume, smart_alarm_interval, deviceType, uuid, "
        "mobileCreateTime, mobileModifiedTime, mobileAlertTime, isDeleted, isNeedToSync, "
        "contextMgrId)VALUES ( %d, %d, %d, '%q', %d, %d, %d, %d, %d, %d, %d, %d, '%q', %d, %d, %d, "
        "%d, %d, %d, '%q', %d, %d, %d, '%q', %llu, %llu, %llu, %d, %d, %d)",
        a.magic, a.alarm_mgr_id, a.enable, a.name.c_str(), a.stime, a.atime, a.etime, a.modTime,
        a.sdate, a.edate, a.hour, a.min, a.timezone.c_str(), a.repeat_once, a.repeatWeekly,
        a.snooze_enable, a.count, a.smart_alarm_enable, a.type, a.tone.c_str(), a.volume,
        a.vibration_type, a.deviceType, a.uuid.c_str(), a.mobileCreateTime, a.mobileModifiedTime,
        a.mobileAlertTime, a.isDeleted, a.isNeedToSync, a.contextMgrId);
    sqlite3_stmt* stmt = prepare(connection, sql);
    sqlite3_free(sql);
    sqlite3_step(stmt);
    sqlite3_finalize(stmt);
    benchmark::DoNotOptimize(sqlite3_last_insert_rowid(connection));
}

AlarmDbData typicalAlarm(int number)
{
    AlarmDbData alarm;
    alarm.enable = 1;
    alarm.alarm_mgr_id = 1000 + number;
    alarm.stime = 1600000000 + number * 60;
    alarm.hour = number % 24;
    alarm.min = number % 60;
    alarm.name = "Morning run number " + std::to_string(number);
    alarm.timezone = "/usr/share/zoneinfo/Europe/Berlin";
    return alarm;
}

// A new store with that many alarms, at the version at which opening it migrates nothing.
class Store {
public:
    explicit Store(int alarms)
    {
        const QuickWrites quick;
        appCommonDouble().dataPath = _file.folder();
        {
            AlarmDbModel model;
            for (int i = 1; i <= alarms; ++i) {
                AlarmDbData alarm = typicalAlarm(i);
                model.insertAlarmData(alarm, false, false);
            }
        }
        const AlarmDbModel second;
    }
    std::string path() const { return _file.path(); }

private:
    StoreFile _file;
};

class Connection {
public:
    explicit Connection(const Store& store)
        : _connection(open(store.path().c_str()))
    {
    }
    ~Connection() { sqlite3_close(_connection); }
    sqlite3* get() const { return _connection; }

private:
    sqlite3* _connection;
};

const int kListed = 1000;

void insertByLibrary(benchmark::State& state)
{
    const Store store(0);
    const QuickWrites quick;
    AlarmDbModel model;
    AlarmDbData alarm = typicalAlarm(1);
    for ([[maybe_unused]] auto _ : state)
        model.insertAlarmData(alarm, false, false);
    if (model.getNumberOfAlarm() != state.iterations())
        state.SkipWithError("not every alarm was inserted");
}

void insertBySqlite(benchmark::State& state)
{
    const Store store(0);
    const QuickWrites quick;
    const Connection connection(store);
    const AlarmDbData alarm = typicalAlarm(1);
    for ([[maybe_unused]] auto _ : state)
        insertAlarm(connection.get(), alarm);
    if (AlarmDbModel().getNumberOfAlarm() != state.iterations())
        state.SkipWithError("not every alarm was inserted");
}

void getByLibrary(benchmark::State& state)
{
    const Store store(kListed);
    AlarmDbModel model;
    int id = 0;
    for ([[maybe_unused]] auto _ : state) {
        id = id % kListed + 1;
        AlarmDbData alarm;
        model.getAlarm(id, alarm);
        if (alarm.id != id)
            state.SkipWithError("an alarm is missing");
    }
}

void getBySqlite(benchmark::State& state)
{
    const Store store(kListed);
    const Connection connection(store);
    int id = 0;
    for ([[maybe_unused]] auto _ : state) {
        id = id % kListed + 1;
        PlainAlarm alarm = {};
        readAlarm(connection.get(), id, alarm);
        if (alarm.id != id)
            state.SkipWithError("an alarm is missing");
    }
}

void listByLibrary(benchmark::State& state)
{
    const Store store(kListed);
    AlarmDbModel model;
    for ([[maybe_unused]] auto _ : state) {
        std::vector<AlarmDbData> list;
        model.getAllAlarmList(list);
        if (list.size() != kListed)
            state.SkipWithError("alarms are missing");
    }
    state.SetItemsProcessed(state.iterations() * kListed);
}

void listBySqlite(benchmark::State& state)
{
    const Store store(kListed);
    const Connection connection(store);
    for ([[maybe_unused]] auto _ : state) {
        std::vector<PlainAlarm> list;
        sqlite3_stmt* stmt = prepare(connection.get(), "SELECT * FROM alarm WHERE deviceType = 2");
        while (sqlite3_step(stmt) == SQLITE_ROW)
            readRow(stmt, list.emplace_back());
        sqlite3_finalize(stmt);
        if (list.size() != kListed)
            state.SkipWithError("alarms are missing");
    }
    state.SetItemsProcessed(state.iterations() * kListed);
}

void openReadCloseByLibrary(benchmark::State& state)
{
    const Store store(kListed);
    for ([[maybe_unused]] auto _ : state) {
        AlarmDbModel model;
        AlarmDbData alarm;
        model.getAlarm(7, alarm);
        if (alarm.id != 7)
            state.SkipWithError("an alarm is missing");
    }
}

void openReadCloseBySqlite(benchmark::State& state)
{
    const Store store(kListed);
    const std::string path = store.path();
    for ([[maybe_unused]] auto _ : state) {
        sqlite3* connection = open(path.c_str());
        PlainAlarm alarm = {};
        readAlarm(connection, 7, alarm);
        if (alarm.id != 7)
            state.SkipWithError("an alarm is missing");
        sqlite3_close(connection);
    }
}

BENCHMARK(insertByLibrary)->Name("insert/library");
BENCHMARK(insertBySqlite)->Name("insert/sqlite");
BENCHMARK(getByLibrary)->Name("getAlarm/library");
BENCHMARK(getBySqlite)->Name("getAlarm/sqlite");
BENCHMARK(listByLibrary)->Name("list/library")->Unit(benchmark::kMicrosecond);
BENCHMARK(listBySqlite)->Name("list/sqlite")->Unit(benchmark::kMicrosecond);
BENCHMARK(openReadCloseByLibrary)->Name("open-read-close/library");
BENCHMARK(openReadCloseBySqlite)->Name("open-read-close/sqlite");
} // namespace

BENCHMARK_MAIN();
