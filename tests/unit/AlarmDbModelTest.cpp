#include "StoreFixture.h"

#include <sys/time.h>

using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::Pair;

namespace {
const char* const kTabs = "\t\t\t\t\t\t\t\t";

class AlarmDbModelTest : public StoreFixture {};

// Holds the file so that nobody else can read or write it.
class ExclusiveLock {
public:
    explicit ExclusiveLock(const std::string& path)
    {
        sqlite3_open(path.c_str(), &_connection);
        sqlite3_exec(_connection, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
    }
    ~ExclusiveLock() { release(); }
    void release()
    {
        sqlite3_close(_connection);
        _connection = nullptr;
    }

private:
    sqlite3* _connection = nullptr;
};

class BusyStoreTest : public StoreFixture {
protected:
    BusyStoreTest()
    {
        makeFile();
        model = std::make_unique<AlarmDbModel>();
        // A first read, so that the connection knows the schema and only the step meets the lock.
        model->getAlarm(1, alarm);
        model->insertAlarmData(alarm, false, false);
        forget();
        lock = std::make_unique<ExclusiveLock>(file.path());
    }

    void sleepWithoutWaiting()
    {
        clockDouble().sleep = [] {};
    }

    std::unique_ptr<AlarmDbModel> model;
    std::unique_ptr<ExclusiveLock> lock;
    AlarmDbData alarm;
};

class RetryTuning {
public:
    ~RetryTuning()
    {
        AlarmDbModel::_initialRetryTimeout = _initial;
        AlarmDbModel::_maxRetryTimeout = _max;
        AlarmDbModel::_userVersion = _version;
    }

private:
    const unsigned int _initial = AlarmDbModel::_initialRetryTimeout;
    const unsigned int _max = AlarmDbModel::_maxRetryTimeout;
    const unsigned int _version = AlarmDbModel::_userVersion;
};
} // namespace

TEST_F(AlarmDbModelTest, TuningValuesHaveTheirDefaults)
{
    EXPECT_EQ(100000u, AlarmDbModel::_initialRetryTimeout);
    EXPECT_EQ(1000000u, AlarmDbModel::_maxRetryTimeout);
    EXPECT_EQ(2u, AlarmDbModel::_userVersion);
}

TEST_F(AlarmDbModelTest, FirstRunMakesTheFileAndBothKeys)
{
    openOnce();

    EXPECT_THAT(criticals(),
        ElementsAre("db open failed", "need to create db table", "create db file on " + file.path(),
            "preference alarm db changed is created",
            "preference alarm db changed(widget) is created"));
    EXPECT_THAT(preferenceDouble().sets,
        ElementsAre(Pair(".alarmDbChanged", 0), Pair(".alarmDbChangedWidget", 0)));
    EXPECT_TRUE(file.exists());
}

TEST_F(AlarmDbModelTest, LinesAreWholeLinesOfTheLog)
{
    openOnce();

    ASSERT_FALSE(dlogDouble().lines.empty());
    const DlogDouble::Line& line = dlogDouble().lines.front();
    EXPECT_EQ(DLOG_ERROR, line.priority);
    EXPECT_EQ("alarm-common", line.tag);
    EXPECT_THAT(line.text,
        testing::MatchesRegex("AlarmDbModel\\.cpp: _initAlarmDb\\([0-9]+\\) > "
                              "\x1b\\[0;31m\\* Critical \\* db open failed\x1b\\[0;m"));
    for (const DlogDouble::Line& each : dlogDouble().lines)
        EXPECT_EQ(DLOG_ERROR, each.priority);
}

TEST_F(AlarmDbModelTest, NewFileHasTheTwoTablesAndVersion0)
{
    openOnce();

    const std::string tabs = kTabs;
    std::string columns;
    for (const char* column :
        { "id INTEGER PRIMARY KEY autoincrement", "magic INTEGER", "alarm_mgr_id INTEGER",
            "alarm_mgr_smart_id INTEGER", "enable INTEGER", "missed INTEGER", "author INTEGER",
            "name TEXT", "stime INTEGER", "atime INTEGER", "etime INTEGER", "mtime INTEGER",
            "sdate INTEGER", "edate INTEGER", "hour INTEGER", "min INTEGER", "timezone TEXT",
            "repeat_once INTEGER", "repeat_every INTEGER", "repeat_weekly INTEGER",
            "snooze_enable INTEGER", "snooze_min INTEGER", "snooze_times INTEGER", "count INTEGER",
            "smart_alarm_enable INTEGER", "smart_alarm_interval INTEGER", "smart_alarm_tone TEXT",
            "type INTEGER", "tone TEXT", "volume INTEGER", "auto_power_on INTEGER",
            "local_alarm_status INTEGER", "location TEXT", "address TEXT", "local_alarm_map TEXT",
            "briefing_content_type INTEGER", "deviceType INTEGER", "uuid TEXT",
            "mobileCreateTime INTEGER", "mobileModifiedTime INTEGER", "mobileAlertTime INTEGER",
            "isDeleted INTEGER", "isNeedToSync INTEGER" })
        columns += tabs + column + ", ";
    columns += tabs + "contextMgrId INTEGER)";
    EXPECT_EQ("CREATE TABLE alarm (" + columns,
        file.value("SELECT sql FROM sqlite_master WHERE name = 'alarm'"));
    EXPECT_EQ("CREATE TABLE tone (" + tabs + "id INTEGER PRIMARY KEY autoincrement, " + tabs
            + "path        TEXT NOT NULL, " + tabs + "alarm_id         INTEGER, " + tabs
            + "UNIQUE (alarm_id, path))",
        file.value("SELECT sql FROM sqlite_master WHERE name = 'tone'"));
    EXPECT_EQ("44", file.value("SELECT COUNT(*) FROM pragma_table_info('alarm')"));
    EXPECT_EQ("0", file.value("PRAGMA user_version"));
}

TEST_F(AlarmDbModelTest, TablesAreMadeAlarmFirst)
{
    SqliteProbe probe;

    openOnce();

    ASSERT_EQ(2u, probe.statements.size());
    EXPECT_EQ(0u,
        probe.statements[0].find(
            std::string("create table if not exists alarm (") + kTabs + "id INTEGER PRIMARY KEY"));
    EXPECT_EQ(");", probe.statements[0].substr(probe.statements[0].size() - 2));
    EXPECT_EQ(0u,
        probe.statements[1].find(
            std::string("create table if not exists tone (") + kTabs + "id INTEGER PRIMARY KEY"));
    EXPECT_EQ(");", probe.statements[1].substr(probe.statements[1].size() - 2));
}

TEST_F(AlarmDbModelTest, SecondObjectGivesANewFileItsVersion)
{
    openOnce();
    const std::string before = file.value("SELECT sql FROM sqlite_master WHERE name = 'alarm'");
    forget();
    SqliteProbe probe;

    openOnce();

    // The columns are there, so none of the statements that add one can be prepared.
    EXPECT_THAT(probe.statements, ElementsAre("PRAGMA user_version", "PRAGMA user_version = 2"));
    EXPECT_EQ("2", file.value("PRAGMA user_version"));
    EXPECT_EQ(before, file.value("SELECT sql FROM sqlite_master WHERE name = 'alarm'"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelTest, AnObjectInBetweenSeesWhatTheFirstWrote)
{
    AlarmDbData alarm;
    alarm.name = "first";
    AlarmDbModel().insertAlarmData(alarm, false, false);

    AlarmDbData read;
    EXPECT_EQ(0, AlarmDbModel().getAlarm(alarm.id, read));

    EXPECT_EQ("first", read.name);
}

TEST_F(AlarmDbModelTest, OpeningACurrentFileOnlyReadsItsVersion)
{
    makeFile();
    const std::string before = file.bytes();
    SqliteProbe probe;

    openOnce();

    EXPECT_THAT(probe.statements, ElementsAre("PRAGMA user_version"));
    EXPECT_EQ(before, file.bytes());
    EXPECT_THAT(criticals(), IsEmpty());
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(AlarmDbModelTest, OnlyTheMissingKeyIsMade)
{
    makeFile();
    preferenceDouble().values = { { ".alarmDbChanged", 1 } };

    openOnce();

    EXPECT_THAT(criticals(), ElementsAre("preference alarm db changed(widget) is created"));
    EXPECT_THAT(preferenceDouble().values,
        ElementsAre(Pair(".alarmDbChanged", 1), Pair(".alarmDbChangedWidget", 0)));

    preferenceDouble().values = { { ".alarmDbChangedWidget", 1 } };
    forget();

    openOnce();

    EXPECT_THAT(criticals(), ElementsAre("preference alarm db changed is created"));
    EXPECT_THAT(preferenceDouble().values,
        ElementsAre(Pair(".alarmDbChanged", 0), Pair(".alarmDbChangedWidget", 1)));
}

TEST_F(AlarmDbModelTest, KeysAreMadeEvenWithoutAFile)
{
    takeFileAway();

    openOnce();

    EXPECT_EQ(2u, preferenceDouble().values.size());
}

TEST_F(AlarmDbModelTest, ClosingAfterAChangeTogglesTheKeysAskedFor)
{
    struct Case {
        bool changed;
        bool widget;
    };
    for (const Case& c :
        { Case{ false, false }, Case{ true, false }, Case{ false, true }, Case{ true, true } }) {
        makeFile();
        preferenceDouble().values = { { ".alarmDbChanged", 0 }, { ".alarmDbChangedWidget", 1 } };
        {
            AlarmDbModel model;
            model.setNotiFlag(c.changed, c.widget);
            EXPECT_THAT(preferenceDouble().sets, IsEmpty());
        }
        EXPECT_EQ(c.changed ? 1 : 0, preferenceDouble().values[".alarmDbChanged"]);
        EXPECT_EQ(c.widget ? 0 : 1, preferenceDouble().values[".alarmDbChangedWidget"]);
        EXPECT_EQ(size_t(c.changed) + size_t(c.widget), preferenceDouble().sets.size());
    }
}

TEST_F(AlarmDbModelTest, WhoHearsOfAChangeFindsTheFileClosed)
{
    makeFile();
    SqliteProbe probe;
    std::vector<bool> closed;
    preferenceDouble().whenSet = [&] { closed.push_back(probe.isClosed); };

    AlarmDbModel().setNotiFlag(true, true);

    EXPECT_THAT(closed, ElementsAre(true, true));
}

TEST_F(AlarmDbModelTest, AnyOtherValueOfAKeyBecomes0)
{
    makeFile();
    preferenceDouble().values = { { ".alarmDbChanged", 7 }, { ".alarmDbChangedWidget", -1 } };

    AlarmDbModel().setNotiFlag(true, true);

    EXPECT_THAT(preferenceDouble().sets,
        ElementsAre(Pair(".alarmDbChanged", 0), Pair(".alarmDbChangedWidget", 0)));
}

TEST_F(AlarmDbModelTest, FailingPreferencesAreIgnored)
{
    makeFile();
    preferenceDouble().error = PREFERENCE_ERROR_IO_ERROR;
    {
        AlarmDbModel model;
        forget();
        model.setNotiFlag(true, true);
    }
    // Unreadable counts as 0.
    EXPECT_THAT(preferenceDouble().sets,
        ElementsAre(Pair(".alarmDbChanged", 1), Pair(".alarmDbChangedWidget", 1)));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelTest, LastWordOnTheKeysCounts)
{
    makeFile();
    {
        AlarmDbModel model;
        model.setNotiFlag(true, true);
        model.setNotiFlag(false, false);
    }
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(AlarmDbModelTest, ClosingWithoutAConnectionTogglesNothing)
{
    takeFileAway();
    {
        AlarmDbModel model;
        forget();
        model.setNotiFlag(true, true);
    }
    EXPECT_THAT(criticals(), ElementsAre("dbHandler is not initialized"));
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(AlarmDbModelTest, DestroyedObjectKeepsNothingOfSqlite)
{
    makeFile();
    const sqlite3_int64 before = sqlite3_memory_used();

    openOnce();

    EXPECT_EQ(before, sqlite3_memory_used());
}

TEST_F(AlarmDbModelTest, ObjectThatCouldNotOpenItsFileKeepsNothingOfSqlite)
{
    makeFile();
    const sqlite3_int64 before = sqlite3_memory_used();
    takeFileAway();

    const AlarmDbModel model;

    EXPECT_EQ("Alarm db init failed", criticals().back());
    EXPECT_EQ(before, sqlite3_memory_used());
}

TEST_F(AlarmDbModelTest, TwoObjectsShareTheFile)
{
    makeFile();
    AlarmDbModel first;
    AlarmDbModel second;
    AlarmDbData alarm;
    AlarmDbData read;

    first.insertAlarmData(alarm, false, false);
    second.getAlarm(alarm.id, read);

    EXPECT_EQ(alarm.id, read.id);
}

TEST_F(AlarmDbModelTest, RefusedAlarmTableLeavesNoConnection)
{
    SqliteProbe probe;
    probe.refuses = [](int action, const std::string& name) {
        return action == SQLITE_CREATE_TABLE && name == "alarm";
    };
    {
        AlarmDbModel model;
        EXPECT_EQ("Alarm db init failed", criticals().at(3));
        AlarmDbData alarm;
        EXPECT_FALSE(model.insertAlarmData(alarm, true, true));
        forget();
    }
    EXPECT_THAT(criticals(), ElementsAre("dbHandler is not initialized"));
    EXPECT_THAT(probe.statements, IsEmpty());
}

TEST_F(AlarmDbModelTest, RefusedToneTableLeavesNoConnection)
{
    SqliteProbe probe;
    probe.refuses = [](int action, const std::string& name) {
        return action == SQLITE_CREATE_TABLE && name == "tone";
    };

    AlarmDbModel model;

    EXPECT_EQ("Alarm db init failed", criticals().at(3));
    EXPECT_EQ(0, model.getNumberOfAlarm());
    EXPECT_EQ(1u, probe.statements.size());
    EXPECT_EQ("1", file.value("SELECT COUNT(*) FROM sqlite_master WHERE name = 'alarm'"));
}

TEST_F(AlarmDbModelTest, TableThatIsNotMadeInTheEndLeavesTheConnectionOpen)
{
    file.write(""); // a file that can be opened only anew, so that making the tables meets the lock
    const ExclusiveLock lock(file.path());
    AlarmDbModel model;

    EXPECT_EQ(0, model.getNumberOfAlarm());
    AlarmDbData alarm;
    EXPECT_TRUE(model.insertAlarmData(alarm, false, false));
    EXPECT_EQ(0, alarm.id);
}

TEST_F(AlarmDbModelTest, ChangeIsToldEvenWhenTheFileIsNotClosed)
{
    makeFile();
    SqliteProbe probe;
    sqlite3_stmt* open = nullptr;
    {
        AlarmDbModel model;
        ASSERT_EQ(
            SQLITE_OK, sqlite3_prepare_v2(probe.connection(), "SELECT 1", -1, &open, nullptr));
        model.setNotiFlag(true, true);
    }

    EXPECT_EQ(1, preferenceDouble().values[".alarmDbChanged"]);
    EXPECT_EQ(1, preferenceDouble().values[".alarmDbChangedWidget"]);
    sqlite3* left = sqlite3_db_handle(open);
    sqlite3_finalize(open);
    EXPECT_EQ(SQLITE_OK, sqlite3_close(left));
}

TEST_F(AlarmDbModelTest, MigrationWritesTheVersionThatIsSet)
{
    const RetryTuning restored;
    openOnce();
    AlarmDbModel::_userVersion = 4000000000u;

    openOnce();

    // The file holds 32 bits, so anything above their positive half is not kept as it is.
    EXPECT_EQ("0", file.value("PRAGMA user_version"));

    AlarmDbModel::_userVersion = 7;

    openOnce();

    EXPECT_EQ("7", file.value("PRAGMA user_version"));
}

TEST_F(BusyStoreTest, ReadWaitsLongerEachTimeAndGivesUpAfterFourWaits)
{
    sleepWithoutWaiting();
    AlarmDbData read;

    EXPECT_EQ(0, model->getAlarm(alarm.id, read));

    EXPECT_EQ(-1, read.id);
    EXPECT_THAT(clockDouble().sleeps, ElementsAre(100000u, 200000u, 400000u, 800000u));
    EXPECT_THAT(
        criticals(), ElementsAre("SQLITE_BUSY", "SQLITE_BUSY", "SQLITE_BUSY", "SQLITE_BUSY"));
}

TEST_F(BusyStoreTest, ReallyTakesOneAndAHalfSeconds)
{
    timeval before = {};
    timeval after = {};
    AlarmDbData read;

    gettimeofday(&before, nullptr);
    model->getAlarm(alarm.id, read);
    gettimeofday(&after, nullptr);

    const double seconds
        = double(after.tv_sec - before.tv_sec) + double(after.tv_usec - before.tv_usec) / 1e6;
    EXPECT_THAT(seconds, AllOf(Ge(1.5), Le(5.0)));
    EXPECT_EQ(4u, criticals().size());
    EXPECT_EQ(-1, read.id);
}

TEST_F(BusyStoreTest, ReadGoesOnWhenTheFileBecomesFree)
{
    clockDouble().sleep = [this] {
        if (clockDouble().sleeps.size() == 2)
            lock->release();
    };
    AlarmDbData read;

    EXPECT_EQ(0, model->getAlarm(alarm.id, read));

    EXPECT_EQ(alarm.id, read.id);
    EXPECT_THAT(clockDouble().sleeps, ElementsAre(100000u, 200000u));
    EXPECT_THAT(criticals(), ElementsAre("SQLITE_BUSY", "SQLITE_BUSY"));
}

TEST_F(BusyStoreTest, ReadGoesOnWhenTheFileBecomesFreeInTheLastWait)
{
    clockDouble().sleep = [this] {
        if (clockDouble().sleeps.size() == 4)
            lock->release();
    };
    AlarmDbData read;

    EXPECT_EQ(0, model->getAlarm(alarm.id, read));

    EXPECT_EQ(alarm.id, read.id);
    EXPECT_EQ(4u, criticals().size());
}

TEST_F(BusyStoreTest, ObjectStaysUsableAfterGivingUp)
{
    sleepWithoutWaiting();
    AlarmDbData read;
    model->getAlarm(alarm.id, read);
    lock->release();

    EXPECT_EQ(0, model->getAlarm(alarm.id, read));

    EXPECT_EQ(alarm.id, read.id);
}

TEST_F(BusyStoreTest, TuningIsReadAtEachUse)
{
    const RetryTuning restored;
    sleepWithoutWaiting();
    AlarmDbData read;
    AlarmDbModel::_initialRetryTimeout = 3;
    AlarmDbModel::_maxRetryTimeout = 10;
    model->getAlarm(alarm.id, read);
    EXPECT_THAT(clockDouble().sleeps, ElementsAre(3u, 6u));

    clockDouble().sleeps.clear();
    AlarmDbModel::_maxRetryTimeout = 12;
    model->getAlarm(alarm.id, read);
    EXPECT_THAT(clockDouble().sleeps, ElementsAre(3u, 6u));

    clockDouble().sleeps.clear();
    AlarmDbModel::_maxRetryTimeout = 13;
    model->getAlarm(alarm.id, read);
    EXPECT_THAT(clockDouble().sleeps, ElementsAre(3u, 6u, 12u));
}

TEST_F(BusyStoreTest, FirstWaitAtTheLimitMeansNoRetry)
{
    const RetryTuning restored;
    AlarmDbModel::_initialRetryTimeout = 10;
    AlarmDbModel::_maxRetryTimeout = 10;
    AlarmDbData read;

    EXPECT_EQ(0, model->getAlarm(alarm.id, read));

    EXPECT_THAT(clockDouble().sleeps, IsEmpty());
    EXPECT_THAT(criticals(), IsEmpty());
    EXPECT_EQ(-1, read.id);
}

TEST_F(BusyStoreTest, ListReadThroughItsQueryWaitsToo)
{
    sleepWithoutWaiting();
    std::vector<AlarmDbData> list;

    EXPECT_EQ(0, model->getAllEnabledMobileAlarmList(list));

    EXPECT_EQ(4u, clockDouble().sleeps.size());
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(BusyStoreTest, SearchWaitsToo)
{
    sleepWithoutWaiting();
    std::vector<AlarmDbData> list;

    EXPECT_EQ(0, model->getAlarmListWithMultipleParameter(list, 0, 0, 0, 0, "", 0, 0, 0));

    EXPECT_EQ(4u, clockDouble().sleeps.size());
}

TEST_F(BusyStoreTest, NothingElseWaits)
{
    AlarmDbData changed = phoneAlarm();
    changed.id = alarm.id;
    changed.hour = 23;
    std::vector<AlarmDbData> list;
    int id = 5;
    int managerId = 5;
    int contextId = 5;

    EXPECT_TRUE(model->updateAlarmData(changed, false, false, false, true));
    EXPECT_TRUE(model->removeAlarmData(changed, false, false, false, false));
    EXPECT_EQ(0, model->updateAlarmDataStatus(alarm.id, 1, false, false));
    model->updateContextMgrId(changed);
    EXPECT_TRUE(model->updateUnsyncedAlarmDataToDefault());
    EXPECT_TRUE(model->removeSyncedAlarmData());
    EXPECT_EQ(-1, model->isDuplicatedAlarmData(alarm, true));
    EXPECT_EQ(0, model->getNumberOfAlarm());
    model->getAllAlarmList(list);
    model->getAllAlarmListInTimeRange(list, 1, 2, true);
    EXPECT_FALSE(model->hasAlarmData("x", id, managerId, contextId));
    EXPECT_FALSE(model->hasAlarmMgrId(alarm.id, managerId));

    EXPECT_THAT(clockDouble().sleeps, IsEmpty());
    EXPECT_THAT(list, IsEmpty());
    EXPECT_EQ(5, id);
    EXPECT_EQ(5, managerId);
    EXPECT_EQ(5, contextId);
    lock->release();
    EXPECT_EQ("6", file.value("SELECT hour FROM alarm"));
}

TEST_F(BusyStoreTest, InsertLostToTheLockStillAnswersTrueWithTheLastId)
{
    AlarmDbData second;
    EXPECT_TRUE(model->insertAlarmData(second, false, false));

    EXPECT_EQ(alarm.id, second.id);
    EXPECT_THAT(clockDouble().sleeps, IsEmpty());
    lock->release();
    EXPECT_EQ("1", file.value("SELECT COUNT(*) FROM alarm"));
}

TEST_F(BusyStoreTest, FreshObjectThatCannotReadTheSchemaFailsAtOnce)
{
    sleepWithoutWaiting();
    AlarmDbModel fresh;
    forget();
    clockDouble().sleeps.clear();
    AlarmDbData read;
    std::vector<AlarmDbData> list;

    EXPECT_EQ(-1, fresh.getAlarm(alarm.id, read));
    fresh.getAllAlarmList(list);
    EXPECT_TRUE(fresh.insertAlarmData(read, false, false));

    EXPECT_EQ(0, read.id);
    EXPECT_THAT(list, IsEmpty());
    EXPECT_THAT(criticals(),
        ElementsAre(
            "_createSqliteStmt:: Error(5)", "stmt is nullptr", "_createSqliteStmt:: Error(5)"));
    EXPECT_THAT(clockDouble().sleeps, IsEmpty());
}

TEST_F(BusyStoreTest, OpeningReadsTheVersionWithWaitsAndThenTriesToMigrate)
{
    sleepWithoutWaiting();
    SqliteProbe probe;

    openOnce();

    // An unreadable version counts as 0. The columns cannot be added as the schema cannot be read,
    // and the version can not be written.
    EXPECT_THAT(clockDouble().sleeps,
        ElementsAre(100000u, 200000u, 400000u, 800000u, 100000u, 200000u, 400000u, 800000u));
    EXPECT_EQ("PRAGMA user_version", probe.statements.front());
    EXPECT_EQ("PRAGMA user_version = 2", probe.statements.back());
    lock->release();
    EXPECT_EQ("2", file.value("PRAGMA user_version"));
    EXPECT_EQ("44", file.value("SELECT COUNT(*) FROM pragma_table_info('alarm')"));
}
