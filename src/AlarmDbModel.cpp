#include "AlarmDbModel.h"

#include "AlarmLog.h"
#include "AlarmSyncUtil.h"
#include "PlatformHandle.h"

#include <app_common.h>
#include <app_preference.h>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sqlite3.h>
#include <unistd.h>
#include <utility>

namespace {
const char* const kFileName = ".alarm.db";
const char* const kChangedKey = ".alarmDbChanged";
const char* const kChangedWidgetKey = ".alarmDbChangedWidget";

const int kPhone = 1;
const int kWatch = 2;
const long kUpcomingSeconds = 3600;

const char* const kOrderByTime = " ORDER BY hour, min, etime";

// Rows are read by position: the order is part of the file's format.
const char* const kAlarmColumns[] = { "id INTEGER PRIMARY KEY autoincrement", "magic INTEGER",
    "alarm_mgr_id INTEGER", "alarm_mgr_smart_id INTEGER", "enable INTEGER", "missed INTEGER",
    "author INTEGER", "name TEXT", "stime INTEGER", "atime INTEGER", "etime INTEGER",
    "mtime INTEGER", "sdate INTEGER", "edate INTEGER", "hour INTEGER", "min INTEGER",
    "timezone TEXT", "repeat_once INTEGER", "repeat_every INTEGER", "repeat_weekly INTEGER",
    "snooze_enable INTEGER", "snooze_min INTEGER", "snooze_times INTEGER", "count INTEGER",
    "smart_alarm_enable INTEGER", "smart_alarm_interval INTEGER", "smart_alarm_tone TEXT",
    "type INTEGER", "tone TEXT", "volume INTEGER", "auto_power_on INTEGER",
    "local_alarm_status INTEGER", "location TEXT", "address TEXT", "local_alarm_map TEXT",
    "briefing_content_type INTEGER", "deviceType INTEGER", "uuid TEXT", "mobileCreateTime INTEGER",
    "mobileModifiedTime INTEGER", "mobileAlertTime INTEGER", "isDeleted INTEGER",
    "isNeedToSync INTEGER", "contextMgrId INTEGER" };

const char* const kToneColumns[] = { "id INTEGER PRIMARY KEY autoincrement",
    "path        TEXT NOT NULL", "alarm_id         INTEGER", "UNIQUE (alarm_id, path)" };

const char* const kInsert
    = "INSERT INTO alarm (magic, alarm_mgr_id, enable, name, stime, atime, etime, mtime, sdate, "
      "edate, hour, min, timezone, repeat_once, repeat_weekly, snooze_enable, count, "
      "smart_alarm_enable, type, tone, volume, smart_alarm_interval, deviceType, uuid, "
      "mobileCreateTime, mobileModifiedTime, mobileAlertTime, isDeleted, isNeedToSync, "
      "contextMgrId)VALUES ( %d, %d, %d, '%q', %d, %d, %d, %d, %d, %d, %d, %d, '%q', %d, %d, %d, "
      "%d, %d, %d, '%q', %d, %d, %d, '%q', %llu, %llu, %llu, %d, %d, %d)";

const char* const kUpdate
    = "UPDATE alarm SET alarm_mgr_id = %d, enable = %d, name = '%q', stime = %d, atime = %d, "
      "etime = %d, mtime = %d, sdate = %d, edate = %d, hour = %d, min = %d, timezone = '%q', "
      "repeat_once = %d, repeat_weekly = %d, snooze_enable = %d, count = %d, "
      "smart_alarm_enable = %d, type = %d, tone = '%q', volume = %d, smart_alarm_interval = %d, "
      "isDeleted = %d, isNeedToSync = %d, contextMgrId = %d WHERE id = %d";

const char* const kWatchAlarms = "SELECT * FROM alarm WHERE deviceType = 2";

const char* const kOneDay
    = "SELECT * FROM alarm WHERE (hour*60+min)>= %d AND (hour*60+min) <= %d AND enable = 1 AND "
      "(repeat_weekly & %d) = %d AND isDeleted = 0";
const char* const kOneDayWithDisabled
    = "SELECT * FROM alarm WHERE (hour*60+min)>= %d AND (hour*60+min) <= %d AND "
      "(repeat_weekly & %d) = %d AND isDeleted = 0";
const char* const kOverMidnight
    = "SELECT * FROM alarm WHERE enable = 1 AND (((hour*60+min) = %d AND (repeat_weekly & %d) = %d "
      "AND count > 0) OR  ((hour*60+min) > %d AND (repeat_weekly & %d) = %d) OR "
      "((hour*60+min)<= %d AND (repeat_weekly & %d) = %d)) AND isDeleted = 0";
const char* const kOverMidnightWithDisabled
    = "SELECT * FROM alarm WHERE (((hour*60+min) = %d AND (repeat_weekly & %d) = %d AND count > 0) "
      "OR "
      "((hour*60+min) > %d AND (repeat_weekly & %d) = %d) OR ((hour*60+min)<= %d AND "
      "(repeat_weekly & %d) = %d)) AND isDeleted = 0";

std::string databasePath()
{
    char path[4096] = "";
    char* dataPath = app_get_data_path();
    if (dataPath)
        snprintf(path, sizeof(path), "%s%s", dataPath, kFileName);
    free(dataPath);
    return path;
}

template <size_t Count>
std::string createTableText(const char* table, const char* const (&columns)[Count])
{
    std::string text = std::string("create table if not exists ") + table + " (";
    for (size_t i = 0; i < Count; ++i) {
        text += "\t\t\t\t\t\t\t\t";
        text += columns[i];
        text += i + 1 < Count ? ", " : ");";
    }
    return text;
}

bool hasPreference(const char* key)
{
    bool existing = false;
    preference_is_existing(key, &existing);
    return existing;
}

void togglePreference(const char* key)
{
    int value = 0;
    preference_get_int(key, &value);
    preference_set_int(key, !value);
}

// The weekday and the time of day of an instant, in local time.
struct LocalTime {
    explicit LocalTime(time_t time)
    {
        tm local = {};
        localtime_r(&time, &local);
        weekday = local.tm_wday;
        hour = local.tm_hour;
        min = local.tm_min;
    }
    int minutes() const { return hour * 60 + min; }
    int dayBit() const { return 1 << (weekday % 7); }

