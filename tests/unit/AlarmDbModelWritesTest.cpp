#include "StoreFixture.h"

#include <functional>
#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {
int updateRequests = 0;
}

// The linker sends the store's calls of AlarmSyncUtil::requestWatchUpdate() here.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" void __wrap__ZN13AlarmSyncUtil18requestWatchUpdateEv() { ++updateRequests; }

namespace {
using Row = std::vector<std::string>;

const char* const kNoConnection = "db handler is not initialized";

class AlarmDbModelWritesTest : public StoreFixture {
protected:
    AlarmDbModelWritesTest()
    {
        makeFile();
        model = std::make_unique<AlarmDbModel>();
        clockDouble().now = timeval{ 1700000000, 456789 };
        updateRequests = 0;
    }

    int insert(AlarmDbData alarm)
    {
        model->insertAlarmData(alarm, false, false);
        return alarm.id;
    }

    Row columns(const std::string& names, int id)
    {
        return file.rows("SELECT " + names + " FROM alarm WHERE id = " + std::to_string(id)).at(0);
    }

    // The statements of an action.
    std::vector<std::string> statementsOf(const std::function<void(AlarmDbModel&)>& action)
    {
        SqliteProbe probe;
        AlarmDbModel watched;
        probe.statements.clear();
        action(watched);
        return probe.statements;
    }

    // Closes the object, so that it tells of its changes.
    void close()
    {
        preferenceDouble().sets.clear();
        model.reset();
    }

    std::unique_ptr<AlarmDbModel> model;
};

// One whose statements can all be refused.
class RefusedWritesTest : public StoreFixture {
protected:
    RefusedWritesTest()
    {
        makeFile();
        probe = std::make_unique<SqliteProbe>();
        model = std::make_unique<AlarmDbModel>();
        alarm.name = "it's";
        model->insertAlarmData(alarm, false, false);
        probe->refuseAll();
        updateRequests = 0;
        forget();
    }

    std::unique_ptr<SqliteProbe> probe;
    std::unique_ptr<AlarmDbModel> model;
    AlarmDbData alarm = phoneAlarm();
};

class WritesWithoutConnectionTest : public StoreFixture {
protected:
    WritesWithoutConnectionTest()
    {
        takeFileAway();
        model = std::make_unique<AlarmDbModel>();
        updateRequests = 0;
        forget();
    }
    ~WritesWithoutConnectionTest() override
    {
        forget();
        model.reset();
        EXPECT_THAT(preferenceDouble().sets, IsEmpty());
    }

    std::unique_ptr<AlarmDbModel> model;
    AlarmDbData alarm = phoneAlarm();
};
} // namespace

TEST_F(AlarmDbModelWritesTest, DefaultAlarmIsStoredAtSixOnTheWatchWithAPositiveId)
{
    AlarmDbData alarm;

    EXPECT_TRUE(model->insertAlarmData(alarm, false, false));

    EXPECT_GT(alarm.id, 0);
    EXPECT_EQ(Row({ "6", "0", "2" }), columns("hour, min, deviceType", alarm.id));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelWritesTest, InsertWritesEachFieldToItsColumn)
{
    AlarmDbData alarm = distinctAlarm();

    EXPECT_TRUE(model->insertAlarmData(alarm, false, false));

    EXPECT_EQ(1, alarm.id);
    EXPECT_EQ(Row({ "1", "1001", "1003", "NULL", "1004", "NULL", "NULL", "a name", "1005", "1006",
                  "1007", "1008", "1009", "1010", "1011", "1012", "a zone", "1015", "NULL", "1016",
                  "1017", "NULL", "NULL", "1020", "1025", "1026", "NULL", "1021", "a tone", "1023",
                  "NULL", "NULL", "NULL", "NULL", "NULL", "NULL", "1027", "a uuid", "1600000001029",
                  "1600000001030", "1600000001031", "1", "1", "1034" }),
        columns("*", 1));
}

TEST_F(AlarmDbModelWritesTest, InsertIsThisStatement)
{
    const auto statements = statementsOf([](AlarmDbModel& watched) {
        AlarmDbData alarm = distinctAlarm();
        alarm.name = "it's";
        watched.insertAlarmData(alarm, false, false);
    });

    EXPECT_THAT(statements,
        ElementsAre("INSERT INTO alarm (magic, alarm_mgr_id, enable, name, stime, atime, etime, "
                    "mtime, sdate, edate, hour, min, timezone, repeat_once, repeat_weekly, "
                    "snooze_enable, count, smart_alarm_enable, type, tone, volume, "
                    "smart_alarm_interval, deviceType, uuid, mobileCreateTime, "
                    "mobileModifiedTime, mobileAlertTime, isDeleted, isNeedToSync, "
                    "contextMgrId)VALUES ( 1001, 1003, 1004, 'it''s', 1005, 1006, 1007, 1008, "
                    "1009, 1010, 1011, 1012, 'a zone', 1015, 1016, 1017, 1020, 1025, 1021, "
                    "'a tone', 1023, 1026, 1027, 'a uuid', 1600000001029, 1600000001030, "
                    "1600000001031, 1, 1, 1034)"));
}

