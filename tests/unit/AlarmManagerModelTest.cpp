#include "AlarmManagerModel.h"

#include "AlarmDbData.h"
#include "AlarmDouble.h"
#include "AppControlDouble.h"
#include "DlogDouble.h"
#include "VconfDouble.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <limits>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
const int kPhone = 1;
const int kWatch = 2;

class AlarmManagerModelTest : public testing::Test {
protected:
    AlarmManagerModelTest()
    {
        setZone("UTC");
        alarmDouble() = {};
        alarmDouble().nextId = 700;
        appControlDouble() = {};
        dlogDouble() = {};
        vconfDouble() = {};
        connectPhone(false);
    }

    ~AlarmManagerModelTest() override
    {
        EXPECT_THAT(appControlDouble().alive, IsEmpty());
        EXPECT_EQ(0, appControlDouble().wronglyDestroyed);
        setZone("UTC");
    }

    static void setZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }

    static void connectPhone(bool connected)
    {
        vconfDouble().ints["memory/private/vap/conn_type"] = 1;
        vconfDouble().bools["memory/wms/wmanager_connected"] = connected;
    }

    static const AlarmDouble::Request& onlyRequest()
    {
        EXPECT_EQ(1u, alarmDouble().scheduled.size());
        return alarmDouble().scheduled.at(0);
    }

    AlarmManagerModel model;
    AlarmDbData alarm;
};
} // namespace

TEST_F(AlarmManagerModelTest, WatchAlarmIsScheduledAtItsTimeOfDayWithoutADate)
{
    alarm.hour = 7;
    alarm.min = 30;
    alarm.repeatWeekly = 62;
    alarm.stime = 1600000042; // 2020-09-13 12:27:22

    EXPECT_TRUE(model.registerAlarmToServer(alarm, false));

    EXPECT_EQ(700, alarm.alarm_mgr_id);
    EXPECT_EQ("com.velmora.alarm-alert", onlyRequest().applicationId);
    EXPECT_EQ(62, onlyRequest().weekFlag);
    EXPECT_EQ(0, onlyRequest().presetId);
    EXPECT_EQ(7, onlyRequest().date.tm_hour);
    EXPECT_EQ(30, onlyRequest().date.tm_min);
    EXPECT_EQ(0, onlyRequest().date.tm_mday);
    EXPECT_EQ(-1, onlyRequest().date.tm_mon);
    EXPECT_EQ(-1900, onlyRequest().date.tm_year);
    EXPECT_EQ(22, onlyRequest().date.tm_sec);
    EXPECT_EQ(0, onlyRequest().date.tm_wday);
    EXPECT_EQ(256, onlyRequest().date.tm_yday);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("registerTm.tm_hour = 7, registerTm.tm_min = 30", "repeatWeekly = 62 once is 1",
            "saved alarm manager id = 700"));
    EXPECT_EQ(1, appControlDouble().created);
}

TEST_F(AlarmManagerModelTest, OneShotKeepsItsWeekFlagAsItIs)
{
    alarm.repeat_once = 1;
    alarm.repeatWeekly = 0;

    EXPECT_TRUE(model.registerAlarmToServer(alarm, false));

    EXPECT_EQ(0, onlyRequest().weekFlag);
}

TEST_F(AlarmManagerModelTest, RepeatFlagDoesNotChangeTheWeekFlag)
{
    alarm.repeat_once = 0;
    alarm.repeatWeekly = 127;

    EXPECT_TRUE(model.registerAlarmToServer(alarm, false));

    EXPECT_EQ(127, onlyRequest().weekFlag);
    EXPECT_THAT(dlogDouble().criticals(), testing::Contains("repeatWeekly = 127 once is 0"));
}

TEST_F(AlarmManagerModelTest, SnoozedAlarmIsScheduledItsSnoozesAfterTheFullTenSeconds)
{
    alarm.stime = 1000007;
    alarm.count = 2;
    alarm.snooze_min = 5;

    EXPECT_TRUE(model.registerAlarmToServer(alarm, false));

    // 1,000,600 is 1970-01-12 13:56:40.
    EXPECT_EQ(13, onlyRequest().date.tm_hour);
    EXPECT_EQ(56, onlyRequest().date.tm_min);
    // The second stays that of stime, 13:46:47.
    EXPECT_EQ(47, onlyRequest().date.tm_sec);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("Next snooze time = 13 : 56", "registerTm.tm_hour = 13, registerTm.tm_min = 56",
            "repeatWeekly = 0 once is 1", "saved alarm manager id = 700"));
}

TEST_F(AlarmManagerModelTest, LogNamesTheRegistration)
{
    alarm.count = 1;

    model.registerAlarmToServer(alarm, false);

    for (const DlogDouble::Line& line : dlogDouble().lines) {
        EXPECT_THAT(
            line.text, testing::StartsWith("AlarmManagerModel.cpp: registerAlarmToServer("));
    }
}