    int weekday;
    int hour;
    int min;
};

bool isOnLaterDay(const LocalTime& end, const LocalTime& start)
{
    return end.weekday > start.weekday || (start.weekday == 6 && end.weekday == 0);
}

// Doubles every quote in the text, so that SQL reads it as one word when it stands in such quotes.
std::string quoted(std::string text, char quote)
{
    for (size_t at = text.find(quote); at != std::string::npos; at = text.find(quote, at + 2))
        text.insert(at, 1, quote);
    return quote + std::move(text) + quote;
}

std::string exactTimes(const LocalTime& start, const LocalTime& end)
{
    return " ((hour = " + std::to_string(start.hour) + " AND min = " + std::to_string(start.min)
        + ") OR (hour = " + std::to_string(end.hour) + " AND min = " + std::to_string(end.min)
        + "))";
}

std::string timeRange(const LocalTime& start, const LocalTime& end, int repeatOnce, int weekFlag)
{
    char text[1024] = "";
    if (start.weekday == end.weekday) {
        if (weekFlag != 0 && repeatOnce == 0) {
            snprintf(text, sizeof(text),
                "(hour*60+min)>= %d AND (hour*60+min) <= %d AND (repeat_weekly & %d) = %d AND "
                "repeat_once = 0",
                start.minutes(), end.minutes(), weekFlag, weekFlag);
        } else {
            snprintf(text, sizeof(text), "(hour*60+min)>= %d AND (hour*60+min) <= %d",
                start.minutes(), end.minutes());
        }
    } else if (isOnLaterDay(end, start)) {
        snprintf(text, sizeof(text),
            "(((hour*60+min) >= %d AND (repeat_weekly & %d) = %d) OR ((hour*60+min)<= %d AND "
            "(repeat_weekly & %d) = %d))",
            start.minutes(), start.dayBit(), start.dayBit(), end.minutes(), end.dayBit(),
            end.dayBit());
    }
    return text;
}

void join(std::string& conditions, const std::string& condition)
{
    if (!conditions.empty())
        conditions += " AND";
    conditions += condition;
}

// Column 0 of the statement's first row; otherwise when there is no row. Finalizes the statement.
int firstValue(const char* operation, sqlite3_stmt* made, int otherwise)
{
    const Statement stmt(made);
    if (!stmt.get()) {
        LOG_CRITICAL_OF(operation, "stmt is nullptr");
        return otherwise;
    }
    if (sqlite3_step(stmt.get()) != SQLITE_ROW)
        return otherwise;
    return sqlite3_column_int(stmt.get(), 0);
}

// A NULL column leaves the field as it is.
void readText(sqlite3_stmt* stmt, int column, std::string& field)
{
    const unsigned char* text = sqlite3_column_text(stmt, column);
    if (text)
        field = reinterpret_cast<const char*>(text);
}
} // namespace

