#include "StoreFixture.h"

#include <filesystem>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
using Row = std::vector<std::string>;

class AlarmDbModelFilesTest : public StoreFixture {
protected:
    AlarmDbModelFilesTest()
    {
        preferenceDouble().values = { { ".alarmDbChanged", 0 }, { ".alarmDbChangedWidget", 0 } };
    }

    void useFileOfVersion(int version)
    {
        file.copyFrom(std::string(TEST_DATA) + "/alarm-v" + std::to_string(version) + ".db");
    }

    std::string columnNames()
    {
        return file.value(
            "SELECT group_concat(name) FROM pragma_table_info('alarm') WHERE cid > 34");
    }

    // Every operation once: none may end the process.
    static void useEverything(AlarmDbModel& model)
    {
        AlarmDbData alarm = phoneAlarm();
        std::vector<AlarmDbData> list;
        int id = 0;
        model.insertAlarmData(alarm, true, true);
        model.updateAlarmData(alarm, true, true, true, false);
        model.updateAlarmData(alarm, true, true, false, false);
        model.removeAlarmData(alarm, true, true, true, true);
        model.updateContextMgrId(alarm);
        model.updateAlarmDataStatus(1, 1, true, true);
        model.isDuplicatedAlarmData(alarm, false);
        model.checkIsDuplicatedAlarmData(alarm);
        model.getNumberOfAlarm();
        model.getAlarm(1, alarm);
        model.getMobileAlarm(1, alarm);
        model.getUpcommingContextAlarm(alarm);
        model.hasAlarmData("x", id, id, id);
        model.hasAlarmMgrId(1, id);
        model.getAllUnsyncedAlarmList(list);
        model.getAllAlarmList(list);
        model.getAlarmListWithIds(list, "1,2");
        model.getAllEnabledMobileAlarmList(list);
        model.getAllAlarmListInTimeRange(list, 1, 2, false);
        model.getAlarmListWithMultipleParameter(list, 1, 2, 1, 1, "x", 1, 1, 0);
        model.updateUnsyncedAlarmDataToDefault();
        model.removeSyncedAlarmData();
    }
};
} // namespace