TEST_F(AlarmDbModelWritesTest, InsertGivesEachAlarmANewRow)
{
    AlarmDbData alarm;
    alarm.id = 77;
    model->insertAlarmData(alarm, false, false);
    EXPECT_EQ(1, alarm.id);
    model->insertAlarmData(alarm, false, false);
    EXPECT_EQ(2, alarm.id);
    model->removeAlarmData(alarm, false, false, false, false);
    model->insertAlarmData(alarm, false, false);

    // An id is not used again.
    EXPECT_EQ(3, alarm.id);
}

TEST_F(AlarmDbModelWritesTest, InsertLeavesTheRestOfTheRecordAlone)
{
    AlarmDbData alarm = phoneAlarm();

    model->insertAlarmData(alarm, false, false);

    EXPECT_FALSE(alarm.isNeedToSync);
    EXPECT_EQ(0u, alarm.mobileAlertTime);
    EXPECT_EQ(Row({ "0", "0", "0", "0" }),
        columns("isNeedToSync, mobileCreateTime, mobileModifiedTime, mobileAlertTime", alarm.id));
}

TEST_F(AlarmDbModelWritesTest, InsertTellsOfTheChangeAsAsked)
{
    AlarmDbData alarm;
    model->setNotiFlag(true, false);

    model->insertAlarmData(alarm, false, true);
    close();

    EXPECT_THAT(preferenceDouble().sets, ElementsAre(Pair(".alarmDbChangedWidget", 1)));
}