unsigned int AlarmDbModel::_initialRetryTimeout = 100000;
unsigned int AlarmDbModel::_maxRetryTimeout = 1000000;
unsigned int AlarmDbModel::_userVersion = 2;

AlarmDbModel::AlarmDbModel()
{
    if (!_initAlarmDb()) {
        LOG_CRITICAL("need to create db table");
        if (!_createAlarmDbTable()) {
            _dbHandler = nullptr; // the failed call has closed it
            LOG_CRITICAL("Alarm db init failed");
        }
    }
    if (!hasPreference(kChangedKey)) {
        LOG_CRITICAL("preference alarm db changed is created");
        preference_set_int(kChangedKey, 0);
    }
    if (!hasPreference(kChangedWidgetKey)) {
        LOG_CRITICAL("preference alarm db changed(widget) is created");
        preference_set_int(kChangedWidgetKey, 0);
    }
}

AlarmDbModel::~AlarmDbModel() { _finiAlarmDb(); }

void AlarmDbModel::setNotiFlag(bool changed, bool widget)
{
    _notiFlag = changed;
    _notiWidgetFlag = widget;
}

bool AlarmDbModel::_initAlarmDb()
{
    if (_dbHandler) {
        LOG_CRITICAL("_dbHandler is already initialized");
        return true;
    }
    const std::string path = databasePath();
    if (sqlite3_open_v2(path.c_str(), &_dbHandler, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        LOG_CRITICAL("db open failed");
        _close();
        return false;
    }
    _checkUserVersion();
    return true;
}

bool AlarmDbModel::_createAlarmDbTable()
{
    const std::string path = databasePath();
    LOG_CRITICAL("create db file on %s", path.c_str());
    sqlite3_open(path.c_str(), &_dbHandler);
    // The new file's version stays 0. The next object to open the file migrates it, which changes
    // only the version, as all columns are there.
    return _createTable(createTableText("alarm", kAlarmColumns))
        && _createTable(createTableText("tone", kToneColumns));
}

bool AlarmDbModel::_createTable(const std::string& sql)
{
    Statement stmt;
    if (_prepare(sql, stmt.out()) != SQLITE_OK) {
        _close();
        return false;
    }
    sqlite3_step(stmt.get());
    return true;
}

void AlarmDbModel::_close()
{
    if (sqlite3_close(_dbHandler) == SQLITE_OK)
        _dbHandler = nullptr;
}

void AlarmDbModel::_finiAlarmDb()
{
    if (!_dbHandler) {
        LOG_CRITICAL("dbHandler is not initialized");
        return;
    }
    _close();
    if (_notiFlag)
        _setNotiAlarmDbChanged();
    if (_notiWidgetFlag)
        _setNotiAlarmDbChangedWidget();
}

void AlarmDbModel::_checkUserVersion()
{
    const int version = _getUserVersion();
    switch (version) {
    case 2:
        break;
    case 0:
        _addColumnAndSetDefaultValue("deviceType", "INTEGER", kWatch);
        _addColumn("uuid", "TEXT");
        _addColumn("mobileCreateTime", "INTEGER");
        _addColumn("mobileModifiedTime", "INTEGER");
        _addColumn("mobileAlertTime", "INTEGER");
        _addColumnAndSetDefaultValue("isDeleted", "INTEGER", 0);
        _addColumnAndSetDefaultValue("isNeedToSync", "INTEGER", 0);
        [[fallthrough]];
    case 1:
        _setUserVersion(_userVersion);
        _addColumn("contextMgrId", "INTEGER");
        break;
    default:
        LOG_CRITICAL("version[%d] is wrong.", version);
        break;
    }
}

int AlarmDbModel::_getUserVersion()
{
    Statement stmt;
    _prepareAndStep("PRAGMA user_version", stmt.inout());
    return sqlite3_column_int(stmt.get(), 0); // 0 without a statement or a row
}

void AlarmDbModel::_setUserVersion(unsigned int version)
{
    char sql[64];
    snprintf(sql, sizeof(sql), "PRAGMA user_version = %u", version);
    _exec(sql);
}

int AlarmDbModel::_addColumn(const char* name, const char* type)
{
    return _exec(std::string("ALTER TABLE alarm ADD COLUMN ") + name + " " + type);
}

int AlarmDbModel::_addColumnAndSetDefaultValue(const char* name, const char* type, int value)
{
    return _exec(std::string("ALTER TABLE alarm ADD COLUMN ") + name + " " + type + " DEFAULT "
        + std::to_string(value));
}

int AlarmDbModel::_prepare(const std::string& sql, sqlite3_stmt** stmt)
{
    return sqlite3_prepare_v2(
        _dbHandler, sql.c_str(), static_cast<int>(sql.length()), stmt, nullptr);
}

int AlarmDbModel::_step(sqlite3_stmt** stmt)
{
    const int code = _tryWithTimeout([stmt] { return sqlite3_step(*stmt); });
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        _finalize(*stmt);
        *stmt = nullptr;
    }
    return code;
}

