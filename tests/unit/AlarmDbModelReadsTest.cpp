#include "StoreFixture.h"

#include <functional>
#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class AlarmDbModelReadsTest : public StoreFixture {
protected:
    AlarmDbModelReadsTest()
    {
        makeFile();
        probe = std::make_unique<SqliteProbe>();
        model = std::make_unique<AlarmDbModel>();
        probe->statements.clear();
    }

    int insert(AlarmDbData alarm)
    {
        model->insertAlarmData(alarm, false, false);
        forget();
        probe->statements.clear();
        return alarm.id;
    }

    int insertAt(int hour, int min, int etime)
    {
        AlarmDbData alarm = phoneAlarm();
        alarm.hour = hour;
        alarm.min = min;
        alarm.etime = etime;
        return insert(alarm);
    }

    int insertDue(int stime, int hour, int enable = 1)
    {
        AlarmDbData alarm;
        alarm.stime = stime;
        alarm.hour = hour;
        alarm.enable = enable;
        return insert(alarm);
    }

    void softDelete(int id)
    {
        file.run("UPDATE alarm SET isDeleted = 1 WHERE id = " + std::to_string(id));
    }

    std::unique_ptr<SqliteProbe> probe;
    std::unique_ptr<AlarmDbModel> model;
    AlarmDbData read;
    std::vector<AlarmDbData> list;
};

class ReadsWithoutConnectionTest : public StoreFixture {
protected:
    ReadsWithoutConnectionTest()
    {
        takeFileAway();
        model = std::make_unique<AlarmDbModel>();
        forget();
    }

    std::unique_ptr<AlarmDbModel> model;
};
} // namespace

TEST_F(AlarmDbModelReadsTest, EachColumnIsReadIntoItsField)
{
    file.run("INSERT INTO alarm VALUES (1, 2, 3, 4, 5, 6, 7, 'n', 9, 10, 11, 12, 13, 14, 15, 16, "
             "'z', 18, 19, 20, 21, 22, 23, 24, 25, 26, 's', 28, 't', 30, 31, 32, 'l', 'a', 'm', "
             "36, 37, 'u', 39000000000, 40000000000, 41000000000, 0, 1, 44)");
    read.snooze_min = 101;
    read.snooze_times = 102;
    read.reserved = 103;

    EXPECT_EQ(0, model->getAlarm(1, read));

    EXPECT_EQ(1, read.id);
    EXPECT_EQ(2, read.magic);
    EXPECT_EQ(3, read.alarm_mgr_id);
    EXPECT_EQ(5, read.enable);
    EXPECT_EQ("n", read.name);
    EXPECT_EQ(9, read.stime);
    EXPECT_EQ(10, read.atime);
    EXPECT_EQ(11, read.etime);
    EXPECT_EQ(12, read.modTime);
    EXPECT_EQ(13, read.sdate);
    EXPECT_EQ(14, read.edate);
    EXPECT_EQ(15, read.hour);
    EXPECT_EQ(16, read.min);
    EXPECT_EQ("z", read.timezone);
    EXPECT_EQ(18, read.repeat_once);
    EXPECT_EQ(20, read.repeatWeekly);
    EXPECT_EQ(21, read.snooze_enable);
    EXPECT_EQ(24, read.count);
    EXPECT_EQ(25, read.smart_alarm_enable);
    EXPECT_EQ(26, read.vibration_type);
    EXPECT_EQ(28, read.type);
    EXPECT_EQ("t", read.tone);
    EXPECT_EQ(30, read.volume);
    EXPECT_EQ(37, read.deviceType);
    EXPECT_EQ("u", read.uuid);
    EXPECT_EQ(39000000000u, read.mobileCreateTime);
    EXPECT_EQ(40000000000u, read.mobileModifiedTime);
    EXPECT_EQ(41000000000u, read.mobileAlertTime);
    EXPECT_FALSE(read.isDeleted);
    EXPECT_TRUE(read.isNeedToSync);
    EXPECT_EQ(44, read.contextMgrId);
    EXPECT_EQ(101, read.snooze_min);
    EXPECT_EQ(102, read.snooze_times);
    EXPECT_EQ(103, read.reserved);
}