TEST_F(AlarmDbModelFilesTest, FirstSchemaGainsAllLaterColumns)
{
    useFileOfVersion(0);
    ASSERT_EQ("briefing_content_type", columnNames());
    SqliteProbe probe;

    openOnce();

    // SQLite runs statements of its own within a change of a table, which are not listed here.
    std::vector<std::string> ours;
    for (const std::string& statement : probe.statements) {
        if (statement.find("PRAGMA user") == 0 || statement.find("ALTER") == 0)
            ours.push_back(statement);
    }
    EXPECT_THAT(ours,
        ElementsAre("PRAGMA user_version",
            "ALTER TABLE alarm ADD COLUMN deviceType INTEGER DEFAULT 2",
            "ALTER TABLE alarm ADD COLUMN uuid TEXT",
            "ALTER TABLE alarm ADD COLUMN mobileCreateTime INTEGER",
            "ALTER TABLE alarm ADD COLUMN mobileModifiedTime INTEGER",
            "ALTER TABLE alarm ADD COLUMN mobileAlertTime INTEGER",
            "ALTER TABLE alarm ADD COLUMN isDeleted INTEGER DEFAULT 0",
            "ALTER TABLE alarm ADD COLUMN isNeedToSync INTEGER DEFAULT 0",
            "PRAGMA user_version = 2", "ALTER TABLE alarm ADD COLUMN contextMgrId INTEGER"));
    EXPECT_EQ("briefing_content_type,deviceType,uuid,mobileCreateTime,mobileModifiedTime,"
              "mobileAlertTime,isDeleted,isNeedToSync,contextMgrId",
        columnNames());
    EXPECT_EQ("2", file.value("PRAGMA user_version"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelFilesTest, AlarmsOfTheFirstSchemaAreTheWatchsOwn)
{
    useFileOfVersion(0);
    AlarmDbModel model;
    std::vector<AlarmDbData> list;

    model.getAllAlarmList(list);

    ASSERT_THAT(idsOf(list), ElementsAre(1, 2));
    EXPECT_EQ("Work", list[0].name);
    EXPECT_EQ(7, list[0].hour);
    EXPECT_EQ(30, list[0].min);
    EXPECT_EQ(62, list[0].repeatWeekly);
    EXPECT_EQ(0, list[0].repeat_once);
    EXPECT_EQ("Caf\xc3\xa9 \"au lait\"", list[1].name);
    EXPECT_EQ(2, list[0].deviceType);
    EXPECT_EQ("", list[0].uuid);
    EXPECT_EQ(0u, list[0].mobileCreateTime);
    EXPECT_EQ(0u, list[0].mobileModifiedTime);
    EXPECT_EQ(0u, list[0].mobileAlertTime);
    EXPECT_FALSE(list[0].isDeleted);
    EXPECT_FALSE(list[0].isNeedToSync);
    EXPECT_EQ(0, list[0].contextMgrId);
    EXPECT_THAT(file.rows("SELECT deviceType, uuid, mobileCreateTime, mobileModifiedTime, "
                          "mobileAlertTime, isDeleted, isNeedToSync, contextMgrId FROM alarm"),
        testing::Each(Row({ "2", "NULL", "NULL", "NULL", "NULL", "0", "0", "NULL" })));
}

TEST_F(AlarmDbModelFilesTest, SecondSchemaGainsTheCardsColumnAfterItsVersion)
{
    useFileOfVersion(1);
    SqliteProbe probe;

    openOnce();

    EXPECT_EQ("PRAGMA user_version", probe.statements.at(0));
    EXPECT_EQ("PRAGMA user_version = 2", probe.statements.at(1));
    EXPECT_EQ("ALTER TABLE alarm ADD COLUMN contextMgrId INTEGER", probe.statements.at(2));
    EXPECT_EQ("2", file.value("PRAGMA user_version"));
    EXPECT_EQ("44", file.value("SELECT COUNT(*) FROM pragma_table_info('alarm')"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelFilesTest, AlarmsOfTheSecondSchemaKeepTheirSyncState)
{
    useFileOfVersion(1);
    AlarmDbModel model;
    std::vector<AlarmDbData> list;

    model.getAllMobileAlarmList(list);

    ASSERT_EQ(1u, list.size());
    EXPECT_EQ(3, list[0].id);
    EXPECT_EQ("271", list[0].uuid);
    EXPECT_EQ(1600000000001u, list[0].mobileCreateTime);
    EXPECT_EQ(1600000000002u, list[0].mobileModifiedTime);
    EXPECT_EQ(1600000000003u, list[0].mobileAlertTime);
    EXPECT_TRUE(list[0].isNeedToSync);
    EXPECT_FALSE(list[0].isDeleted);
    EXPECT_EQ(0, list[0].contextMgrId);
    EXPECT_EQ(2, model.getNumberOfWatchAlarm());
}

TEST_F(AlarmDbModelFilesTest, CurrentSchemaIsLeftUnchanged)
{
    useFileOfVersion(2);
    const std::string before = file.bytes();
    AlarmDbData alarm;
    {
        AlarmDbModel model;
        model.getContextAlarm(55, alarm);
    }
    EXPECT_EQ(3, alarm.id);
    EXPECT_EQ(before, file.bytes());
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelFilesTest, LaterSchemaIsReportedAndUsedAsItIs)
{
    useFileOfVersion(3);
    const std::string before = file.bytes();
    std::vector<AlarmDbData> list;
    {
        AlarmDbModel model;
        model.getAllAlarmList(list);
    }
    EXPECT_EQ(2u, list.size());
    EXPECT_THAT(criticals(), ElementsAre("version[3] is wrong."));
    EXPECT_EQ(before, file.bytes());
}

TEST_F(AlarmDbModelFilesTest, NegativeVersionIsReportedAndUsedAsItIs)
{
    useFileOfVersion(2);
    file.run("PRAGMA user_version = -1");

    AlarmDbModel model;

    EXPECT_THAT(criticals(), ElementsAre("version[-1] is wrong."));
    EXPECT_EQ(3, model.getNumberOfAlarm());
}

TEST_F(AlarmDbModelFilesTest, MigrationGoesOnWhenOneStatementFails)
{
    useFileOfVersion(0);
    file.run("ALTER TABLE alarm ADD COLUMN deviceType INTEGER DEFAULT 2");

    openOnce();

    EXPECT_EQ("44", file.value("SELECT COUNT(*) FROM pragma_table_info('alarm')"));
    EXPECT_EQ("2", file.value("PRAGMA user_version"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelFilesTest, EmptyFileIsTakenForOneOfTheFirstSchema)
{
    file.write("");
    {
        AlarmDbModel model;
        EXPECT_THAT(criticals(), IsEmpty());
        useEverything(model);
        AlarmDbData alarm;
        EXPECT_TRUE(AlarmDbModel().insertAlarmData(alarm, false, false));
        EXPECT_EQ(0, alarm.id);
        EXPECT_EQ(-1, AlarmDbModel().getAlarm(1, alarm));
    }
    // The tables are made only for a file that is not there.
    EXPECT_EQ("2", file.value("PRAGMA user_version"));
    EXPECT_EQ("0", file.value("SELECT COUNT(*) FROM sqlite_master"));
}

TEST_F(AlarmDbModelFilesTest, FileOfSomethingElseIsKeptAsItIs)
{
    std::string garbage;
    for (int i = 0; i < 20000; ++i)
        garbage += static_cast<char>((i * 7919) >> 3);
    file.write(garbage);
    {
        AlarmDbModel model;
        AlarmDbData alarm;
        EXPECT_TRUE(model.insertAlarmData(alarm, false, false));
        EXPECT_EQ(0, alarm.id);
        EXPECT_EQ(-1, model.getAlarm(1, alarm));
        EXPECT_EQ(0, model.getNumberOfAlarm());
        EXPECT_THAT(criticals(),
            ElementsAre("_createSqliteStmt:: Error(26)", "_createSqliteStmt:: Error(26)",
                "stmt is nullptr"));
        useEverything(model);
    }
    EXPECT_EQ(garbage, file.bytes());
}

TEST_F(AlarmDbModelFilesTest, TruncatedFileIsKeptAsItIs)
{
    makeFile();
    {
        AlarmDbModel model;
        for (int i = 0; i < 200; ++i) {
            AlarmDbData alarm;
            alarm.name = std::string(500, 'x');
            model.insertAlarmData(alarm, false, false);
        }
    }
    const std::string whole = file.bytes();
    for (const size_t size : { size_t(10), size_t(100), size_t(1000), size_t(5000),
             whole.size() / 2, whole.size() - 4096 }) {
        const std::string part = whole.substr(0, size);
        file.write(part);
        std::vector<AlarmDbData> list;
        {
            AlarmDbModel model;
            model.getAllAlarmList(list);
            useEverything(model);
        }
        EXPECT_THAT(list, IsEmpty()) << size;
        EXPECT_TRUE(file.bytes() == part) << size;
    }
}

TEST_F(AlarmDbModelFilesTest, DirectoryInTheFilesPlaceLeavesNoConnection)
{
    std::filesystem::create_directory(file.path());
    {
        AlarmDbModel model;
        EXPECT_THAT(criticals(),
            ElementsAre("db open failed", "need to create db table",
                "create db file on " + file.path(), "Alarm db init failed"));
        useEverything(model);
    }
    EXPECT_TRUE(std::filesystem::is_directory(file.path()));
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(AlarmDbModelFilesTest, DataPathThatDoesNotExistLeavesNoConnection)
{
    appCommonDouble().dataPath = file.folder() + "missing/";

    AlarmDbModel model;

    EXPECT_EQ("Alarm db init failed", criticals().back());
    EXPECT_FALSE(std::filesystem::exists(file.folder() + "missing"));
}

TEST_F(AlarmDbModelFilesTest, DataPathBelowAFileLeavesNoConnection)
{
    file.write("x");
    appCommonDouble().dataPath = file.path() + "/";

    AlarmDbModel model;

    EXPECT_EQ("Alarm db init failed", criticals().back());
    EXPECT_EQ("x", file.bytes());
}

// Nobody, root included, can make a file in /proc.
TEST_F(AlarmDbModelFilesTest, DataPathThatCannotBeWrittenLeavesNoConnection)
{
    appCommonDouble().dataPath = "/proc/self/";

    AlarmDbModel model;

    EXPECT_THAT(criticals(),
        ElementsAre("db open failed", "need to create db table",
            "create db file on /proc/self/.alarm.db", "Alarm db init failed"));
}

TEST_F(AlarmDbModelFilesTest, WithoutADataPathNoFileIsMade)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(file.folder());
    appCommonDouble().dataPath.reset();
    {
        // SQLite takes an empty name for a nameless file of its own, which has no tables.
        AlarmDbModel model;
        EXPECT_THAT(criticals(), IsEmpty());
        AlarmDbData alarm;
        EXPECT_EQ(-1, model.getAlarm(1, alarm));
        useEverything(model);
    }
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_empty(file.folder()));
}

TEST_F(AlarmDbModelFilesTest, LongPathIsCutAtItsBuffer)
{
    appCommonDouble().dataPath = "/" + std::string(5000, 'd') + "/";

    AlarmDbModel model;

    EXPECT_THAT(criticals(),
        ElementsAre("db open failed", "need to create db table",
            "create db file on /" + std::string(4094, 'd'), "Alarm db init failed"));
}

TEST_F(AlarmDbModelFilesTest, PathIsPutTogetherAsItIs)
{
    appCommonDouble().dataPath = file.folder() + "prefix";

    openOnce();

    EXPECT_TRUE(std::filesystem::exists(file.folder() + "prefix.alarm.db"));
}

TEST_F(AlarmDbModelFilesTest, PercentSignsOfAPathAreText)
{
    const std::string folder = file.folder() + "100%s%n/";
    std::filesystem::create_directory(folder);
    appCommonDouble().dataPath = folder;

    openOnce();

    EXPECT_TRUE(std::filesystem::exists(folder + ".alarm.db"));
    EXPECT_EQ("create db file on " + folder + ".alarm.db", criticals().at(2));
}