void AlarmDbModel::_finalize(sqlite3_stmt* stmt)
{
    if (stmt)
        sqlite3_finalize(stmt);
}

int AlarmDbModel::_prepareAndStep(const std::string& sql, sqlite3_stmt** stmt)
{
    const int code = _prepare(sql, stmt);
    if (code != SQLITE_OK && code != SQLITE_DONE)
        return code;
    return _step(stmt);
}

int AlarmDbModel::_prepareAndStep(const char* sql, sqlite3_stmt** stmt)
{
    return _prepareAndStep(std::string(sql), stmt);
}

int AlarmDbModel::_exec(const std::string& sql)
{
    Statement stmt;
    return _prepareAndStep(sql, stmt.inout());
}

int AlarmDbModel::_exec(const char* sql) { return _exec(std::string(sql)); }

sqlite3_stmt* AlarmDbModel::_createSqliteStmt(const char* format, ...) const
{
    va_list arguments;
    va_start(arguments, format);
    const SqliteText sql(sqlite3_vmprintf(format, arguments));
    va_end(arguments);

    sqlite3_stmt* stmt = nullptr;
    const int error = sqlite3_prepare_v2(_dbHandler, sql.get(), -1, &stmt, nullptr);
    if (error != SQLITE_OK)
        LOG_CRITICAL("_createSqliteStmt:: Error(%d)", error);
    return stmt;
}

char* AlarmDbModel::_createSqliteQuery(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    char* sql = sqlite3_vmprintf(format, arguments);
    va_end(arguments);
    return sql;
}

int AlarmDbModel::_tryWithTimeout(const std::function<int()>& action)
{
    unsigned int wait = _initialRetryTimeout;
    int code = action();
    while (code == SQLITE_BUSY && wait < _maxRetryTimeout) {
        LOG_CRITICAL("SQLITE_BUSY");
        usleep(wait);
        code = action();
        wait *= 2;
    }
    return code;
}

bool AlarmDbModel::insertAlarmData(AlarmDbData& alarm, bool needNoti, bool needNotiWidget)
{
    if (!_dbHandler) {
        LOG_CRITICAL("db handler is not initialized");
        return false;
    }
    Statement stmt(_createSqliteStmt(kInsert, alarm.magic, alarm.alarm_mgr_id, alarm.enable,
        alarm.name.c_str(), alarm.stime, alarm.atime, alarm.etime, alarm.modTime, alarm.sdate,
        alarm.edate, alarm.hour, alarm.min, alarm.timezone.c_str(), alarm.repeat_once,
        alarm.repeatWeekly, alarm.snooze_enable, alarm.count, alarm.smart_alarm_enable, alarm.type,
        alarm.tone.c_str(), alarm.volume, alarm.vibration_type, alarm.deviceType,
        alarm.uuid.c_str(), alarm.mobileCreateTime, alarm.mobileModifiedTime, alarm.mobileAlertTime,
        alarm.isDeleted, alarm.isNeedToSync, alarm.contextMgrId));
    sqlite3_step(stmt.get());
    stmt.reset();

    alarm.id = static_cast<int>(sqlite3_last_insert_rowid(_dbHandler));
    setNotiFlag(needNoti, needNotiWidget);
    return true;
}