TEST_F(AlarmManagerModelTest, SnoozeTruncatesTowardsTheEpoch)
{
    alarm.stime = -5; // 0 without its last digit, where rounding down would give -10
    alarm.count = 1;
    alarm.snooze_min = 1;

    model.registerAlarmToServer(alarm, false);

    EXPECT_EQ(0, onlyRequest().date.tm_hour);
    EXPECT_EQ(1, onlyRequest().date.tm_min);
}

TEST_F(AlarmManagerModelTest, SnoozeTimeIsLocal)
{
    setZone("TST-05:30");
    alarm.stime = 1000007;
    alarm.count = 2;
    alarm.snooze_min = 5;

    model.registerAlarmToServer(alarm, false);

    EXPECT_EQ(19, onlyRequest().date.tm_hour);
    EXPECT_EQ(26, onlyRequest().date.tm_min);
}

TEST_F(AlarmManagerModelTest, AnySnoozeOfADamagedRecordIsSomeTimeOfDay)
{
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    for (const int stime : { least, most }) {
        for (const int count : { least, most }) {
            for (const int minutes : { least, most }) {
                alarm.stime = stime;
                alarm.count = count;
                alarm.snooze_min = minutes;

                model.registerAlarmToServer(alarm, false);

                const tm& date = alarmDouble().scheduled.back().date;
                EXPECT_TRUE(date.tm_hour >= 0 && date.tm_hour < 24) << date.tm_hour;
                EXPECT_TRUE(date.tm_min >= 0 && date.tm_min < 60) << date.tm_min;
            }
        }
    }
}

TEST_F(AlarmManagerModelTest, PhoneAlarmIsLeftToTheConnectedPhone)
{
    connectPhone(true);
    alarm.deviceType = kPhone;

    EXPECT_TRUE(model.registerAlarmToServer(alarm, false));

    EXPECT_THAT(alarmDouble().scheduled, IsEmpty());
    EXPECT_EQ(0, alarm.alarm_mgr_id);
    EXPECT_EQ(1, appControlDouble().created);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("registerTm.tm_hour = 6, registerTm.tm_min = 0", "saved alarm manager id = 0"));
}

struct DecisionCase {
    const char* name;
    int deviceType;
    bool connected;
    bool force;
    bool scheduled;
};
class DecisionTest : public AlarmManagerModelTest,
                     public testing::WithParamInterface<DecisionCase> {};

TEST_P(DecisionTest, DependsOnDeviceLinkAndForce)
{
    connectPhone(GetParam().connected);
    alarm.deviceType = GetParam().deviceType;

    EXPECT_TRUE(model.registerAlarmToServer(alarm, GetParam().force));

    EXPECT_EQ(GetParam().scheduled ? 1u : 0u, alarmDouble().scheduled.size());
    EXPECT_EQ(GetParam().scheduled ? 700 : 0, alarm.alarm_mgr_id);
}

INSTANTIATE_TEST_SUITE_P(Table, DecisionTest,
    testing::Values(DecisionCase{ "Watch", kWatch, false, false, true },
        DecisionCase{ "WatchConnected", kWatch, true, false, true },
        DecisionCase{ "WatchForced", kWatch, true, true, true },
        DecisionCase{ "PhoneAway", kPhone, false, false, true },
        DecisionCase{ "PhoneConnected", kPhone, true, false, false },
        DecisionCase{ "PhoneConnectedForced", kPhone, true, true, true },
        DecisionCase{ "PhoneAwayForced", kPhone, false, true, true },
        DecisionCase{ "OtherAway", 0, false, false, false },
        DecisionCase{ "OtherConnected", 3, true, false, false },
        DecisionCase{ "OtherForced", 3, true, true, true }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmManagerModelTest, RefusalOfThePlatformIsTheOnlyFailure)
{
    alarmDouble().scheduleResult = ALARM_ERROR_CONNECTION_FAIL;
    alarm.alarm_mgr_id = 12;

    EXPECT_FALSE(model.registerAlarmToServer(alarm, false));

    EXPECT_EQ(0, alarm.alarm_mgr_id);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("registerTm.tm_hour = 6, registerTm.tm_min = 0", "repeatWeekly = 0 once is 1",
            "register alarm failed(" + std::to_string(ALARM_ERROR_CONNECTION_FAIL) + ")",
            "saved alarm manager id = 0"));
}