TEST_F(AlarmDbModelWritesTest, TheLastWriteDecidesWhatIsTold)
{
    AlarmDbData alarm;
    model->insertAlarmData(alarm, true, true);
    model->updateAlarmData(alarm, true, true, false, false);
    model->removeAlarmData(alarm, false, false, false, false);
    close();

    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(AlarmDbModelWritesTest, BothKeysFlipAfterAWriteThatAsksForBoth)
{
    AlarmDbData alarm;
    model->insertAlarmData(alarm, true, true);
    close();
    EXPECT_THAT(preferenceDouble().sets,
        ElementsAre(Pair(".alarmDbChanged", 1), Pair(".alarmDbChangedWidget", 1)));

    model = std::make_unique<AlarmDbModel>();
    model->removeAlarmData(alarm, true, true, false, false);
    close();
    EXPECT_THAT(preferenceDouble().sets,
        ElementsAre(Pair(".alarmDbChanged", 0), Pair(".alarmDbChangedWidget", 0)));
}

TEST_F(AlarmDbModelWritesTest, LargestAndSmallestNumbersAreStored)
{
    AlarmDbData alarm;
    alarm.magic = INT32_MIN;
    alarm.stime = INT32_MAX;
    alarm.mobileCreateTime = INT64_MAX;

    model->insertAlarmData(alarm, false, false);

    AlarmDbData read;
    model->getAlarm(alarm.id, read);
    EXPECT_EQ(INT32_MIN, read.magic);
    EXPECT_EQ(INT32_MAX, read.stime);
    EXPECT_EQ(static_cast<unsigned long long>(INT64_MAX), read.mobileCreateTime);
}

struct TextCase {
    const char* name;
    std::string text;
};
class TextTest : public AlarmDbModelWritesTest, public testing::WithParamInterface<TextCase> {};

TEST_P(TextTest, IsStoredAndReadBackExactly)
{
    AlarmDbData alarm;
    alarm.name = alarm.timezone = alarm.tone = alarm.uuid = GetParam().text;
    model->insertAlarmData(alarm, false, false);
    AlarmDbData read;
    model->getAlarm(alarm.id, read);
    EXPECT_EQ(GetParam().text, read.name);
    EXPECT_EQ(GetParam().text, read.timezone);
    EXPECT_EQ(GetParam().text, read.tone);
    EXPECT_EQ(GetParam().text, read.uuid);

    alarm.name = "another";
    alarm.timezone = alarm.tone = "another";
    model->updateAlarmData(alarm, false, false, false, false);
    alarm.name = alarm.timezone = alarm.tone = GetParam().text;
    model->updateAlarmData(alarm, false, false, false, false);
    read = AlarmDbData();
    model->getAlarm(alarm.id, read);
    EXPECT_EQ(GetParam().text, read.name);
    EXPECT_EQ(GetParam().text, read.timezone);
    EXPECT_EQ(GetParam().text, read.tone);
    EXPECT_EQ(alarm.id, model->isDuplicatedAlarmData(alarm, true));
    int id = 0;
    int ignored = 0;
    EXPECT_TRUE(model->hasAlarmData(GetParam().text, id, ignored, ignored));
    EXPECT_EQ(alarm.id, id);
}

INSTANTIATE_TEST_SUITE_P(Table, TextTest,
    testing::Values(TextCase{ "Empty", "" }, TextCase{ "SingleQuote", "it's 'quoted'" },
        TextCase{ "DoubleQuote", "say \"hello\"" }, TextCase{ "Percent", "100% %s %d %q %n %%" },
        TextCase{ "LineFeeds", "one\ntwo\r\nthree\t" },
        TextCase{
            "Emoji", "\xF0\x9F\x98\xB4 \xE2\x8F\xB0 \xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x9A\x80" },
        TextCase{ "Backslash", "a\\b\\'c" }, TextCase{ "Statement", "'; DROP TABLE alarm; --" },
        TextCase{ "Invalid", "\xff\xfe\x80" }, TextCase{ "Long", std::string(10000, 'w') },
        TextCase{ "LongQuotes", std::string(10000, '\'') }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmDbModelWritesTest, UpdateWritesTheRecordButNotItsOrigin)
{
    const int id = insert(AlarmDbData());
    AlarmDbData alarm = distinctAlarm();
    alarm.id = id;
    alarm.isNeedToSync = false;

    EXPECT_TRUE(model->updateAlarmData(alarm, false, false, false, false));

    EXPECT_EQ(
        Row({ "1", "0", "1003", "NULL", "1004", "NULL", "NULL", "a name", "1005", "1006", "1007",
            "1008", "1009", "1010", "1011", "1012", "a zone", "1015", "NULL", "1016", "1017",
            "NULL", "NULL", "1020", "1025", "1026", "NULL", "1021", "a tone", "1023", "NULL",
            "NULL", "NULL", "NULL", "NULL", "NULL", "2", "", "0", "0", "0", "1", "0", "1034" }),
        columns("*", id));
}

TEST_F(AlarmDbModelWritesTest, UpdateIsThisStatement)
{
    const auto statements = statementsOf([](AlarmDbModel& watched) {
        AlarmDbData alarm = distinctAlarm();
        alarm.name = "it's";
        alarm.isNeedToSync = false;
        watched.updateAlarmData(alarm, false, false, false, false);
    });

    EXPECT_THAT(statements,
        ElementsAre("UPDATE alarm SET alarm_mgr_id = 1003, enable = 1004, name = 'it''s', stime = "
                    "1005, atime = 1006, etime = 1007, mtime = 1008, sdate = 1009, edate = 1010, "
                    "hour = 1011, min = 1012, timezone = 'a zone', repeat_once = 1015, "
                    "repeat_weekly = 1016, snooze_enable = 1017, count = 1020, "
                    "smart_alarm_enable = 1025, type = 1021, tone = 'a tone', volume = 1023, "
                    "smart_alarm_interval = 1026, isDeleted = 1, isNeedToSync = 0, contextMgrId = "
                    "1034 WHERE id = 1002"));
}

TEST_F(AlarmDbModelWritesTest, UpdateTouchesNoOtherRow)
{
    const int first = insert(AlarmDbData());
    const int second = insert(AlarmDbData());
    AlarmDbData alarm;
    alarm.id = second;
    alarm.hour = 20;

    model->updateAlarmData(alarm, false, false, false, false);

    EXPECT_EQ(Row({ "6" }), columns("hour", first));
    EXPECT_EQ(Row({ "20" }), columns("hour", second));
}

TEST_F(AlarmDbModelWritesTest, UpdateOfAPhoneAlarmForThePhoneMarksItUnsynced)
{
    AlarmDbData alarm = phoneAlarm();
    alarm.stime = 1600000000;
    alarm.mobileCreateTime = 11;
    alarm.mobileModifiedTime = 12;
    alarm.mobileAlertTime = 13;
    model->insertAlarmData(alarm, false, false);

    EXPECT_TRUE(model->updateAlarmData(alarm, false, false, true, false));

    EXPECT_TRUE(alarm.isNeedToSync);
    EXPECT_EQ(1600000000000u, alarm.mobileAlertTime);
    EXPECT_EQ(12u, alarm.mobileModifiedTime);
    EXPECT_EQ(Row({ "1", "11", "1700000000456", "1600000000000" }),
        columns("isNeedToSync, mobileCreateTime, mobileModifiedTime, mobileAlertTime", alarm.id));
    EXPECT_THAT(criticals(),
        ElementsAre("sql = UPDATE alarm SET mobileAlertTime = 1600000000000, mobileModifiedTime = "
                    "1700000000456 WHERE id = 1"));
}

TEST_F(AlarmDbModelWritesTest, UpdateOfAnUnsyncedRecordRequestsAnUpdateOfThePhone)
{
    AlarmDbData phone = phoneAlarm();
    model->insertAlarmData(phone, false, false);
    model->updateAlarmData(phone, false, false, false, false);
    model->updateAlarmData(phone, false, false, false, true);
    EXPECT_EQ(0, updateRequests);
    model->updateAlarmData(phone, false, false, true, false);
    EXPECT_EQ(1, updateRequests);

    AlarmDbData watch;
    model->updateAlarmData(watch, false, false, true, false);
    EXPECT_EQ(1, updateRequests);
    watch.isNeedToSync = true;
    model->updateAlarmData(watch, false, false, false, false);
    EXPECT_EQ(2, updateRequests);
}

TEST_F(AlarmDbModelWritesTest, RemovingAPhoneAlarmRequestsAnUpdateOfThePhoneWhenAsked)
{
    AlarmDbData phone = phoneAlarm();
    AlarmDbData watch;
    model->removeAlarmData(phone, false, false, true, false);
    model->removeAlarmData(watch, false, false, true, true);
    EXPECT_EQ(0, updateRequests);

    model->removeAlarmData(phone, false, false, true, true);
    EXPECT_EQ(1, updateRequests);
    model->removeAlarmData(phone, false, false, false, true);
    EXPECT_EQ(2, updateRequests);
}

TEST_F(AlarmDbModelWritesTest, NothingElseRequestsAnUpdateOfThePhone)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, true, true);
    model->updateContextMgrId(alarm);
    model->updateAlarmDataStatus(alarm.id, 1, true, true);
    model->updateUnsyncedAlarmDataToDefault();
    model->removeSyncedAlarmData();

    EXPECT_EQ(0, updateRequests);
}