bool AlarmDbModel::updateAlarmData(
    AlarmDbData& alarm, bool needNoti, bool needNotiWidget, bool needToSync, bool keepMobileTime)
{
    if (!_dbHandler) {
        LOG_CRITICAL("db handler is not initialized");
        return false;
    }
    if (alarm.deviceType == kPhone && needToSync) {
        alarm.isNeedToSync = true;
        alarm.mobileAlertTime = static_cast<long long>(alarm.stime) * 1000;
    }
    Statement stmt(_createSqliteStmt(kUpdate, alarm.alarm_mgr_id, alarm.enable, alarm.name.c_str(),
        alarm.stime, alarm.atime, alarm.etime, alarm.modTime, alarm.sdate, alarm.edate, alarm.hour,
        alarm.min, alarm.timezone.c_str(), alarm.repeat_once, alarm.repeatWeekly,
        alarm.snooze_enable, alarm.count, alarm.smart_alarm_enable, alarm.type, alarm.tone.c_str(),
        alarm.volume, alarm.vibration_type, alarm.isDeleted, alarm.isNeedToSync, alarm.contextMgrId,
        alarm.id));
    sqlite3_step(stmt.get());
    stmt.reset();

    if (alarm.deviceType == kPhone && !needToSync && !keepMobileTime)
        _updateMobileTime(alarm);
    setNotiFlag(needNoti, needNotiWidget);
    if (alarm.isNeedToSync) {
        _updateMobileAlertTime(alarm.id, alarm.mobileAlertTime);
        AlarmSyncUtil::requestWatchUpdate();
    }
    return true;
}

bool AlarmDbModel::removeAlarmData(
    AlarmDbData& alarm, bool needNoti, bool needNotiWidget, bool needToSync, bool requestUpdate)
{
    const char* format = needToSync && alarm.deviceType != kWatch
        ? "UPDATE alarm SET isDeleted = 1, isNeedToSync = 1 WHERE id = %d"
        : "DELETE FROM alarm WHERE id = %d";
    const SqliteText sql(_createSqliteQuery(format, alarm.id));
    if (!_runChange(__func__, sql.get()))
        return false;
    setNotiFlag(needNoti, needNotiWidget);
    if (alarm.deviceType == kPhone && requestUpdate)
        AlarmSyncUtil::requestWatchUpdate();
    return true;
}

void AlarmDbModel::updateContextMgrId(AlarmDbData& alarm)
{
    const SqliteText sql(_createSqliteQuery(
        "UPDATE alarm SET contextMgrId = %d WHERE id = %d", alarm.contextMgrId, alarm.id));
    _runChange(__func__, sql.get());
}

int AlarmDbModel::updateAlarmDataStatus(
    int id, int enable, bool /*needNoti*/, bool /*needNotiWidget*/)
{
    const SqliteText sql(
        _createSqliteQuery("UPDATE alarm SET enable = %d WHERE id = %d", enable, id));
    return _runChange(__func__, sql.get()) ? 0 : 1;
}

void AlarmDbModel::_updateMobileTime(AlarmDbData& alarm)
{
    const SqliteText sql(
        _createSqliteQuery("UPDATE alarm SET mobileCreateTime = %llu, mobileModifiedTime = %llu, "
                           "mobileAlertTime = %llu WHERE id = %d",
            alarm.mobileCreateTime, alarm.mobileModifiedTime, alarm.mobileAlertTime, alarm.id));
    _runChange(__func__, sql.get());
}

void AlarmDbModel::_updateMobileAlertTime(int id, unsigned long long alertTime)
{
    const unsigned long long now = AlarmSyncUtil::getCurrentDeviceMilliSecTime();
    const SqliteText sql(_createSqliteQuery(
        "UPDATE alarm SET mobileAlertTime = %llu, mobileModifiedTime = %llu WHERE id = %d",
        alertTime, now, id));
    _runChange(__func__, sql.get());
}

bool AlarmDbModel::updateUnsyncedAlarmDataToDefault()
{
    return _runReset(__func__, "UPDATE alarm SET isNeedToSync = 0 WHERE isNeedToSync = 1");
}

bool AlarmDbModel::removeSyncedAlarmData()
{
    return _runReset(__func__, "DELETE FROM alarm WHERE deviceType = 1");
}

bool AlarmDbModel::_runChange(const char* operation, const char* sql)
{
    if (!_dbHandler) {
        LOG_CRITICAL_OF(operation, "db handler is not initialized");
        return false;
    }
    if (!sql) // there was no memory for the text
        return false;
    LOG_CRITICAL_OF(operation, "sql = %s", sql);
    Statement stmt;
    if (_prepare(sql, stmt.out()) != SQLITE_OK) {
        LOG_CRITICAL_OF(operation, "Query: [%s]", sql);
        return false;
    }
    sqlite3_step(stmt.get());
    return true;
}

bool AlarmDbModel::_runReset(const char* operation, const char* sql)
{
    if (!_dbHandler) {
        LOG_CRITICAL_OF(operation, "db handler is not initialized");
        return false;
    }
    Statement stmt;
    if (_prepare(sql, stmt.out()) != SQLITE_OK) {
        _close();
        return false;
    }
    sqlite3_step(stmt.get());
    return true;
}