TEST_F(AlarmDbModelReadsTest, StoredRecordComesBackWhole)
{
    AlarmDbData alarm = distinctAlarm();
    alarm.isDeleted = false;
    model->insertAlarmData(alarm, false, false);
    read.snooze_min = alarm.snooze_min;

    model->getAlarm(alarm.id, read);

    EXPECT_EQ(1001, read.magic);
    EXPECT_EQ(1003, read.alarm_mgr_id);
    EXPECT_EQ(1004, read.enable);
    EXPECT_EQ(1008, read.modTime);
    EXPECT_EQ(1016, read.repeatWeekly);
    EXPECT_EQ(1018, read.snooze_min);
    EXPECT_EQ(3, read.snooze_times);
    EXPECT_EQ(0, read.reserved);
    EXPECT_EQ(1025, read.smart_alarm_enable);
    EXPECT_EQ(1026, read.vibration_type);
    EXPECT_EQ(1600000001031u, read.mobileAlertTime);
    EXPECT_EQ(1034, read.contextMgrId);
}

TEST_F(AlarmDbModelReadsTest, EmptyColumnsReadZeroAndLeaveTextsAlone)
{
    file.run("INSERT INTO alarm (id, isDeleted) VALUES (1, 0)");
    read = distinctAlarm();

    EXPECT_EQ(0, model->getAlarm(1, read));

    EXPECT_EQ(0, read.magic);
    EXPECT_EQ(0, read.hour);
    EXPECT_EQ(0, read.deviceType);
    EXPECT_EQ(0, read.contextMgrId);
    EXPECT_EQ(0u, read.mobileAlertTime);
    EXPECT_FALSE(read.isNeedToSync);
    EXPECT_EQ("a name", read.name);
    EXPECT_EQ("a zone", read.timezone);
    EXPECT_EQ("a tone", read.tone);
    EXPECT_EQ("a uuid", read.uuid);
}

TEST_F(AlarmDbModelReadsTest, FlagsAreSetByOneAlone)
{
    file.run("INSERT INTO alarm (id, deviceType, isDeleted, isNeedToSync) VALUES (1, 2, 0, 0), "
             "(2, 2, 1, 1), (3, 2, 2, 2), (4, 2, -1, -1), (5, 2, NULL, NULL)");

    model->getAllAlarmList(list);

    ASSERT_EQ(5u, list.size());
    for (const AlarmDbData& alarm : list) {
        EXPECT_EQ(alarm.id == 2, alarm.isDeleted) << alarm.id;
        EXPECT_EQ(alarm.id == 2, alarm.isNeedToSync) << alarm.id;
    }
}

TEST_F(AlarmDbModelReadsTest, UnknownIdLeavesTheRecordAlone)
{
    read.hour = 17;

    EXPECT_EQ(0, model->getAlarm(12, read));

    EXPECT_EQ(-1, read.id);
    EXPECT_EQ(17, read.hour);
    EXPECT_THAT(criticals(), IsEmpty());
    EXPECT_THAT(
        probe->statements, ElementsAre("SELECT * FROM alarm WHERE isDeleted = 0 AND id = 12"));
}

TEST_F(AlarmDbModelReadsTest, NegativeIdIsPutIntoTheTextAsItIs)
{
    EXPECT_EQ(0, model->getAlarm(-1, read));

    EXPECT_THAT(
        probe->statements, ElementsAre("SELECT * FROM alarm WHERE isDeleted = 0 AND id = -1"));
}

TEST_F(AlarmDbModelReadsTest, DeletedRowIsFoundByNoSingleRead)
{
    AlarmDbData alarm = phoneAlarm();
    alarm.alarm_mgr_id = 5;
    alarm.contextMgrId = 6;
    alarm.uuid = "7";
    alarm.enable = 1;
    alarm.stime = 1100;
    const int id = insert(alarm);
    softDelete(id);
    clockDouble().now = timeval{ 1000, 0 };

    EXPECT_EQ(0, model->getAlarm(id, read));
    EXPECT_EQ(0, model->getAlarmWithAlarmMgrId(5, read));
    EXPECT_EQ(0, model->getContextAlarm(6, read));
    EXPECT_EQ(0, model->getMobileAlarm(7, read));
    EXPECT_EQ(0, model->getUpcommingContextAlarm(read));

    EXPECT_EQ(-1, read.id);
}