TEST_F(AlarmDbModelWritesTest, AlertTimeInMillisecondsIsASignedProduct)
{
    AlarmDbData alarm = phoneAlarm();
    alarm.stime = INT32_MAX;
    model->insertAlarmData(alarm, false, false);
    model->updateAlarmData(alarm, false, false, true, true);
    EXPECT_EQ(2147483647000u, alarm.mobileAlertTime);

    alarm.stime = -1;
    model->updateAlarmData(alarm, false, false, true, true);
    EXPECT_EQ(static_cast<unsigned long long>(-1000LL), alarm.mobileAlertTime);
}

TEST_F(AlarmDbModelWritesTest, UpdateOfAPhoneAlarmFromThePhoneWritesItsTimes)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, false, false);
    alarm.mobileCreateTime = 21;
    alarm.mobileModifiedTime = 22;
    alarm.mobileAlertTime = 23;

    EXPECT_TRUE(model->updateAlarmData(alarm, false, false, false, false));

    EXPECT_FALSE(alarm.isNeedToSync);
    EXPECT_EQ(Row({ "0", "21", "22", "23" }),
        columns("isNeedToSync, mobileCreateTime, mobileModifiedTime, mobileAlertTime", alarm.id));
    EXPECT_THAT(criticals(),
        ElementsAre("sql = UPDATE alarm SET mobileCreateTime = 21, mobileModifiedTime = 22, "
                    "mobileAlertTime = 23 WHERE id = 1"));
}

TEST_F(AlarmDbModelWritesTest, UpdateThatKeepsMobileTimesWritesNone)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, false, false);
    alarm.mobileCreateTime = 21;
    alarm.mobileModifiedTime = 22;
    alarm.mobileAlertTime = 23;

    EXPECT_TRUE(model->updateAlarmData(alarm, false, false, false, true));

    EXPECT_EQ(Row({ "0", "0", "0", "0" }),
        columns("isNeedToSync, mobileCreateTime, mobileModifiedTime, mobileAlertTime", alarm.id));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelWritesTest, UpdateOfAWatchAlarmIsNeverMarkedUnsynced)
{
    AlarmDbData alarm;
    alarm.stime = 1600000000;
    model->insertAlarmData(alarm, false, false);

    model->updateAlarmData(alarm, false, false, true, false);

    EXPECT_FALSE(alarm.isNeedToSync);
    EXPECT_EQ(0u, alarm.mobileAlertTime);
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelWritesTest, UnsyncedRecordGetsTheTimeOfTheUpdateWhateverTheFlags)
{
    AlarmDbData alarm;
    model->insertAlarmData(alarm, false, false);
    alarm.isNeedToSync = true;
    alarm.mobileAlertTime = 31;

    model->updateAlarmData(alarm, false, false, false, true);

    EXPECT_EQ(Row({ "1", "31", "1700000000456" }),
        columns("isNeedToSync, mobileAlertTime, mobileModifiedTime", alarm.id));
}

TEST_F(AlarmDbModelWritesTest, UnsyncedPhoneRecordGetsItsTimesAndThenThatOfTheUpdate)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, false, false);
    alarm.isNeedToSync = true;
    alarm.mobileCreateTime = 21;
    alarm.mobileModifiedTime = 22;
    alarm.mobileAlertTime = 23;

    model->updateAlarmData(alarm, false, false, false, false);

    EXPECT_THAT(criticals(),
        ElementsAre("sql = UPDATE alarm SET mobileCreateTime = 21, mobileModifiedTime = 22, "
                    "mobileAlertTime = 23 WHERE id = 1",
            "sql = UPDATE alarm SET mobileAlertTime = 23, mobileModifiedTime = 1700000000456 WHERE "
            "id = 1"));
    EXPECT_EQ(Row({ "21", "1700000000456", "23" }),
        columns("mobileCreateTime, mobileModifiedTime, mobileAlertTime", alarm.id));
}

TEST_F(AlarmDbModelWritesTest, UpdateTellsOfTheChangeAsAsked)
{
    AlarmDbData alarm;
    model->updateAlarmData(alarm, true, false, false, false);
    close();

    EXPECT_THAT(preferenceDouble().sets, ElementsAre(Pair(".alarmDbChanged", 1)));
}

TEST_F(AlarmDbModelWritesTest, UpdateOfAnUnknownRowAnswersTrue)
{
    AlarmDbData alarm;
    alarm.id = 999;

    EXPECT_TRUE(model->updateAlarmData(alarm, false, false, false, false));

    EXPECT_EQ("0", file.value("SELECT COUNT(*) FROM alarm"));
}

TEST_F(AlarmDbModelWritesTest, RemovingAPhoneAlarmForThePhoneKeepsItsRow)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, false, false);

    EXPECT_TRUE(model->removeAlarmData(alarm, false, false, true, true));

    EXPECT_EQ(Row({ "1", "1" }), columns("isDeleted, isNeedToSync", alarm.id));
    EXPECT_FALSE(alarm.isDeleted);
    EXPECT_FALSE(alarm.isNeedToSync);
    EXPECT_THAT(criticals(),
        ElementsAre("sql = UPDATE alarm SET isDeleted = 1, isNeedToSync = 1 WHERE id = 1"));
}