int AlarmDbModel::isDuplicatedAlarmData(const AlarmDbData& alarm, bool withName) const
{
    sqlite3_stmt* stmt = withName
        ? _createSqliteStmt(
            "SELECT id FROM alarm WHERE hour = %d AND min = %d AND repeat_once = %d "
            "AND repeat_weekly = %d AND name = '%q' AND isDeleted = 0",
            alarm.hour, alarm.min, alarm.repeat_once, alarm.repeatWeekly, alarm.name.c_str())
        : _createSqliteStmt(
            "SELECT id FROM alarm WHERE hour = %d AND min = %d AND repeat_once = %d "
            "AND repeat_weekly = %d AND isDeleted = 0",
            alarm.hour, alarm.min, alarm.repeat_once, alarm.repeatWeekly);
    return firstValue(__func__, stmt, -1);
}

int AlarmDbModel::isDuplicatedAlarmDataWithWatch(const AlarmDbData& alarm) const
{
    return firstValue(__func__,
        _createSqliteStmt("SELECT id FROM alarm WHERE hour = %d AND min = %d AND repeat_once = %d "
                          "AND repeat_weekly = %d AND deviceType = %d AND isDeleted = 0",
            alarm.hour, alarm.min, alarm.repeat_once, alarm.repeatWeekly, kWatch),
        -1);
}

int AlarmDbModel::checkIsDuplicatedAlarmData(const AlarmDbData& alarm) const
{
    if (alarm.deviceType == kPhone) {
        const int id = isDuplicatedAlarmData(alarm, true);
        return id != -1 ? id : isDuplicatedAlarmDataWithWatch(alarm);
    }
    if (alarm.deviceType == kWatch)
        return isDuplicatedAlarmData(alarm, false);
    return -1;
}

int AlarmDbModel::getNumberOfEnabledAlarmList()
{
    return firstValue(__func__,
        _createSqliteStmt("SELECT COUNT(*) FROM alarm WHERE enable = 1 AND isDeleted = 0"), 0);
}

int AlarmDbModel::getNumberOfUnsyncedAlarm()
{
    return firstValue(
        __func__, _createSqliteStmt("SELECT COUNT(*) FROM alarm WHERE isNeedToSync = 1"), 0);
}

int AlarmDbModel::getNumberOfWatchAlarm()
{
    return firstValue(
        __func__, _createSqliteStmt("SELECT COUNT(*) FROM alarm WHERE deviceType = 2"), 0);
}

int AlarmDbModel::getNumberOfAlarm()
{
    return firstValue(__func__, _createSqliteStmt("SELECT COUNT(*) FROM alarm"), 0);
}

int AlarmDbModel::getNumberOfMobileAlarm()
{
    return firstValue(
        __func__, _createSqliteStmt("SELECT COUNT(*) FROM alarm WHERE deviceType = 1"), 0);
}

int AlarmDbModel::getAlarm(int id, AlarmDbData& alarm)
{
    return _getAlarmDataFromQuery(
        "SELECT * FROM alarm WHERE isDeleted = 0 AND id = " + std::to_string(id), alarm);
}

int AlarmDbModel::getAlarmWithAlarmMgrId(int alarmMgrId, AlarmDbData& alarm)
{
    return _getAlarmDataFromQuery(
        "SELECT * FROM alarm WHERE isDeleted = 0 AND alarm_mgr_id = " + std::to_string(alarmMgrId),
        alarm);
}

int AlarmDbModel::getContextAlarm(int contextMgrId, AlarmDbData& alarm)
{
    return _getAlarmDataFromQuery("SELECT * FROM alarm WHERE isDeleted = 0 AND contextMgrId = "
            + std::to_string(contextMgrId),
        alarm);
}

int AlarmDbModel::getMobileAlarm(int mobileId, AlarmDbData& alarm)
{
    return _getAlarmDataFromQuery("SELECT * FROM alarm WHERE isDeleted = 0 AND uuid = "
            + quoted(std::to_string(mobileId), '"'),
        alarm);
}

int AlarmDbModel::getUpcommingContextAlarm(AlarmDbData& alarm)
{
    const long now = time(nullptr);
    return _getAlarmDataFromQuery("SELECT * FROM alarm WHERE isDeleted = 0 AND stime > "
            + std::to_string(now) + " AND stime <= " + std::to_string(now + kUpcomingSeconds)
            + " AND enable = 1" + kOrderByTime,
        alarm);
}