TEST_F(AlarmDbModelReadsTest, AlarmIsFoundByItsPlatformId)
{
    AlarmDbData alarm;
    alarm.alarm_mgr_id = 500;
    const int id = insert(alarm);

    EXPECT_EQ(0, model->getAlarmWithAlarmMgrId(500, read));

    EXPECT_EQ(id, read.id);
    EXPECT_THAT(probe->statements,
        ElementsAre("SELECT * FROM alarm WHERE isDeleted = 0 AND alarm_mgr_id = 500"));
}

TEST_F(AlarmDbModelReadsTest, AlarmIsFoundByItsCardsId)
{
    AlarmDbData alarm;
    alarm.contextMgrId = 600;
    const int id = insert(alarm);

    EXPECT_EQ(0, model->getContextAlarm(600, read));

    EXPECT_EQ(id, read.id);
    EXPECT_THAT(probe->statements,
        ElementsAre("SELECT * FROM alarm WHERE isDeleted = 0 AND contextMgrId = 600"));
}

TEST_F(AlarmDbModelReadsTest, AlarmIsFoundByThePhonesId)
{
    AlarmDbData alarm = phoneAlarm();
    alarm.uuid = "0700";
    insert(alarm);
    alarm.uuid = "700";
    const int id = insert(alarm);

    EXPECT_EQ(0, model->getMobileAlarm(700, read));

    EXPECT_EQ(id, read.id);
    EXPECT_THAT(probe->statements,
        ElementsAre("SELECT * FROM alarm WHERE isDeleted = 0 AND uuid = \"700\""));
}

TEST_F(AlarmDbModelReadsTest, FirstOfSeveralRowsFillsTheRecord)
{
    AlarmDbData alarm;
    alarm.alarm_mgr_id = 500;
    const int first = insert(alarm);
    insert(alarm);

    model->getAlarmWithAlarmMgrId(500, read);

    EXPECT_EQ(first, read.id);
}

TEST_F(AlarmDbModelReadsTest, UpcomingAlarmIsDueWithinTheHour)
{
    clockDouble().now = timeval{ 1600000000, 999999 };
    insertDue(1600000000, 1);
    EXPECT_EQ(0, model->getUpcommingContextAlarm(read));
    EXPECT_EQ(-1, read.id);
    insertDue(1600003601, 2);
    model->getUpcommingContextAlarm(read);
    EXPECT_EQ(-1, read.id);

    const int atTheHour = insertDue(1600003600, 3);
    EXPECT_EQ(0, model->getUpcommingContextAlarm(read));
    EXPECT_EQ(atTheHour, read.id);

    EXPECT_THAT(probe->statements,
        ElementsAre("SELECT * FROM alarm WHERE isDeleted = 0 AND stime > 1600000000 AND stime <= "
                    "1600003600 AND enable = 1 ORDER BY hour, min, etime"));
}

TEST_F(AlarmDbModelReadsTest, UpcomingAlarmIsTheFirstByItsTimeOfDay)
{
    clockDouble().now = timeval{ 1600000000, 0 };
    insertDue(1600000100, 5, 0);
    insertDue(1600000001, 9);
    const int first = insertDue(1600003000, 6);
    insertDue(1600000002, 8);

    model->getUpcommingContextAlarm(read);

    EXPECT_EQ(first, read.id);
}

TEST_F(AlarmDbModelReadsTest, UpcomingAlarmIsSortedByMinuteAndEtimeToo)
{
    clockDouble().now = timeval{ 1600000000, 0 };
    AlarmDbData alarm;
    alarm.enable = 1;
    alarm.stime = 1600000010;
    alarm.min = 5;
    alarm.etime = 2;
    insert(alarm);
    alarm.etime = 1;
    const int first = insert(alarm);
    alarm.min = 6;
    alarm.etime = 0;
    insert(alarm);

    model->getUpcommingContextAlarm(read);

    EXPECT_EQ(first, read.id);
}