TEST_F(AlarmDbModelWritesTest, RemovingAPhoneAlarmOtherwiseDeletesItsRow)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, false, false);

    EXPECT_TRUE(model->removeAlarmData(alarm, false, false, false, true));

    EXPECT_EQ("0", file.value("SELECT COUNT(*) FROM alarm"));
    EXPECT_EQ(1, alarm.id);
    EXPECT_THAT(criticals(), ElementsAre("sql = DELETE FROM alarm WHERE id = 1"));
}

TEST_F(AlarmDbModelWritesTest, RemovingAWatchAlarmAlwaysDeletesItsRow)
{
    AlarmDbData alarm;
    model->insertAlarmData(alarm, false, false);
    const int kept = insert(AlarmDbData());

    EXPECT_TRUE(model->removeAlarmData(alarm, false, false, true, true));

    EXPECT_EQ(std::to_string(kept), file.value("SELECT group_concat(id) FROM alarm"));
    EXPECT_THAT(criticals(), ElementsAre("sql = DELETE FROM alarm WHERE id = 1"));
}

TEST_F(AlarmDbModelWritesTest, RemovingAnAlarmOfNeitherForThePhoneKeepsItsRow)
{
    AlarmDbData alarm;
    alarm.deviceType = 0;
    model->insertAlarmData(alarm, false, false);

    model->removeAlarmData(alarm, false, false, true, false);

    EXPECT_EQ(Row({ "1", "1" }), columns("isDeleted, isNeedToSync", alarm.id));
}

TEST_F(AlarmDbModelWritesTest, RemovingAnUnknownRowAnswersTrue)
{
    AlarmDbData alarm;

    EXPECT_TRUE(model->removeAlarmData(alarm, false, true, false, false));
    close();

    EXPECT_THAT(preferenceDouble().sets, ElementsAre(Pair(".alarmDbChangedWidget", 1)));
}

TEST_F(AlarmDbModelWritesTest, MobileTimesAreWrittenAlone)
{
    AlarmDbData alarm = phoneAlarm();
    alarm.isNeedToSync = true;
    model->insertAlarmData(alarm, false, false);
    alarm.mobileCreateTime = 21;
    alarm.mobileModifiedTime = 22;
    alarm.mobileAlertTime = 23;
    alarm.hour = 3;

    model->_updateMobileTime(alarm);

    EXPECT_EQ(Row({ "1", "21", "22", "23", "6" }),
        columns(
            "isNeedToSync, mobileCreateTime, mobileModifiedTime, mobileAlertTime, hour", alarm.id));
    close();
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(AlarmDbModelWritesTest, CardIdIsWrittenAlone)
{
    AlarmDbData alarm;
    model->insertAlarmData(alarm, false, false);
    alarm.contextMgrId = 88;
    alarm.hour = 3;

    model->updateContextMgrId(alarm);

    EXPECT_EQ(Row({ "88", "6", "0" }), columns("contextMgrId, hour, isNeedToSync", alarm.id));
    EXPECT_THAT(criticals(), ElementsAre("sql = UPDATE alarm SET contextMgrId = 88 WHERE id = 1"));
}

TEST_F(AlarmDbModelWritesTest, StatusIsWrittenAloneAndAnswers0)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, false, false);

    EXPECT_EQ(0, model->updateAlarmDataStatus(alarm.id, 1, true, true));
    EXPECT_EQ(Row({ "1", "0" }), columns("enable, isNeedToSync", alarm.id));
    EXPECT_EQ(0, model->updateAlarmDataStatus(alarm.id, 0, true, true));
    EXPECT_EQ(Row({ "0", "0" }), columns("enable, isNeedToSync", alarm.id));

    EXPECT_THAT(criticals(),
        ElementsAre("sql = UPDATE alarm SET enable = 1 WHERE id = 1",
            "sql = UPDATE alarm SET enable = 0 WHERE id = 1"));
    close();
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(AlarmDbModelWritesTest, SmallUpdatesLeaveTheEarlierWordOnTheKeys)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, true, false);
    model->updateContextMgrId(alarm);
    model->updateAlarmDataStatus(alarm.id, 1, false, true);
    model->updateUnsyncedAlarmDataToDefault();
    model->removeSyncedAlarmData();
    close();

    EXPECT_THAT(preferenceDouble().sets, ElementsAre(Pair(".alarmDbChanged", 1)));
}

TEST_F(AlarmDbModelWritesTest, ResetMarksAllRowsAsKnownToThePhone)
{
    AlarmDbData alarm = phoneAlarm();
    alarm.isNeedToSync = true;
    model->insertAlarmData(alarm, false, false);
    alarm.isDeleted = true;
    model->insertAlarmData(alarm, false, false);

    EXPECT_TRUE(model->updateUnsyncedAlarmDataToDefault());

    EXPECT_EQ(0, model->getNumberOfUnsyncedAlarm());
    EXPECT_EQ(Row({ "1", "0" }), columns("isDeleted, isNeedToSync", alarm.id));
    EXPECT_THAT(criticals(), IsEmpty());
    EXPECT_THAT(statementsOf([](AlarmDbModel& watched) {
        watched.updateUnsyncedAlarmDataToDefault();
        watched.removeSyncedAlarmData();
    }),
        ElementsAre("UPDATE alarm SET isNeedToSync = 0 WHERE isNeedToSync = 1",
            "DELETE FROM alarm WHERE deviceType = 1"));
}

