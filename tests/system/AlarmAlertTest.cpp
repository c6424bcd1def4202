#include "CommandStory.h"

#include <app_preference.h>
#include <csignal>

using testing::ContainsRegex;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class AlarmAlertTest : public CommandStory {
protected:
    void expectRefused(const std::string& command, const std::string& reason)
    {
        const CommandResult result = alarm({ command });
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ("alarm: " + reason + "\n", result.err);
    }

    bool alertRuns() { return session.pidOf("com.velmora.alarm-alert") != 0; }

    bool waitUntilAlertEnds()
    {
        return session.waitFor([this] { return !alertRuns(); });
    }
};

TEST_F(AlarmAlertTest, AlarmRingsInTimeAndSaysSo)
{
    alarmOutput({ "add", "--in", "2s" });
    const time_t due = std::stol(store->query("SELECT stime FROM alarm"));

    ASSERT_TRUE(waitUntilRinging(1));

    EXPECT_GE(time(nullptr), due);
    EXPECT_THAT(session.logText(),
        ContainsRegex(
            "I/alarm-alert\\([0-9]+\\): ringing alarm 1 at [0-9][0-9]:[0-9][0-9]:[0-9][0-9]"
            ", [0-9]+ us after its instant"));
    EXPECT_EQ("ringing", member(alarmOutput({ "show", "1", "--json" }), "$.state"));
}

TEST_F(AlarmAlertTest, DismissedOneShotIsOffAndCancelled)
{
    alarmOutput({ "add", "--in", "1s" });
    ASSERT_TRUE(waitUntilRinging(1));

    EXPECT_EQ("alarm 1 dismissed\n", alarmOutput({ "dismiss" }));

    EXPECT_EQ("0 -1 0", store->query("SELECT enable, alarm_mgr_id, count FROM alarm"));
    EXPECT_THAT(session.alarms(), IsEmpty());
    EXPECT_EQ(-1, ringing());
    EXPECT_TRUE(waitUntilAlertEnds());
}

TEST_F(AlarmAlertTest, SnoozedAlarmIsRegisteredFiveMinutesLater)
{
    alarmOutput({ "add", "--in", "1s" });
    const time_t due = std::stol(store->query("SELECT stime FROM alarm"));
    const std::string before = store->query("SELECT alarm_mgr_id FROM alarm");
    ASSERT_TRUE(waitUntilRinging(1));

    EXPECT_THAT(alarmOutput({ "snooze" }), StartsWith("alarm 1 rings "));

    const auto registered = session.alarms();
    ASSERT_THAT(registered, SizeIs(1));
    EXPECT_NE(before, std::to_string(registered[0].id));
    EXPECT_EQ(due + 5L * 60, registered[0].next);
    EXPECT_EQ("1 1 " + std::to_string(registered[0].id) + " " + std::to_string(due),
        store->query("SELECT enable, count, alarm_mgr_id, stime FROM alarm"));
    EXPECT_EQ("snoozed", member(alarmOutput({ "show", "1", "--json" }), "$.state"));
    EXPECT_EQ(-1, ringing());
    EXPECT_TRUE(waitUntilAlertEnds());
}

TEST_F(AlarmAlertTest, SnoozedAlarmRingsAgainAndCountsOn)
{
    const AlarmDbData alarm = setAlarm(secondAfter(1000), kEveryDay, 1);
    ASSERT_TRUE(waitUntilRinging(alarm.id));

    alarmOutput({ "snooze" });

    EXPECT_EQ("2 " + std::to_string(alarm.stime), store->query("SELECT count, stime FROM alarm"));
    const auto registered = session.alarms();
    ASSERT_THAT(registered, SizeIs(1));
    EXPECT_EQ(alarm.stime + 10 * 60, registered[0].next);
}

TEST_F(AlarmAlertTest, DismissedWeeklyAlarmGoesBackToItsOwnTime)
{
    const AlarmDbData alarm = setAlarm(secondAfter(1000), kEveryDay, 2);
    ASSERT_TRUE(waitUntilRinging(alarm.id));

    alarmOutput({ "dismiss" });

    const auto registered = session.alarms();
    ASSERT_THAT(registered, SizeIs(1));
    EXPECT_EQ(alarm.hour, registered[0].hour);
    EXPECT_EQ(alarm.min, registered[0].minute);
    EXPECT_EQ(0, registered[0].second);
    EXPECT_EQ(127, registered[0].weekFlag);
    EXPECT_EQ("1 0 " + std::to_string(registered[0].id),
        store->query("SELECT enable, count, alarm_mgr_id FROM alarm"));
}