bool AlarmDbModel::hasAlarmData(std::string uuid, int& id, int& alarmMgrId, int& contextMgrId)
{
    const Statement stmt(_createSqliteStmt("SELECT COUNT(ROWID), id, alarm_mgr_id, contextMgrId "
                                           "FROM alarm WHERE %s = uuid",
        quoted(std::move(uuid), '\'').c_str()));
    if (!stmt.get()) {
        LOG_CRITICAL("stmt is nullptr");
        return false;
    }
    if (sqlite3_step(stmt.get()) != SQLITE_ROW)
        return false;
    id = sqlite3_column_int(stmt.get(), 1);
    alarmMgrId = sqlite3_column_int(stmt.get(), 2);
    contextMgrId = sqlite3_column_int(stmt.get(), 3);
    return sqlite3_column_int(stmt.get(), 0) > 0;
}

bool AlarmDbModel::hasAlarmMgrId(int id, int& alarmMgrId)
{
    const Statement stmt(_createSqliteStmt(
        "SELECT COUNT(ROWID), alarm_mgr_id FROM alarm WHERE id = %d AND isDeleted = 0", id));
    if (!stmt.get()) {
        LOG_CRITICAL("stmt is nullptr");
        return false;
    }
    if (sqlite3_step(stmt.get()) != SQLITE_ROW)
        return false;
    alarmMgrId = sqlite3_column_int(stmt.get(), 1);
    return sqlite3_column_int(stmt.get(), 0) > 0;
}

void AlarmDbModel::getAllUnsyncedAlarmList(std::vector<AlarmDbData>& list)
{
    _appendRows(__func__, list, _createSqliteStmt("SELECT * FROM alarm WHERE isNeedToSync = 1"));
}

void AlarmDbModel::getAllMobileAlarmList(std::vector<AlarmDbData>& list)
{
    _appendRows(__func__, list,
        _createSqliteStmt("SELECT * FROM alarm WHERE deviceType = 1%s", kOrderByTime));
}

void AlarmDbModel::getAllVornAlarmList(std::vector<AlarmDbData>& list)
{
    _appendRows(__func__, list, _createSqliteStmt(kWatchAlarms));
}

void AlarmDbModel::getAllAlarmList(std::vector<AlarmDbData>& list)
{
    _appendRows(__func__, list, _createSqliteStmt(kWatchAlarms));
}

void AlarmDbModel::getAlarmListWithIds(std::vector<AlarmDbData>& list, const std::string& ids)
{
    _appendRows(
        __func__, list, _createSqliteStmt("SELECT * FROM alarm WHERE id in (%s )", ids.c_str()));
}

int AlarmDbModel::getAllEnabledMobileAlarmList(std::vector<AlarmDbData>& list)
{
    return _getAlarmListFromQuery("SELECT * FROM alarm WHERE deviceType = 1 AND enable = 1", list);
}

void AlarmDbModel::getAllAlarmListInTimeRange(
    std::vector<AlarmDbData>& list, long startTime, long endTime, bool includeDisabled)
{
    list.clear();
    const LocalTime start(startTime);
    const LocalTime end(endTime);
    const int startDay = start.dayBit();
    const int endDay = end.dayBit();

    sqlite3_stmt* stmt = nullptr;
    if (start.weekday == end.weekday) {
        stmt = _createSqliteStmt(includeDisabled ? kOneDayWithDisabled : kOneDay, start.minutes(),
            end.minutes(), startDay, startDay);
    } else if (isOnLaterDay(end, start)) {
        stmt = _createSqliteStmt(includeDisabled ? kOverMidnightWithDisabled : kOverMidnight,
            start.minutes(), startDay, startDay, start.minutes(), startDay, startDay, end.minutes(),
            endDay, endDay);
    }
    _appendRows(__func__, list, stmt);
}

int AlarmDbModel::getAlarmListWithMultipleParameter(std::vector<AlarmDbData>& list, long startTime,
    long endTime, int repeatOnce, int weekFlag, std::string name, int enableState, int useTimeRange,
    int /*reserved*/)
{
    list.clear();
    std::string conditions;
    if (startTime != 0 && endTime != 0) {
        const LocalTime start(startTime);
        const LocalTime end(endTime);
        conditions = useTimeRange == 0 ? exactTimes(start, end)
                                       : timeRange(start, end, repeatOnce, weekFlag);
    }
    if (repeatOnce != 0)
        join(conditions, " repeat_once = 1");
    if (useTimeRange == 0 && weekFlag != 0 && repeatOnce == 0)
        join(conditions, " (repeat_weekly & " + std::to_string(weekFlag) + ") > 0 ");
    if (!name.empty())
        join(conditions, " name=" + quoted(std::move(name), '"') + " COLLATE NOCASE");
    if (enableState == 1 || enableState == 2)
        join(conditions, enableState == 1 ? " enable = 1" : " enable = 0");

    std::string query = "SELECT * FROM alarm";
    if (!conditions.empty())
        query += " WHERE" + conditions;
    LOG_CRITICAL("query=%s", query.c_str());
    return _getAlarmListFromQuery(query, list);
}