TEST_F(AlarmManagerModelTest, RecordHoldsTheIdThatARefusalLeft)
{
    alarmDouble().scheduleResult = ALARM_ERROR_CONNECTION_FAIL;
    alarmDouble().idOnRefusal = 77;

    EXPECT_FALSE(model.registerAlarmToServer(alarm, false));

    EXPECT_EQ(77, alarm.alarm_mgr_id);
    EXPECT_EQ("saved alarm manager id = 77", dlogDouble().criticals().back());
}

TEST_F(AlarmManagerModelTest, AppControlWithoutItsTargetIsPassedOnToThePlatform)
{
    appControlDouble().setAppIdResult = APP_CONTROL_ERROR_OUT_OF_MEMORY;

    EXPECT_TRUE(model.registerAlarmToServer(alarm, false));

    EXPECT_EQ("", onlyRequest().applicationId);
    EXPECT_THAT(appControlDouble().alive, IsEmpty());
}

TEST_F(AlarmManagerModelTest, FailedAppControlIsPassedOnToThePlatform)
{
    appControlDouble().createResult = APP_CONTROL_ERROR_OUT_OF_MEMORY;

    EXPECT_TRUE(model.registerAlarmToServer(alarm, false));

    EXPECT_EQ("", onlyRequest().applicationId);
}

TEST_F(AlarmManagerModelTest, UnregisteringCancelsThePlatformAlarm)
{
    alarm.alarm_mgr_id = 41;

    model.unregisterAlarmFromServer(alarm, true);

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(41));
    EXPECT_EQ(-1, alarm.alarm_mgr_id);
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmManagerModelTest, UnregisteringANegativeIdChangesNothing)
{
    for (const int id : { -1, -7 }) {
        alarm.alarm_mgr_id = id;
        model.unregisterAlarmFromServer(alarm, false);
        EXPECT_EQ(id, alarm.alarm_mgr_id);
    }

    EXPECT_THAT(alarmDouble().cancelled, IsEmpty());
    EXPECT_THAT(
        dlogDouble().criticals(), ElementsAre("already canceled alarm", "already canceled alarm"));
}

TEST_F(AlarmManagerModelTest, IdOfASkippedRegistrationIsCancelledLikeAnyOther)
{
    alarm.alarm_mgr_id = 0;

    model.unregisterAlarmFromServer(alarm, false);

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(0));
    EXPECT_EQ(-1, alarm.alarm_mgr_id);
}

TEST_F(AlarmManagerModelTest, FailedCancelIsLoggedAndForgotten)
{
    alarmDouble().cancelResult = ALARM_ERROR_INVALID_PARAMETER;
    alarm.id = 9;
    alarm.alarm_mgr_id = 41;

    model.unregisterAlarmFromServer(alarm, false);

    EXPECT_EQ(-1, alarm.alarm_mgr_id);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("Failed to remove alarm[id(9), mgrid(41)], error code: -22"));
}

TEST_F(AlarmManagerModelTest, UpdatingIsUnregisteringAndRegisteringWithoutForce)
{
    alarm.alarm_mgr_id = 41;

    EXPECT_TRUE(model.updateAlarmOnServer(alarm));

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(41));
    EXPECT_EQ(1u, alarmDouble().scheduled.size());
    EXPECT_EQ(700, alarm.alarm_mgr_id);
}

TEST_F(AlarmManagerModelTest, UpdatingRegistersWhetherOrNotItCouldCancel)
{
    alarmDouble().cancelResult = ALARM_ERROR_INVALID_PARAMETER;
    alarm.alarm_mgr_id = 41;

    EXPECT_TRUE(model.updateAlarmOnServer(alarm));
    EXPECT_EQ(700, alarm.alarm_mgr_id);

    alarm.alarm_mgr_id = -1;
    dlogDouble() = {};

    EXPECT_TRUE(model.updateAlarmOnServer(alarm));
    EXPECT_EQ(701, alarm.alarm_mgr_id);
    EXPECT_EQ("already canceled alarm", dlogDouble().criticals().front());
}

TEST_F(AlarmManagerModelTest, UpdatingAPhoneAlarmLeavesItToTheConnectedPhone)
{
    connectPhone(true);
    alarm.deviceType = kPhone;
    alarm.alarm_mgr_id = 41;

    EXPECT_TRUE(model.updateAlarmOnServer(alarm));

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(41));
    EXPECT_THAT(alarmDouble().scheduled, IsEmpty());
    EXPECT_EQ(0, alarm.alarm_mgr_id);
}

TEST_F(AlarmManagerModelTest, UpdatingFailsWhenThePlatformRefuses)
{
    alarmDouble().scheduleResult = -1;
    alarm.alarm_mgr_id = 41;

    EXPECT_FALSE(model.updateAlarmOnServer(alarm));

    EXPECT_EQ("register alarm failed", dlogDouble().criticals().back());
    EXPECT_EQ(0, alarm.alarm_mgr_id);
}
