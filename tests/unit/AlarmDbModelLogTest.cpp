#include "StoreFixture.h"

#include <memory>

using testing::ElementsAre;

namespace {
// The function of each line, where log readers look for the operation.
class AlarmDbModelLogTest : public StoreFixture {
protected:
    void open()
    {
        model = std::make_unique<AlarmDbModel>();
        forget();
    }

    // The critical lines since the last call, each as "function: message".
    static std::vector<std::string> lines()
    {
        const std::vector<std::string> result = dlogDouble().messagesWithFunctions(DLOG_ERROR);
        forget();
        return result;
    }

    static void expectNoStatementIn(const std::string& operation)
    {
        EXPECT_THAT(lines(),
            ElementsAre("_createSqliteStmt: _createSqliteStmt:: Error(21)",
                operation + ": stmt is nullptr"));
    }

    static void expectNoConnectionIn(const std::string& operation)
    {
        EXPECT_THAT(lines(), ElementsAre(operation + ": db handler is not initialized"));
    }

    std::unique_ptr<AlarmDbModel> model;
    AlarmDbData alarm = phoneAlarm();
    std::vector<AlarmDbData> list;
};
} // namespace

TEST_F(AlarmDbModelLogTest, NamesTheChangeAndItsStatement)
{
    makeFile();
    SqliteProbe probe;
    open();
    alarm.id = 1;
    probe.refuseAll();
    const auto expectReport = [](const std::string& operation, const std::string& sql) {
        EXPECT_THAT(lines(),
            ElementsAre(operation + ": sql = " + sql, operation + ": Query: [" + sql + "]"));
    };

    model->removeAlarmData(alarm, false, false, false, false);
    expectReport("removeAlarmData", "DELETE FROM alarm WHERE id = 1");
    model->updateContextMgrId(alarm);
    expectReport("updateContextMgrId", "UPDATE alarm SET contextMgrId = -1 WHERE id = 1");
    model->updateAlarmDataStatus(1, 0, false, false);
    expectReport("updateAlarmDataStatus", "UPDATE alarm SET enable = 0 WHERE id = 1");
    model->_updateMobileTime(alarm);
    expectReport("_updateMobileTime",
        "UPDATE alarm SET mobileCreateTime = 0, mobileModifiedTime = 0, mobileAlertTime = 0 "
        "WHERE id = 1");

    clockDouble().now = timeval{ 1700000000, 0 };
    alarm.isNeedToSync = true;
    model->updateAlarmData(alarm, false, false, false, true);
    const std::vector<std::string> update = lines();
    ASSERT_EQ(3u, update.size());
    EXPECT_THAT(update[1], testing::StartsWith("_updateMobileAlertTime: sql = "));
    EXPECT_THAT(update[2], testing::StartsWith("_updateMobileAlertTime: Query: ["));
}

TEST_F(AlarmDbModelLogTest, NamesTheChangeWithoutAConnection)
{
    takeFileAway();
    open();

    model->removeAlarmData(alarm, false, false, false, false);
    expectNoConnectionIn("removeAlarmData");
    model->updateContextMgrId(alarm);
    expectNoConnectionIn("updateContextMgrId");
    model->updateUnsyncedAlarmDataToDefault();
    expectNoConnectionIn("updateUnsyncedAlarmDataToDefault");
    model->removeSyncedAlarmData();
    expectNoConnectionIn("removeSyncedAlarmData");
}

TEST_F(AlarmDbModelLogTest, NamesTheCheckOrTheCount)
{
    takeFileAway();
    open();

    model->isDuplicatedAlarmData(alarm, false);
    expectNoStatementIn("isDuplicatedAlarmData");
    model->isDuplicatedAlarmDataWithWatch(alarm);
    expectNoStatementIn("isDuplicatedAlarmDataWithWatch");
    model->getNumberOfEnabledAlarmList();
    expectNoStatementIn("getNumberOfEnabledAlarmList");
    model->getNumberOfUnsyncedAlarm();
    expectNoStatementIn("getNumberOfUnsyncedAlarm");
    model->getNumberOfWatchAlarm();
    expectNoStatementIn("getNumberOfWatchAlarm");
    model->getNumberOfAlarm();
    expectNoStatementIn("getNumberOfAlarm");
    model->getNumberOfMobileAlarm();
    expectNoStatementIn("getNumberOfMobileAlarm");
}

TEST_F(AlarmDbModelLogTest, NamesTheList)
{
    takeFileAway();
    open();

    model->getAllUnsyncedAlarmList(list);
    expectNoStatementIn("getAllUnsyncedAlarmList");
    model->getAllMobileAlarmList(list);
    expectNoStatementIn("getAllMobileAlarmList");
    model->getAllVornAlarmList(list);
    expectNoStatementIn("getAllVornAlarmList");
    model->getAllAlarmList(list);
    expectNoStatementIn("getAllAlarmList");
    model->getAlarmListWithIds(list, "1");
    expectNoStatementIn("getAlarmListWithIds");
    model->getAllAlarmListInTimeRange(list, 1, 2, true);
    expectNoStatementIn("getAllAlarmListInTimeRange");
}