TEST_F(AlarmAlertTest, WeeklyAlarmOfThePhoneThatIsAnsweredIsNoChangeForThePhone)
{
    session.setKey("db/wms/host_status/vendor", std::string("velmora"));
    const char* const told
        = "SELECT isNeedToSync, mobileModifiedTime, mobileAlertTime FROM alarm WHERE id = ?";
    for (const char* answer : { "snooze", "dismiss" }) {
        const AlarmDbData alarm = setAlarm(secondAfter(1000), kEveryDay);
        const std::string id = std::to_string(alarm.id);
        store->query("UPDATE alarm SET deviceType = 1, mobileModifiedTime = 5 WHERE id = ?", id);
        ASSERT_TRUE(waitUntilRinging(alarm.id));

        alarmOutput({ answer });

        EXPECT_EQ("0 5 0", store->query(told, id)) << answer;
        EXPECT_TRUE(registration(alarm.id)) << answer;
    }
}

TEST_F(AlarmAlertTest, SnoozesAreLimited)
{
    const AlarmDbData alarm = setAlarm(secondAfter(1000), kEveryDay, 3);
    ASSERT_TRUE(waitUntilRinging(alarm.id));
    const std::string version = store->version();

    expectRefused("snooze", "alarm 1 has been snoozed 3 times, which is all it can be");

    EXPECT_EQ(alarm.id, ringing());
    EXPECT_EQ(version, store->version());
}

TEST_F(AlarmAlertTest, AlarmThatCannotBeSnoozedGoesOnRinging)
{
    alarmOutput({ "add", "--in", "1s", "--snooze", "0" });
    ASSERT_TRUE(waitUntilRinging(1));

    expectRefused("snooze", "alarm 1 is set so that it cannot be snoozed");

    EXPECT_EQ(1, ringing());
    EXPECT_TRUE(alertRuns());
}

TEST_F(AlarmAlertTest, NothingRingsToAnswer)
{
    expectRefused("snooze", "nothing is ringing");
    expectRefused("dismiss", "nothing is ringing");
    EXPECT_TRUE(waitUntilAlertEnds());
}

TEST_F(AlarmAlertTest, NewestOfSeveralIsAnsweredFirst)
{
    alarmOutput({ "add", "--in", "1s" });
    ASSERT_TRUE(waitUntilRinging(1));
    alarmOutput({ "add", "--in", "1s" });
    ASSERT_TRUE(waitUntilRinging(2));

    EXPECT_EQ("alarm 2 dismissed\n", alarmOutput({ "dismiss" }));
    EXPECT_EQ(1, ringing());
    EXPECT_EQ("alarm 1 dismissed\n", alarmOutput({ "dismiss" }));
    EXPECT_EQ(-1, ringing());
}

TEST_F(AlarmAlertTest, EachThatRingsIsShownAsRingingAndNoOther)
{
    alarmOutput({ "add", "--in", "2h" });
    store->query("UPDATE alarm SET stime = stime - 24 * 60 * 60");
    alarmOutput({ "add", "--in", "1s" });
    ASSERT_TRUE(waitUntilRinging(2));
    alarmOutput({ "add", "--in", "1s" });
    ASSERT_TRUE(waitUntilRinging(3));

    const auto stateOf = [this](const char* id) {
        return member(alarmOutput({ "show", id, "--json" }), "$.state");
    };
    EXPECT_EQ("on", stateOf("1"));
    EXPECT_EQ("ringing", stateOf("2"));
    EXPECT_EQ("ringing", stateOf("3"));
    alarmOutput({ "off", "2" });
    ASSERT_TRUE(session.waitFor(
        [this] { return session.preference("alarmRinging2") == host::SettingValue(-1); }));
    alarmOutput({ "dismiss" });
    EXPECT_EQ("on", stateOf("1"));
    EXPECT_TRUE(waitUntilAlertEnds());
}

TEST_F(AlarmAlertTest, AllThatAKilledAlertLeftRingingCanBeAnswered)
{
    alarmOutput({ "add", "--in", "1s" });
    ASSERT_TRUE(waitUntilRinging(1));
    alarmOutput({ "add", "--in", "1s" });
    ASSERT_TRUE(waitUntilRinging(2));
    kill(session.pidOf("com.velmora.alarm-alert"), SIGKILL);
    ASSERT_TRUE(waitUntilAlertEnds());

    EXPECT_EQ("alarm 2 dismissed\n", alarmOutput({ "dismiss" }));
    EXPECT_EQ("alarm 1 dismissed\n", alarmOutput({ "dismiss" }));
    EXPECT_TRUE(waitUntilRinging(-1));
}

TEST_F(AlarmAlertTest, AlarmSwitchedOffWhileRingingIsOver)
{
    alarmOutput({ "add", "--in", "1s" });
    ASSERT_TRUE(waitUntilRinging(1));

    alarmOutput({ "off", "1" });

    EXPECT_TRUE(waitUntilRinging(-1));
    EXPECT_TRUE(waitUntilAlertEnds());
}

TEST_F(AlarmAlertTest, AlarmSwitchedOffWhileRingingIsOverThoughOnlyWidgetsAreTold)
{
    alarmOutput({ "add", "--in", "1s" });
    ASSERT_TRUE(waitUntilRinging(1));

    AlarmDbData alarm = storedAlarm(1);
    alarm.enable = 0;
    AlarmDbModel().updateAlarmData(alarm, false, true, false, false);

    EXPECT_TRUE(waitUntilRinging(-1));
    EXPECT_TRUE(waitUntilAlertEnds());
}