TEST_F(AlarmDbModelWritesTest, RemovingTheSyncedAlarmsKeepsThoseOfTheWatch)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, false, false);
    model->insertAlarmData(alarm, false, false);
    model->removeAlarmData(alarm, false, false, true, false);
    const int watch = insert(AlarmDbData());

    EXPECT_TRUE(model->removeSyncedAlarmData());

    EXPECT_EQ(std::to_string(watch), file.value("SELECT group_concat(id) FROM alarm"));
}

TEST_F(AlarmDbModelWritesTest, DuplicateHasTheSameTimeAndRepetition)
{
    AlarmDbData alarm;
    alarm.hour = 7;
    alarm.min = 30;
    alarm.repeat_once = 0;
    alarm.repeatWeekly = 62;
    alarm.name = "Gym";
    const int id = insert(alarm);
    EXPECT_EQ(id, model->isDuplicatedAlarmData(alarm, false));
    EXPECT_EQ(id, model->isDuplicatedAlarmData(alarm, true));

    AlarmDbData other = alarm;
    other.hour = 8;
    EXPECT_EQ(-1, model->isDuplicatedAlarmData(other, false));
    other = alarm;
    other.min = 31;
    EXPECT_EQ(-1, model->isDuplicatedAlarmData(other, false));
    other = alarm;
    other.repeat_once = 1;
    EXPECT_EQ(-1, model->isDuplicatedAlarmData(other, false));
    other = alarm;
    other.repeatWeekly = 63;
    EXPECT_EQ(-1, model->isDuplicatedAlarmData(other, false));
    other = alarm;
    other.name = "gym";
    EXPECT_EQ(id, model->isDuplicatedAlarmData(other, false));
    EXPECT_EQ(-1, model->isDuplicatedAlarmData(other, true));
}

TEST_F(AlarmDbModelWritesTest, FirstDuplicateIsTheAnswer)
{
    const int first = insert(AlarmDbData());
    insert(AlarmDbData());

    EXPECT_EQ(first, model->isDuplicatedAlarmData(AlarmDbData(), false));
}

TEST_F(AlarmDbModelWritesTest, DeletedRowIsNoDuplicate)
{
    AlarmDbData alarm = phoneAlarm();
    model->insertAlarmData(alarm, false, false);
    model->removeAlarmData(alarm, false, false, true, false);

    EXPECT_EQ(-1, model->isDuplicatedAlarmData(alarm, false));
    EXPECT_EQ(-1, model->isDuplicatedAlarmData(alarm, true));
    EXPECT_EQ(-1, model->checkIsDuplicatedAlarmData(alarm));
}

TEST_F(AlarmDbModelWritesTest, WatchDuplicateIsOneOfTheWatch)
{
    insert(phoneAlarm());
    EXPECT_EQ(-1, model->isDuplicatedAlarmDataWithWatch(phoneAlarm()));

    AlarmDbData watch;
    watch.name = "any name";
    const int id = insert(watch);

    EXPECT_EQ(id, model->isDuplicatedAlarmDataWithWatch(phoneAlarm()));
}

TEST_F(AlarmDbModelWritesTest, PhoneAlarmsDuplicateHasItsNameOrIsOneOfTheWatch)
{
    AlarmDbData phone = phoneAlarm();
    phone.name = "Gym";
    const int onPhone = insert(phone);
    EXPECT_EQ(onPhone, model->checkIsDuplicatedAlarmData(phone));

    phone.name = "Work";
    EXPECT_EQ(-1, model->checkIsDuplicatedAlarmData(phone));

    const int onWatch = insert(AlarmDbData());
    EXPECT_EQ(onWatch, model->checkIsDuplicatedAlarmData(phone));
}

TEST_F(AlarmDbModelWritesTest, WatchAlarmsDuplicateHasAnyName)
{
    AlarmDbData phone = phoneAlarm();
    phone.name = "Gym";
    const int id = insert(phone);

    EXPECT_EQ(id, model->checkIsDuplicatedAlarmData(AlarmDbData()));
}

TEST_F(AlarmDbModelWritesTest, AlarmOfNeitherDeviceHasNoDuplicate)
{
    AlarmDbData alarm;
    insert(alarm);
    alarm.deviceType = 3;

    EXPECT_EQ(-1, model->checkIsDuplicatedAlarmData(alarm));
}

TEST_F(AlarmDbModelWritesTest, DuplicateChecksAreTheseStatements)
{
    AlarmDbData alarm = phoneAlarm();
    alarm.name = "it's";
    alarm.repeatWeekly = 3;
    EXPECT_THAT(statementsOf([&](AlarmDbModel& watched) {
        watched.isDuplicatedAlarmData(alarm, true);
        watched.isDuplicatedAlarmData(alarm, false);
        watched.isDuplicatedAlarmDataWithWatch(alarm);
    }),
        ElementsAre("SELECT id FROM alarm WHERE hour = 6 AND min = 0 AND repeat_once = 1 AND "
                    "repeat_weekly = 3 AND name = 'it''s' AND isDeleted = 0",
            "SELECT id FROM alarm WHERE hour = 6 AND min = 0 AND repeat_once = 1 AND "
            "repeat_weekly = 3 AND isDeleted = 0",
            "SELECT id FROM alarm WHERE hour = 6 AND min = 0 AND repeat_once = 1 AND "
            "repeat_weekly = 3 AND deviceType = 2 AND isDeleted = 0"));
}