int AlarmDbModel::_getAlarmDataFromQuery(const std::string& query, AlarmDbData& alarm)
{
    Statement stmt;
    if (_prepare(query, stmt.out()) != SQLITE_OK)
        return -1;
    if (_step(stmt.inout()) == SQLITE_ROW)
        _extractDataFromStms(stmt.get(), alarm);
    return 0;
}

int AlarmDbModel::_getAlarmListFromQuery(const std::string& query, std::vector<AlarmDbData>& list)
{
    Statement stmt;
    if (_prepare(query, stmt.out()) != SQLITE_OK)
        return -1;
    while (_step(stmt.inout()) == SQLITE_ROW)
        _extractListFromStms(list, stmt.get());
    return 0;
}

// Finalizes the statement.
void AlarmDbModel::_appendRows(
    const char* operation, std::vector<AlarmDbData>& list, sqlite3_stmt* made)
{
    const Statement stmt(made);
    if (!stmt.get()) {
        LOG_CRITICAL_OF(operation, "stmt is nullptr");
        return;
    }
    while (sqlite3_step(stmt.get()) == SQLITE_ROW)
        _extractListFromStms(list, stmt.get());
}

void AlarmDbModel::_extractListFromStms(std::vector<AlarmDbData>& list, sqlite3_stmt* stmt)
{
    _extractDataFromStms(stmt, list.emplace_back());
}

void AlarmDbModel::_extractDataFromStms(sqlite3_stmt* stmt, AlarmDbData& alarm)
{
    alarm.id = sqlite3_column_int(stmt, 0);
    alarm.magic = sqlite3_column_int(stmt, 1);
    alarm.alarm_mgr_id = sqlite3_column_int(stmt, 2);
    alarm.enable = sqlite3_column_int(stmt, 4);
    readText(stmt, 7, alarm.name);
    alarm.stime = sqlite3_column_int(stmt, 8);
    alarm.atime = sqlite3_column_int(stmt, 9);
    alarm.etime = sqlite3_column_int(stmt, 10);
    alarm.modTime = sqlite3_column_int(stmt, 11);
    alarm.sdate = sqlite3_column_int(stmt, 12);
    alarm.edate = sqlite3_column_int(stmt, 13);
    alarm.hour = sqlite3_column_int(stmt, 14);
    alarm.min = sqlite3_column_int(stmt, 15);
    readText(stmt, 16, alarm.timezone);
    alarm.repeat_once = sqlite3_column_int(stmt, 17);
    alarm.repeatWeekly = sqlite3_column_int(stmt, 19);
    alarm.snooze_enable = sqlite3_column_int(stmt, 20);
    alarm.count = sqlite3_column_int(stmt, 23);
    alarm.smart_alarm_enable = sqlite3_column_int(stmt, 24);
    alarm.vibration_type = sqlite3_column_int(stmt, 25);
    alarm.type = sqlite3_column_int(stmt, 27);
    readText(stmt, 28, alarm.tone);
    alarm.volume = sqlite3_column_int(stmt, 29);
    alarm.deviceType = sqlite3_column_int(stmt, 36);
    readText(stmt, 37, alarm.uuid);
    alarm.mobileCreateTime = sqlite3_column_int64(stmt, 38);
    alarm.mobileModifiedTime = sqlite3_column_int64(stmt, 39);
    alarm.mobileAlertTime = sqlite3_column_int64(stmt, 40);
    alarm.isDeleted = sqlite3_column_int(stmt, 41) == 1;
    alarm.isNeedToSync = sqlite3_column_int(stmt, 42) == 1;
    alarm.contextMgrId = sqlite3_column_int(stmt, 43);
}

void AlarmDbModel::_setNotiAlarmDbChanged() { togglePreference(kChangedKey); }

void AlarmDbModel::_setNotiAlarmDbChangedWidget() { togglePreference(kChangedWidgetKey); }
