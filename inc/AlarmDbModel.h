#pragma once

#include "AlarmDbData.h"

#include <functional>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/**
 * The store of alarms: table alarm of the file ".alarm.db" in the application's
 * data path, which all of the watch's alarm processes share.
 *
 * An object is made for one piece of work. Its constructor opens the file, and
 * makes or migrates it when needed; its destructor closes it and then tells the
 * other processes of a change by toggling the preference keys ".alarmDbChanged"
 * (applications) and ".alarmDbChangedWidget" (widgets).
 *
 * An object without a usable file still exists: its writes log that and return
 * their failure value, its reads fail as each says.
 *
 * Each object is used from one thread. While another process has the file
 * locked, each statement of the constructor but the two that make the tables,
 * and each of the single reads, of getAllEnabledMobileAlarmList() and of the
 * search waits up to 1.5 s; nothing else waits or tries again, and a fresh
 * object's first statement, which reads the schema, fails at once.
 */
class AlarmDbModel {
public:
    /** First wait for a locked file, in microseconds, above 0. Read at each use. */
    static unsigned int _initialRetryTimeout;
    /** The wait, doubled each time, at which trying stops, in microseconds. Read at each use. */
    static unsigned int _maxRetryTimeout;
    /** Schema version that a migration writes to the file. */
    static unsigned int _userVersion;

    /** Opens, makes or migrates the file, and makes both change keys where absent. */
    AlarmDbModel();
    AlarmDbModel(const AlarmDbModel&) = delete;
    AlarmDbModel& operator=(const AlarmDbModel&) = delete;
    ~AlarmDbModel();

    /**
     * Says which change keys the destructor toggles. insertAlarmData(),
     * updateAlarmData() and removeAlarmData() do the same with their own
     * arguments: the last call counts.
     */
    void setNotiFlag(bool changed, bool widget);

    // Writes. Each is one statement of its own.

    /**
     * Adds a row with the record's fields and sets alarm.id to the new row's id.
     * Does not look for duplicates. Returns false only without a file: true says
     * that the insert was tried. When it failed, alarm.id is the id of the row that
     * this object inserted before, or 0.
     */
    bool insertAlarmData(AlarmDbData& alarm, bool needNoti, bool needNotiWidget);

    /**
     * Writes the record to the row alarm.id, but for magic, deviceType and uuid.
     *
     * A phone alarm with needToSync becomes unsynced: isNeedToSync and
     * mobileAlertTime (stime in milliseconds) are set in the record too. A phone
     * alarm with neither needToSync nor keepMobileTime gets the record's three
     * mobile times. Whenever isNeedToSync is set then, the row's mobileAlertTime
     * and mobileModifiedTime (now) are written.
     * Returns false only without a file: true says that the update was tried.
     */
    bool updateAlarmData(AlarmDbData& alarm, bool needNoti, bool needNotiWidget, bool needToSync,
        bool keepMobileTime);

    /**
     * Deletes the row alarm.id. With needToSync, an alarm of any device type but
     * the watch's is only marked as deleted and unsynced. The record is not changed.
     * Returns false without a file or when the statement cannot be made; which
     * change keys are toggled then stays as it was.
     */
    bool removeAlarmData(AlarmDbData& alarm, bool needNoti, bool needNotiWidget, bool needToSync,
        bool requestUpdate);

    /** Writes the record's three mobile times, and nothing else, to the row alarm.id. */
    void _updateMobileTime(AlarmDbData& alarm);

    /** Writes contextMgrId to the row alarm.id. */
    void updateContextMgrId(AlarmDbData& alarm);

    /**
     * Switches an alarm on (1) or off (0). The two notification arguments have no
     * effect. Returns 0 when done, 1 on failure.
     */
    int updateAlarmDataStatus(int id, int enable, bool needNoti, bool needNotiWidget);

    /**
     * Marks every row as known to the phone. When the statement cannot be made,
     * the file is closed and the result false.
     */
    bool updateUnsyncedAlarmDataToDefault();

    /**
     * Deletes all phone alarms, those marked as deleted too. When the statement
     * cannot be made, the file is closed and the result false.
     */
    bool removeSyncedAlarmData();

    // Duplicates: the id of a row with the same hour, min, repeat_once and repeatWeekly that is not
    // marked as deleted, or -1.

    /** Alarms of phone and watch; withName, the names must be equal too, by case as well. */
    int isDuplicatedAlarmData(const AlarmDbData& alarm, bool withName) const;

    /** Alarms of the watch. */
    int isDuplicatedAlarmDataWithWatch(const AlarmDbData& alarm) const;

    /**
     * For a phone alarm one with the same name, or else any of the watch; for a
     * watch alarm any. -1 for a device that is neither.
     */
    int checkIsDuplicatedAlarmData(const AlarmDbData& alarm) const;

    // Counts; 0 when the file cannot be read. All but the first count rows marked as deleted.

    int getNumberOfEnabledAlarmList();
    int getNumberOfUnsyncedAlarm();
    int getNumberOfWatchAlarm();
    int getNumberOfAlarm();
    int getNumberOfMobileAlarm();

    // Single reads skip rows marked as deleted. They return -1 when the statement cannot be made,
    // else 0. The record is filled only when a row was found, so give a default one and look at its
    // id; snooze_min, snooze_times and reserved are never filled.