TEST_F(AlarmAlertTest, AlarmRenamedWhileRingingRingsOn)
{
    alarmOutput({ "add", "--in", "1s" });
    const std::string timing
        = "SELECT hour, min, stime, count, repeat_weekly, alarm_mgr_id FROM alarm";
    const std::string before = store->query(timing);
    ASSERT_TRUE(waitUntilRinging(1));

    EXPECT_EQ("alarm 1 is ringing\n", alarmOutput({ "edit", "1", "--name", "New" }));

    EXPECT_EQ("New", store->query("SELECT name FROM alarm"));
    EXPECT_EQ(before, store->query(timing));
    EXPECT_THAT(session.alarms(), SizeIs(1));
    EXPECT_EQ("alarm 1 dismissed\n", alarmOutput({ "dismiss" }));
}

TEST_F(AlarmAlertTest, IsAnsweredInAFloodOfChanges)
{
    const char* const package = "com.velmora.alarm";
    const auto written = [this] { return session.preference("flood"); };
    const AlarmDbData alarm = setAlarm(secondAfter(1000));
    ASSERT_TRUE(waitUntilRinging(alarm.id));
    const BackgroundCommand flood({ HOST_PROBE, "flood", package, ".alarmDbChanged", "flood" });
    ASSERT_TRUE(session.waitFor([&] { return written().has_value(); }));

    EXPECT_EQ("alarm 1 dismissed\n", alarmOutput({ "dismiss" }));

    EXPECT_EQ(-1, ringing());
    const auto then = written();
    EXPECT_TRUE(session.waitFor([&] { return written() != then; })) << "the flood has ended";
    EXPECT_TRUE(waitUntilAlertEnds());
}

TEST_F(AlarmAlertTest, RegistrationWithoutARowDoesNotRing)
{
    AlarmDbData alarm = setAlarm(secondAfter(1000), kEveryDay);
    AlarmDbModel().removeAlarmData(alarm, false, false, false, false);

    EXPECT_TRUE(waitForLog("no alarm for the registration " + std::to_string(alarm.alarm_mgr_id)));
    EXPECT_EQ(-1, ringing());
    EXPECT_TRUE(waitUntilAlertEnds());
}

TEST_F(AlarmAlertTest, AlarmMarkedAsOffInTheStoreDoesNotRing)
{
    const AlarmDbData alarm = setAlarm(secondAfter(1000), kEveryDay);
    AlarmDbModel().updateAlarmDataStatus(alarm.id, 0, false, false);

    EXPECT_TRUE(waitForLog("alarm 1 is off"));
    EXPECT_EQ(-1, ringing());
    EXPECT_TRUE(waitUntilAlertEnds());
}

TEST_F(AlarmAlertTest, WatchPrintsWhatRingsAsJsonLines)
{
    BackgroundCommand watch({ "alarm", "watch", "--json" });
    const auto waitForText = [this, &watch](const std::string& text) {
        return session.waitFor([&] { return watch.output().find(text) != std::string::npos; });
    };
    ASSERT_TRUE(waitForText("{\"event\":\"watching\",\"alarms\":0}\n"));
    alarmOutput({ "add", "--in", "1s", "--name", "\"now\"" });

    EXPECT_TRUE(waitForText("{\"event\":\"ringing\",\"alarm\":{\"id\":1,"));
    alarmOutput({ "dismiss" });
    EXPECT_TRUE(waitForText("{\"event\":\"quiet\",\"alarm\":null}\n"));

    watch.signal(SIGINT);
    const CommandResult result = watch.finish();
    EXPECT_EQ("1",
        store->query("SELECT min(json_valid(value)) FROM"
                     " json_each('[' || replace(trim(?1, char(10)), char(10), ',') || ']')",
            result.out));
}

TEST_F(AlarmAlertTest, WatchTellsOfChangesWhenTheAlarmsCanBeReadAgain)
{
    alarmOutput({ "add", "07:30", "--days", "daily", "--off" });
    BackgroundCommand watch({ "alarm", "watch" });
    const auto hasLine = [this, &watch](const std::string& line) {
        return session.waitFor([&] { return watch.output().find(line) != std::string::npos; });
    };
    ASSERT_TRUE(hasLine("watching  1 alarms\n"));
    store->query("BEGIN EXCLUSIVE");
    store->query("UPDATE alarm SET name = 'New'");
    preference_set_int(".alarmDbChanged", 2);
    // Longer than a reader waits.
    (void)session.waitFor([] { return false; }, 3);
    EXPECT_EQ("watching  1 alarms\n", watch.output());
    store->query("COMMIT");

    EXPECT_TRUE(hasLine("changed   1  07:30  daily  off  New\n"));
    EXPECT_EQ("watching  1 alarms\nchanged   1  07:30  daily  off  New\n", watch.output());
}