TEST_F(AlarmDbModelWritesTest, OnlyTheEnabledCountLeavesDeletedRowsOut)
{
    AlarmDbData phone = phoneAlarm();
    phone.enable = 1;
    insert(phone);
    model->insertAlarmData(phone, false, false);
    model->removeAlarmData(phone, false, false, true, false);
    AlarmDbData watch;
    insert(watch);
    watch.enable = 1;
    insert(watch);
    insert(watch);

    EXPECT_EQ(3, model->getNumberOfEnabledAlarmList());
    EXPECT_EQ(1, model->getNumberOfUnsyncedAlarm());
    EXPECT_EQ(3, model->getNumberOfWatchAlarm());
    EXPECT_EQ(5, model->getNumberOfAlarm());
    EXPECT_EQ(2, model->getNumberOfMobileAlarm());
}

TEST_F(AlarmDbModelWritesTest, EmptyStoreCountsZero)
{
    EXPECT_EQ(0, model->getNumberOfEnabledAlarmList());
    EXPECT_EQ(0, model->getNumberOfUnsyncedAlarm());
    EXPECT_EQ(0, model->getNumberOfWatchAlarm());
    EXPECT_EQ(0, model->getNumberOfAlarm());
    EXPECT_EQ(0, model->getNumberOfMobileAlarm());
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelWritesTest, CountsAreTheseStatements)
{
    EXPECT_THAT(statementsOf([](AlarmDbModel& watched) {
        watched.getNumberOfEnabledAlarmList();
        watched.getNumberOfUnsyncedAlarm();
        watched.getNumberOfWatchAlarm();
        watched.getNumberOfAlarm();
        watched.getNumberOfMobileAlarm();
    }),
        ElementsAre("SELECT COUNT(*) FROM alarm WHERE enable = 1 AND isDeleted = 0",
            "SELECT COUNT(*) FROM alarm WHERE isNeedToSync = 1",
            "SELECT COUNT(*) FROM alarm WHERE deviceType = 2", "SELECT COUNT(*) FROM alarm",
            "SELECT COUNT(*) FROM alarm WHERE deviceType = 1"));
}

TEST_F(RefusedWritesTest, InsertAnswersTrueWithTheLastId)
{
    AlarmDbData second;

    EXPECT_TRUE(model->insertAlarmData(second, true, false));

    EXPECT_EQ(alarm.id, second.id);
    EXPECT_THAT(criticals(), ElementsAre("_createSqliteStmt:: Error(23)"));
    model.reset();
    EXPECT_THAT(preferenceDouble().sets, ElementsAre(Pair(".alarmDbChanged", 1)));
}

TEST_F(RefusedWritesTest, UpdateAnswersTrueAndGoesOn)
{
    clockDouble().now = timeval{ 1700000000, 456789 };
    alarm.stime = 2;

    EXPECT_TRUE(model->updateAlarmData(alarm, true, false, true, false));

    EXPECT_TRUE(alarm.isNeedToSync);
    EXPECT_THAT(criticals(),
        ElementsAre("_createSqliteStmt:: Error(23)",
            "sql = UPDATE alarm SET mobileAlertTime = 2000, mobileModifiedTime = 1700000000456 "
            "WHERE id = 1",
            "Query: [UPDATE alarm SET mobileAlertTime = 2000, mobileModifiedTime = 1700000000456 "
            "WHERE id = 1]"));
    model.reset();
    EXPECT_THAT(preferenceDouble().sets, ElementsAre(Pair(".alarmDbChanged", 1)));
}

TEST_F(RefusedWritesTest, UpdateFromThePhoneReportsItsTimesToo)
{
    EXPECT_TRUE(model->updateAlarmData(alarm, false, false, false, false));

    EXPECT_EQ("Query: [UPDATE alarm SET mobileCreateTime = 0, mobileModifiedTime = 0, "
              "mobileAlertTime = 0 WHERE id = 1]",
        criticals().back());
}

