#include "StoreFixture.h"

#include <cstdarg>
#include <map>
#include <memory>
#include <set>

using testing::IsEmpty;

namespace {
// What the library made and has not released, and what it released without having it.
struct Handles {
    std::set<const void*> statements;
    std::set<const void*> texts;
    int prepared = 0;
    int formatted = 0;
    int wronglyReleased = 0;
    int nothingStepped = 0;
};
Handles handles;
} // namespace

// The linker sends the library's calls here.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __real_sqlite3_prepare_v2(
    sqlite3* connection, const char* sql, int length, sqlite3_stmt** stmt, const char** tail);
int __real_sqlite3_step(sqlite3_stmt* stmt);
int __real_sqlite3_finalize(sqlite3_stmt* stmt);
char* __real_sqlite3_vmprintf(const char* format, va_list arguments);
void __real_sqlite3_free(void* text);

int __wrap_sqlite3_prepare_v2(
    sqlite3* connection, const char* sql, int length, sqlite3_stmt** stmt, const char** tail)
{
    const int code = __real_sqlite3_prepare_v2(connection, sql, length, stmt, tail);
    if (*stmt) {
        handles.statements.insert(*stmt);
        ++handles.prepared;
    }
    return code;
}

int __wrap_sqlite3_step(sqlite3_stmt* stmt)
{
    handles.nothingStepped += stmt ? 0 : 1;
    return __real_sqlite3_step(stmt);
}

int __wrap_sqlite3_finalize(sqlite3_stmt* stmt)
{
    if (stmt && handles.statements.erase(stmt) == 0) {
        ++handles.wronglyReleased;
        return SQLITE_MISUSE;
    }
    return __real_sqlite3_finalize(stmt);
}

char* __wrap_sqlite3_vmprintf(const char* format, va_list arguments)
{
    char* text = __real_sqlite3_vmprintf(format, arguments);
    handles.texts.insert(text);
    ++handles.formatted;
    return text;
}

void __wrap_sqlite3_free(void* text)
{
    if (handles.texts.erase(text) == 0)
        ++handles.wronglyReleased;
    __real_sqlite3_free(text);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {
class AlarmDbModelStatementsTest : public StoreFixture {
protected:
    AlarmDbModelStatementsTest()
    {
        clockDouble().sleep = [] {};
        makeFile();
        handles = {};
    }
    ~AlarmDbModelStatementsTest() override
    {
        EXPECT_THAT(handles.statements, IsEmpty());
        EXPECT_THAT(handles.texts, IsEmpty());
        EXPECT_EQ(0, handles.wronglyReleased);
    }

    static void readEverything(AlarmDbModel& model)
    {
        AlarmDbData alarm;
        std::vector<AlarmDbData> list;
        int id = 0;
        model.getAlarm(1, alarm);
        model.getAlarmWithAlarmMgrId(1, alarm);
        model.getContextAlarm(1, alarm);
        model.getMobileAlarm(1, alarm);
        model.getUpcommingContextAlarm(alarm);
        model.hasAlarmData("x", id, id, id);
        model.hasAlarmMgrId(1, id);
        model.getAllUnsyncedAlarmList(list);
        model.getAllMobileAlarmList(list);
        model.getAllVornAlarmList(list);
        model.getAllAlarmList(list);
        model.getAlarmListWithIds(list, "1,2");
        model.getAllEnabledMobileAlarmList(list);
        model.getAllAlarmListInTimeRange(list, 1, 2, true);
        model.getAllAlarmListInTimeRange(list, 1, 24 * 3600 + 2, false);
        model.getAlarmListWithMultipleParameter(list, 0, 0, 0, 0, "", 0, 0, 0);
        model.isDuplicatedAlarmData(phoneAlarm(), true);
        model.checkIsDuplicatedAlarmData(AlarmDbData());
        model.checkIsDuplicatedAlarmData(phoneAlarm());
        model.getNumberOfEnabledAlarmList();
        model.getNumberOfUnsyncedAlarm();
        model.getNumberOfWatchAlarm();
        model.getNumberOfAlarm();
        model.getNumberOfMobileAlarm();
    }

    static void writeEverything(AlarmDbModel& model)
    {
        AlarmDbData alarm = phoneAlarm();
        model.insertAlarmData(alarm, true, true);
        model.updateAlarmData(alarm, true, true, true, false);
        alarm.isNeedToSync = false;
        model.updateAlarmData(alarm, true, true, false, false);
        model.updateContextMgrId(alarm);
        model.updateAlarmDataStatus(alarm.id, 1, true, true);
        model.removeAlarmData(alarm, true, true, true, true);
        model.removeAlarmData(alarm, true, true, false, true);
        model.updateUnsyncedAlarmDataToDefault();
        model.removeSyncedAlarmData();
    }
};
} // namespace

TEST_F(AlarmDbModelStatementsTest, EachIsFinalizedOnceAndEachTextFreed)
{
    AlarmDbModel model;

    writeEverything(model);
    readEverything(model);

    EXPECT_GT(handles.prepared, 35);
    EXPECT_GT(handles.formatted, 20);
}

TEST_F(AlarmDbModelStatementsTest, EachIsFinalizedOnceWhenTheFileStaysBusy)
{
    AlarmDbModel model;
    AlarmDbData alarm;
    model.getAlarm(1, alarm);
    sqlite3* other = nullptr;
    sqlite3_open(file.path().c_str(), &other);
    sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);

    writeEverything(model);
    readEverything(model);

    EXPECT_GT(handles.prepared, 35);
    EXPECT_FALSE(clockDouble().sleeps.empty());
    sqlite3_close(other);
}