    int getAlarm(int id, AlarmDbData& alarm);
    int getAlarmWithAlarmMgrId(int alarmMgrId, AlarmDbData& alarm);
    int getContextAlarm(int contextMgrId, AlarmDbData& alarm);

    /** By the phone's id, which the store keeps in uuid. */
    int getMobileAlarm(int mobileId, AlarmDbData& alarm);

    /** The first, by hour, min and etime, of the enabled alarms that are due within the next hour.
     */
    int getUpcommingContextAlarm(AlarmDbData& alarm);

    // Existence: false also when the file cannot be read.

    /**
     * Whether a row has this uuid, the phone's or not, marked as deleted or not. The
     * watch's alarms have an empty uuid. The outputs are taken from one such row, or 0
     * when there is none; they are left alone when the file cannot be read.
     */
    bool hasAlarmData(std::string uuid, int& id, int& alarmMgrId, int& contextMgrId);

    /** Whether the row id exists and is not marked as deleted; alarmMgrId as in hasAlarmData(). */
    bool hasAlarmMgrId(int id, int& alarmMgrId);

    // Fixed lists append to the list, rows marked as deleted included. A read that fails midway
    // keeps the rows that it has.

    void getAllUnsyncedAlarmList(std::vector<AlarmDbData>& list);

    /** In the order of hour, min and etime. */
    void getAllMobileAlarmList(std::vector<AlarmDbData>& list);

    /** The watch's own alarms. */
    void getAllVornAlarmList(std::vector<AlarmDbData>& list);

    /** The watch's own alarms. */
    void getAllAlarmList(std::vector<AlarmDbData>& list);

    /** ids: row ids in decimal, with commas between; they are put into the statement as they are.
     */
    void getAlarmListWithIds(std::vector<AlarmDbData>& list, const std::string& ids);

    /** Returns -1 when the statement cannot be made, else 0. */
    int getAllEnabledMobileAlarmList(std::vector<AlarmDbData>& list);

    /**
     * Replaces the list by the alarms on the weekdays and between the times of day
     * of two instants (seconds since the epoch), both included, in local time and
     * in no order: those switched on, or with includeDisabled all, but none that is
     * marked as deleted. Over a midnight, an alarm at the start minute counts only while
     * it is snoozing. Weekdays that lie between the two are not covered, and a
     * range whose end has an earlier weekday, Saturday to Sunday apart, is empty.
     */
    void getAllAlarmListInTimeRange(
        std::vector<AlarmDbData>& list, long startTime, long endTime, bool includeDisabled);

    /**
     * Replaces the list by the alarms that meet all conditions, rows marked as
     * deleted included, in no order. Returns -1 when the statement cannot be made,
     * else 0.
     *
     * @param startTime, endTime seconds since the epoch; no condition unless both are set
     * @param repeatOnce non-zero: one-shot alarms only
     * @param weekFlag days as in AlarmDbData::repeatWeekly, 0 = no condition; for repeating alarms:
     *     any of the days with exact times, all of them with a range on one weekday
     * @param name the label in any case of its ASCII letters; empty = no condition
     * @param enableState 1 = switched on, 2 = off, else no condition
     * @param useTimeRange 0: the times of day are exactly one of the two; else they lie between
     * them
     * @param reserved has no effect
     */
    int getAlarmListWithMultipleParameter(std::vector<AlarmDbData>& list, long startTime,
        long endTime, int repeatOnce, int weekFlag, std::string name, int enableState,
        int useTimeRange, int reserved);

private:
    bool _initAlarmDb();
    bool _createAlarmDbTable();
    bool _createTable(const std::string& sql);
    void _finiAlarmDb();
    void _close();

    void _checkUserVersion();
    int _getUserVersion();
    void _setUserVersion(unsigned int version);
    int _addColumn(const char* name, const char* type);
    int _addColumnAndSetDefaultValue(const char* name, const char* type, int value);

    int _prepare(const std::string& sql, sqlite3_stmt** stmt);
    int _step(sqlite3_stmt** stmt);
    void _finalize(sqlite3_stmt* stmt);
    int _prepareAndStep(const std::string& sql, sqlite3_stmt** stmt);
    int _prepareAndStep(const char* sql, sqlite3_stmt** stmt);
    int _exec(const std::string& sql);
    int _exec(const char* sql);
    sqlite3_stmt* _createSqliteStmt(const char* format, ...) const;
    char* _createSqliteQuery(const char* format, ...);
    int _tryWithTimeout(const std::function<int()>& action);

    bool _runChange(const char* operation, const char* sql);
    bool _runReset(const char* operation, const char* sql);
    void _updateMobileAlertTime(int id, unsigned long long alertTime);

    int _getAlarmDataFromQuery(const std::string& query, AlarmDbData& alarm);
    int _getAlarmListFromQuery(const std::string& query, std::vector<AlarmDbData>& list);
    void _appendRows(const char* operation, std::vector<AlarmDbData>& list, sqlite3_stmt* made);
    void _extractListFromStms(std::vector<AlarmDbData>& list, sqlite3_stmt* stmt);
    void _extractDataFromStms(sqlite3_stmt* stmt, AlarmDbData& alarm);

    void _setNotiAlarmDbChanged();
    void _setNotiAlarmDbChangedWidget();

    sqlite3* _dbHandler = nullptr;
    bool _notiFlag = false;
    bool _notiWidgetFlag = false;
};