TEST_F(RefusedWritesTest, RemoveAnswersFalseAndTellsNobody)
{
    EXPECT_FALSE(model->removeAlarmData(alarm, true, true, false, true));

    EXPECT_THAT(criticals(),
        ElementsAre(
            "sql = DELETE FROM alarm WHERE id = 1", "Query: [DELETE FROM alarm WHERE id = 1]"));
    model.reset();
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(RefusedWritesTest, RemoveForThePhoneReportsItsText)
{
    EXPECT_FALSE(model->removeAlarmData(alarm, false, false, true, true));

    EXPECT_EQ("Query: [UPDATE alarm SET isDeleted = 1, isNeedToSync = 1 WHERE id = 1]",
        criticals().back());
}

TEST_F(RefusedWritesTest, StatusAnswers1)
{
    EXPECT_EQ(1, model->updateAlarmDataStatus(1, 0, false, false));

    EXPECT_THAT(criticals(),
        ElementsAre("sql = UPDATE alarm SET enable = 0 WHERE id = 1",
            "Query: [UPDATE alarm SET enable = 0 WHERE id = 1]"));
}

TEST_F(RefusedWritesTest, CardIdIsReported)
{
    model->updateContextMgrId(alarm);

    EXPECT_EQ("Query: [UPDATE alarm SET contextMgrId = -1 WHERE id = 1]", criticals().back());
}

TEST_F(RefusedWritesTest, SyncResetClosesTheConnection)
{
    model->setNotiFlag(true, true);

    EXPECT_FALSE(model->updateUnsyncedAlarmDataToDefault());

    EXPECT_THAT(criticals(), IsEmpty());
    EXPECT_FALSE(model->insertAlarmData(alarm, true, true));
    forget();
    model.reset();
    EXPECT_THAT(criticals(), ElementsAre("dbHandler is not initialized"));
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(RefusedWritesTest, RemovalOfTheSyncedAlarmsClosesTheConnection)
{
    EXPECT_FALSE(model->removeSyncedAlarmData());

    EXPECT_FALSE(model->removeSyncedAlarmData());
    EXPECT_THAT(criticals(), ElementsAre(kNoConnection));
    EXPECT_EQ("1", file.value("SELECT COUNT(*) FROM alarm"));
}

TEST_F(RefusedWritesTest, UpdateRequestsAnUpdateOfThePhoneAllTheSame)
{
    model->updateAlarmData(alarm, false, false, true, false);

    EXPECT_EQ(1, updateRequests);
}

TEST_F(RefusedWritesTest, RemoveRequestsNoUpdateOfThePhone)
{
    model->removeAlarmData(alarm, false, false, true, true);

    EXPECT_EQ(0, updateRequests);
}

TEST_F(RefusedWritesTest, EachCheckReportsTheStatement)
{
    const auto expectReport = [](int found) {
        EXPECT_EQ(-1, found);
        EXPECT_THAT(criticals(), ElementsAre("_createSqliteStmt:: Error(23)", "stmt is nullptr"));
        forget();
    };

    expectReport(model->isDuplicatedAlarmData(alarm, true));
    expectReport(model->isDuplicatedAlarmData(alarm, false));
    expectReport(model->isDuplicatedAlarmDataWithWatch(alarm));
    alarm.deviceType = 2;
    expectReport(model->checkIsDuplicatedAlarmData(alarm));
}

TEST_F(RefusedWritesTest, EachCountReportsTheStatementAndIsZero)
{
    for (const auto count : { &AlarmDbModel::getNumberOfEnabledAlarmList,
             &AlarmDbModel::getNumberOfUnsyncedAlarm, &AlarmDbModel::getNumberOfWatchAlarm,
             &AlarmDbModel::getNumberOfAlarm, &AlarmDbModel::getNumberOfMobileAlarm }) {
        forget();
        EXPECT_EQ(0, (model.get()->*count)());
        EXPECT_THAT(criticals(), ElementsAre("_createSqliteStmt:: Error(23)", "stmt is nullptr"));
    }
}

TEST_F(WritesWithoutConnectionTest, InsertFails)
{
    EXPECT_FALSE(model->insertAlarmData(alarm, true, true));

    EXPECT_EQ(-1, alarm.id);
    EXPECT_THAT(criticals(), ElementsAre(kNoConnection));
}

TEST_F(WritesWithoutConnectionTest, UpdateFailsBeforeItTouchesTheRecord)
{
    alarm.stime = 5;

    EXPECT_FALSE(model->updateAlarmData(alarm, true, true, true, false));

    EXPECT_FALSE(alarm.isNeedToSync);
    EXPECT_EQ(0u, alarm.mobileAlertTime);
    EXPECT_EQ(0, updateRequests);
    EXPECT_THAT(criticals(), ElementsAre(kNoConnection));
}

TEST_F(WritesWithoutConnectionTest, RemoveFails)
{
    EXPECT_FALSE(model->removeAlarmData(alarm, true, true, true, true));
    EXPECT_EQ(0, updateRequests);
    EXPECT_THAT(criticals(), ElementsAre(kNoConnection));
}

TEST_F(WritesWithoutConnectionTest, SmallUpdatesFail)
{
    model->updateContextMgrId(alarm);
    model->_updateMobileTime(alarm);
    EXPECT_EQ(1, model->updateAlarmDataStatus(1, 1, true, true));
    EXPECT_FALSE(model->updateUnsyncedAlarmDataToDefault());
    EXPECT_FALSE(model->removeSyncedAlarmData());

    EXPECT_EQ(std::vector<std::string>(5, kNoConnection), criticals());
}

TEST_F(WritesWithoutConnectionTest, ChecksFindNothing)
{
    EXPECT_EQ(-1, model->isDuplicatedAlarmData(alarm, true));
    EXPECT_EQ(-1, model->isDuplicatedAlarmData(alarm, false));
    EXPECT_EQ(-1, model->isDuplicatedAlarmDataWithWatch(alarm));
    EXPECT_EQ(6u, criticals().size());
    forget();

    EXPECT_EQ(-1, model->checkIsDuplicatedAlarmData(alarm));

    EXPECT_THAT(criticals(),
        ElementsAre("_createSqliteStmt:: Error(21)", "stmt is nullptr",
            "_createSqliteStmt:: Error(21)", "stmt is nullptr"));
}

TEST_F(WritesWithoutConnectionTest, CountsAreZero)
{
    for (const auto count : { &AlarmDbModel::getNumberOfEnabledAlarmList,
             &AlarmDbModel::getNumberOfUnsyncedAlarm, &AlarmDbModel::getNumberOfWatchAlarm,
             &AlarmDbModel::getNumberOfAlarm, &AlarmDbModel::getNumberOfMobileAlarm }) {
        forget();
        EXPECT_EQ(0, (model.get()->*count)());
        EXPECT_THAT(criticals(), ElementsAre("_createSqliteStmt:: Error(21)", "stmt is nullptr"));
    }
}