TEST_F(AlarmDbModelStatementsTest, EachIsFinalizedOnceWhenReadsAreInterrupted)
{
    {
        AlarmDbModel model;
        for (int i = 0; i < 3; ++i) {
            AlarmDbData alarm = phoneAlarm();
            alarm.enable = 1;
            alarm.alarm_mgr_id = 1;
            model.insertAlarmData(alarm, true, true);
        }
    }
    SqliteProbe probe;
    AlarmDbModel model;
    probe.interruptAfterRows = 1;

    readEverything(model);
    std::vector<AlarmDbData> list;
    model.getAllEnabledMobileAlarmList(list);

    EXPECT_EQ(1u, list.size());
}

TEST_F(AlarmDbModelStatementsTest, EachTextIsFreedWhenNoStatementCanBeMade)
{
    SqliteProbe probe;
    AlarmDbModel model;
    const int preparedBefore = handles.prepared;
    probe.refuseAll();

    writeEverything(model);
    readEverything(model);

    EXPECT_EQ(preparedBefore, handles.prepared);
    EXPECT_GT(handles.formatted, 20);
}

TEST_F(AlarmDbModelStatementsTest, AStatementOfTheOpeningThatCannotBeMadeIsNotRun)
{
    SqliteProbe probe;
    probe.refuseAll();

    openOnce();

    EXPECT_THAT(probe.statements, IsEmpty());
    EXPECT_EQ(0, handles.nothingStepped);
}

TEST_F(AlarmDbModelStatementsTest, EachTextIsFreedWithoutAConnection)
{
    takeFileAway();
    AlarmDbModel model;

    writeEverything(model);
    readEverything(model);

    EXPECT_EQ(0, handles.prepared);
}

TEST_F(AlarmDbModelStatementsTest, MakingAndMigratingTheFileLeavesNoStatement)
{
    StoreFile fresh;
    appCommonDouble().dataPath = fresh.folder();

    openOnce();
    openOnce();

    EXPECT_GT(handles.prepared, 3);
}

TEST_F(AlarmDbModelStatementsTest, AnInterruptedVersionReadIsFinalizedOnce)
{
    SqliteProbe probe;
    probe.interruptAfterRows = 1;

    openOnce();

    EXPECT_GT(handles.prepared, 0);
}