TEST_F(AlarmDbModelReadsTest, PhoneAlarmIsKnownByItsUuid)
{
    AlarmDbData alarm = phoneAlarm();
    alarm.uuid = "abc-1";
    alarm.alarm_mgr_id = 51;
    alarm.contextMgrId = 52;
    const int inserted = insert(alarm);
    int id = 0;
    int managerId = 0;
    int contextId = 0;

    EXPECT_TRUE(model->hasAlarmData("abc-1", id, managerId, contextId));

    EXPECT_EQ(inserted, id);
    EXPECT_EQ(51, managerId);
    EXPECT_EQ(52, contextId);
    EXPECT_THAT(probe->statements,
        ElementsAre("SELECT COUNT(ROWID), id, alarm_mgr_id, contextMgrId FROM alarm WHERE "
                    "'abc-1' = uuid"));
}

TEST_F(AlarmDbModelReadsTest, DeletedPhoneAlarmIsStillKnownByItsUuid)
{
    AlarmDbData alarm = phoneAlarm();
    alarm.uuid = "abc-1";
    const int inserted = insert(alarm);
    softDelete(inserted);
    int id = 0;
    int ignored = 0;

    EXPECT_TRUE(model->hasAlarmData("abc-1", id, ignored, ignored));
    EXPECT_EQ(inserted, id);
}

TEST_F(AlarmDbModelReadsTest, UnknownUuidGivesTheEmptyCountsRow)
{
    int id = 7;
    int managerId = 7;
    int contextId = 7;

    EXPECT_FALSE(model->hasAlarmData("none", id, managerId, contextId));

    EXPECT_EQ(0, id);
    EXPECT_EQ(0, managerId);
    EXPECT_EQ(0, contextId);
}

TEST_F(AlarmDbModelReadsTest, QuotesOfAUuidAreItsText)
{
    int id = 0;
    int ignored = 0;
    insert(phoneAlarm());

    EXPECT_FALSE(model->hasAlarmData("' = '' OR '", id, ignored, ignored));
    EXPECT_FALSE(model->hasAlarmData("'; DROP TABLE alarm; --", id, ignored, ignored));

    EXPECT_THAT(criticals(), IsEmpty());
    EXPECT_EQ(1, model->getNumberOfAlarm());
}

TEST_F(AlarmDbModelReadsTest, PlatformIdOfARowIsFound)
{
    AlarmDbData alarm;
    alarm.alarm_mgr_id = 500;
    const int id = insert(alarm);
    int managerId = 0;

    EXPECT_TRUE(model->hasAlarmMgrId(id, managerId));

    EXPECT_EQ(500, managerId);
    EXPECT_THAT(probe->statements,
        ElementsAre("SELECT COUNT(ROWID), alarm_mgr_id FROM alarm WHERE id = " + std::to_string(id)
            + " AND isDeleted = 0"));
}

TEST_F(AlarmDbModelReadsTest, PlatformIdOfADeletedOrUnknownRowIsNotFound)
{
    const int id = insert(phoneAlarm());
    softDelete(id);
    int managerId = 7;
    EXPECT_FALSE(model->hasAlarmMgrId(id, managerId));
    EXPECT_EQ(0, managerId);

    EXPECT_FALSE(model->hasAlarmMgrId(999, managerId));
}

TEST_F(AlarmDbModelReadsTest, FixedListsAreTheseStatements)
{
    model->getAllUnsyncedAlarmList(list);
    model->getAllMobileAlarmList(list);
    model->getAllVornAlarmList(list);
    model->getAllAlarmList(list);
    model->getAlarmListWithIds(list, "1,2,3");
    EXPECT_EQ(0, model->getAllEnabledMobileAlarmList(list));

    EXPECT_THAT(probe->statements,
        ElementsAre("SELECT * FROM alarm WHERE isNeedToSync = 1",
            "SELECT * FROM alarm WHERE deviceType = 1 ORDER BY hour, min, etime",
            "SELECT * FROM alarm WHERE deviceType = 2", "SELECT * FROM alarm WHERE deviceType = 2",
            "SELECT * FROM alarm WHERE id in (1,2,3 )",
            "SELECT * FROM alarm WHERE deviceType = 1 AND enable = 1"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelReadsTest, FixedListsListDeletedRowsToo)
{
    AlarmDbData phone = phoneAlarm();
    phone.enable = 1;
    phone.isNeedToSync = true;
    const int onPhone = insert(phone);
    const int onWatch = insert(AlarmDbData());
    softDelete(onPhone);
    softDelete(onWatch);

    model->getAllUnsyncedAlarmList(list);
    EXPECT_THAT(idsOf(list), ElementsAre(onPhone));
    EXPECT_TRUE(list[0].isDeleted);
    list.clear();
    model->getAllMobileAlarmList(list);
    EXPECT_THAT(idsOf(list), ElementsAre(onPhone));
    list.clear();
    model->getAllEnabledMobileAlarmList(list);
    EXPECT_THAT(idsOf(list), ElementsAre(onPhone));
    list.clear();
    model->getAlarmListWithIds(list, std::to_string(onPhone) + ", " + std::to_string(onWatch));
    EXPECT_THAT(idsOf(list), ElementsAre(onPhone, onWatch));
    list.clear();
    model->getAllVornAlarmList(list);
    EXPECT_THAT(idsOf(list), ElementsAre(onWatch));
    list.clear();
    model->getAllAlarmList(list);
    EXPECT_THAT(idsOf(list), ElementsAre(onWatch));
}

TEST_F(AlarmDbModelReadsTest, ListsAppend)
{
    list.resize(2);
    const int onWatch = insert(AlarmDbData());
    AlarmDbData phone = phoneAlarm();
    phone.enable = 1;
    const int onPhone = insert(phone);

    model->getAllAlarmList(list);
    model->getAllEnabledMobileAlarmList(list);

    EXPECT_THAT(idsOf(list), ElementsAre(-1, -1, onWatch, onPhone));
}

TEST_F(AlarmDbModelReadsTest, MobileListIsOrderedByTimeOfDayAndEtime)
{
    const int fourth = insertAt(8, 0, 0);
    const int third = insertAt(7, 30, 2);
    const int first = insertAt(7, 5, 9);
    const int second = insertAt(7, 30, 1);

    model->getAllMobileAlarmList(list);

    EXPECT_THAT(idsOf(list), ElementsAre(first, second, third, fourth));
}

TEST_F(AlarmDbModelReadsTest, EnabledMobileListLeavesOutWhatIsOffOrOfTheWatch)
{
    insert(phoneAlarm());
    AlarmDbData alarm;
    alarm.enable = 1;
    insert(alarm);

    EXPECT_EQ(0, model->getAllEnabledMobileAlarmList(list));

    EXPECT_THAT(list, IsEmpty());
}

TEST_F(AlarmDbModelReadsTest, EachRowOfAListStartsFromADefaultRecord)
{
    file.run("INSERT INTO alarm (id, deviceType, name, tone) VALUES (1, 2, 'one', 'x'), (2, 2, "
             "NULL, NULL)");

    model->getAllAlarmList(list);

    ASSERT_EQ(2u, list.size());
    EXPECT_EQ("", list[1].name);
    EXPECT_EQ(AlarmDbData().tone, list[1].tone);
    EXPECT_EQ(5, list[1].snooze_min);
    EXPECT_EQ(3, list[1].snooze_times);
}

TEST_F(AlarmDbModelReadsTest, EmptyIdListIsEmpty)
{
    insert(AlarmDbData());

    model->getAlarmListWithIds(list, "");

    EXPECT_THAT(list, IsEmpty());
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(AlarmDbModelReadsTest, BrokenIdListIsReported)
{
    model->getAlarmListWithIds(list, "1,,%s");

    EXPECT_THAT(list, IsEmpty());
    EXPECT_THAT(criticals(), ElementsAre("_createSqliteStmt:: Error(1)", "stmt is nullptr"));
}

TEST_F(AlarmDbModelReadsTest, RowsReadBeforeAFailureStayInTheList)
{
    for (int i = 0; i < 5; ++i)
        insertAt(6, 0, 0);
    file.run("UPDATE alarm SET enable = 1");
    probe->interruptAfterRows = 3;

    EXPECT_EQ(0, model->getAllEnabledMobileAlarmList(list));
    EXPECT_EQ(3u, list.size());
    list.clear();
    model->getAlarmListWithIds(list, "1,2,3,4,5");
    EXPECT_EQ(3u, list.size());

    probe->interruptAfterRows = 0;
    list.clear();
    model->getAlarmListWithIds(list, "1,2,3,4,5");
    EXPECT_EQ(5u, list.size());
}

TEST_F(AlarmDbModelReadsTest, StatementsThatCannotBeMadeAreReported)
{
    probe->refuseAll();
    clockDouble().now = timeval{ 1000, 0 };
    int id = 7;

    EXPECT_EQ(-1, model->getAlarm(1, read));
    EXPECT_EQ(-1, model->getAlarmWithAlarmMgrId(1, read));
    EXPECT_EQ(-1, model->getContextAlarm(1, read));
    EXPECT_EQ(-1, model->getMobileAlarm(1, read));
    EXPECT_EQ(-1, model->getUpcommingContextAlarm(read));
    EXPECT_EQ(-1, model->getAllEnabledMobileAlarmList(list));
    EXPECT_THAT(criticals(), IsEmpty());

    EXPECT_FALSE(model->hasAlarmData("x", id, id, id));
    EXPECT_FALSE(model->hasAlarmMgrId(1, id));
    model->getAllAlarmList(list);
    EXPECT_THAT(criticals(),
        ElementsAre("_createSqliteStmt:: Error(23)", "stmt is nullptr",
            "_createSqliteStmt:: Error(23)", "stmt is nullptr", "_createSqliteStmt:: Error(23)",
            "stmt is nullptr"));
    EXPECT_EQ(7, id);
}

TEST_F(ReadsWithoutConnectionTest, SingleReadsAnswerMinus1)
{
    AlarmDbData read;
    read.hour = 17;

    EXPECT_EQ(-1, model->getAlarm(1, read));
    EXPECT_EQ(-1, model->getAlarmWithAlarmMgrId(1, read));
    EXPECT_EQ(-1, model->getContextAlarm(1, read));
    EXPECT_EQ(-1, model->getMobileAlarm(1, read));
    EXPECT_EQ(-1, model->getUpcommingContextAlarm(read));

    EXPECT_EQ(-1, read.id);
    EXPECT_EQ(17, read.hour);
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(ReadsWithoutConnectionTest, ExistenceChecksAnswerFalseAndLeaveTheirOutputs)
{
    int id = 7;
    int managerId = 8;
    int contextId = 9;

    EXPECT_FALSE(model->hasAlarmData("x", id, managerId, contextId));
    EXPECT_FALSE(model->hasAlarmMgrId(1, managerId));

    EXPECT_EQ(7, id);
    EXPECT_EQ(8, managerId);
    EXPECT_EQ(9, contextId);
    EXPECT_THAT(criticals(),
        ElementsAre("_createSqliteStmt:: Error(21)", "stmt is nullptr",
            "_createSqliteStmt:: Error(21)", "stmt is nullptr"));
}

TEST_F(ReadsWithoutConnectionTest, FixedListsStayAsTheyAre)
{
    std::vector<AlarmDbData> list(2);
    for (const auto read :
        { &AlarmDbModel::getAllUnsyncedAlarmList, &AlarmDbModel::getAllMobileAlarmList,
            &AlarmDbModel::getAllVornAlarmList, &AlarmDbModel::getAllAlarmList }) {
        forget();
        (model.get()->*read)(list);
        EXPECT_EQ("stmt is nullptr", criticals().back());
    }
    forget();
    model->getAlarmListWithIds(list, "1");
    EXPECT_EQ("stmt is nullptr", criticals().back());
    forget();
    EXPECT_EQ(-1, model->getAllEnabledMobileAlarmList(list));

    EXPECT_THAT(criticals(), IsEmpty());
    EXPECT_EQ(2u, list.size());
}

TEST_F(ReadsWithoutConnectionTest, SearchesAreEmptied)
{
    std::vector<AlarmDbData> list(2);
    model->getAllAlarmListInTimeRange(list, 1, 2, true);
    EXPECT_THAT(list, IsEmpty());
    EXPECT_EQ("stmt is nullptr", criticals().back());

    list.resize(2);
    forget();
    EXPECT_EQ(-1, model->getAlarmListWithMultipleParameter(list, 0, 0, 0, 0, "", 0, 0, 0));
    EXPECT_THAT(list, IsEmpty());
    EXPECT_THAT(criticals(), ElementsAre("query=SELECT * FROM alarm"));
}
