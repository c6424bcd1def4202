#include "PhonePeer.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

namespace {

// As in a message, of an alarm that rings once.
std::string repeatOf(const PhoneAlarm& alarm)
{
    const time_t instant = alarm.alert / 1000;
    tm local = {};
    localtime_r(&instant, &local);
    return std::to_string(1 + (0x10000000 >> 4 * local.tm_wday));
}

/// The session's settings and preferences, seen with a connection of its own.
class Settings {
public:
    Settings()
    {
        const char* const home = getenv("ALARM_HOST_HOME");
        const std::string path = std::string(home ? home : "") + "/settings.db";
        EXPECT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &_store));
        sqlite3_busy_timeout(_store, 5000);
    }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;
    ~Settings() { sqlite3_close(_store); }

    void run(const char* statement) const
    {
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(_store, statement, nullptr, nullptr, nullptr))
            << sqlite3_errmsg(_store);
    }

private:
    sqlite3* _store = nullptr;
};

} // namespace

// What the phone sends, in the store and with the alarm service, and what becomes of it when one of
// the two, or the service itself, fails.
class PhoneMirrorTest : public PhonePeer {
protected:
    /// Every row that is on has its registration, and there is no other.
    void expectRowsAndRegistrationsMatch()
    {
        std::vector<int> ids;
        for (const HostSession::Alarm& alarm : session.alarms())
            ids.push_back(alarm.id);
        std::sort(ids.begin(), ids.end());
        std::string all;
        for (const int id : ids)
            all += (all.empty() ? "" : ",") + std::to_string(id);
        EXPECT_EQ(all,
            store->query("SELECT alarm_mgr_id FROM alarm WHERE enable = 1 ORDER BY alarm_mgr_id"));
    }

    /// A write of that kind fails: ABORT, alone; ROLLBACK, with those before it, as on a full disk.
    void refuseWrites(
        const std::string& kind, const std::string& when, const std::string& how = "ABORT")
    {
        store->query("CREATE TRIGGER refuse BEFORE " + kind + " ON alarm WHEN " + when
            + " BEGIN SELECT RAISE(" + how + ", ''); END");
    }

    /// What the watch tells the phone of its one alarm after the command.
    std::string toldAfter(const std::vector<std::string>& command)
    {
        alarmOutput(command);
        std::string told = receive();
        EXPECT_EQ("alarm-watch-update-ind", member(told, "$.msgId"));
        sendAnswer("watch-update-ack", std::stoi(member(told, "$.number")), 1);
        expectSilence();
        return told;
    }

    /// The instant that a command's JSON text names.
    std::string nextOf(const std::vector<std::string>& command, const std::string& path)
    {
        return store->query(
            "SELECT strftime('%s', json_extract(?, '" + path + "'))", alarmOutput(command));
    }

    /// The update that was lost comes with a list that is asked for.
    void expectMadeGood();

    /// A list of which one alarm cannot be stored comes twice, the second time to a store that can.
    void sendListTwice(const std::string& how);
};

TEST_F(PhoneMirrorTest, UpdateThatCannotBeStoredIsNotAcknowledged)
{
    meet(1, { kWork });
    {
        const HiddenStore hidden;
        sendUpdate(2, kLate);
        ASSERT_TRUE(waitForLog("what the phone sent could not be stored"));
    }
    expectMadeGood();
}

void PhoneMirrorTest::expectMadeGood()
{
    connect();
    sayHello("sequence-req", 2);
    EXPECT_EQ("sequence-rsp 1", receiveKind());
    EXPECT_EQ("list-req 1", receiveKind());
    sendList(1, 2, { kWork, kLate });

    expectSilence();
    EXPECT_EQ("Late u2 900,Work u1 730", stored());
}

void PhoneMirrorTest::sendListTwice(const std::string& how)
{
    meet(1, { kWork });
    refuseWrites("INSERT", "NEW.uuid = 'u5'", how);
    std::vector<PhoneAlarm> alarms = { changed(kWork, 800, 2) };
    for (int i = 3; i < 8; ++i)
        alarms.push_back({ "u" + std::to_string(i), "New", 900 + i });
    sendUpdate(3, kLate);
    EXPECT_EQ("mobile-update-ack 1", receiveKind());
    EXPECT_EQ("list-req 2", receiveKind());

    sendList(2, 3, alarms);
    ASSERT_TRUE(waitForLog("what the phone sent could not be stored"));
    expectRowsAndRegistrationsMatch();
    store->query("DROP TRIGGER refuse");
    connect();
    sayHello("sequence-req", 3);
    EXPECT_EQ("sequence-rsp 1", receiveKind());
    EXPECT_EQ("list-req 1", receiveKind());
    sendList(1, 3, alarms);

    expectSilence();
    EXPECT_EQ("6", store->query("SELECT count(*) FROM alarm"));
    expectRowsAndRegistrationsMatch();
}

TEST_F(PhoneMirrorTest, ListOfWhichOneWriteFailsLeavesNoRegistrationWithoutItsRow)
{
    sendListTwice("ABORT");
}

TEST_F(PhoneMirrorTest, ListThatFillsTheDiskLeavesNoRegistrationWithoutItsRow)
{
    sendListTwice("ROLLBACK");
}

TEST_F(PhoneMirrorTest, AlarmWhoseChangeCannotBeStoredRingsAsBefore)
{
    meet(1, { kWork });
    refuseWrites("UPDATE", "true");

    sendUpdate(2, changed(kWork, 800, 2));

    ASSERT_TRUE(waitForLog("what the phone sent could not be stored"));
    EXPECT_EQ("Work u1 730", stored());
    ASSERT_EQ(1U, session.alarms().size());
    EXPECT_EQ(7, session.alarms()[0].hour);
    expectRowsAndRegistrationsMatch();
}

TEST_F(PhoneMirrorTest, AlarmThatCannotBeRemovedStaysRegistered)
{
    meet(1, { kWork });
    refuseWrites("DELETE", "true");
    connect();

    sayHello("sequence-req", 1, 2); // another phone

    ASSERT_TRUE(waitForLog("what the phone sent could not be stored"));
    EXPECT_EQ("Work u1 730", stored());
    expectRowsAndRegistrationsMatch();
}

TEST_F(PhoneMirrorTest, NoteThatCannotBeReadDropsNoAlarm)
{
    meet(1, { kWork });
    Settings().run("UPDATE setting SET type = 'str', value = 'x' WHERE key = 'phonePairing'");
    connect();

    sayHello("sequence-req", 1);

    ASSERT_TRUE(waitForLog("phonePairing cannot be read"));
    EXPECT_EQ("Work u1 730", stored());
    Settings().run("UPDATE setting SET type = 'int', value = 1 WHERE key = 'phonePairing'");
    connect();
    sayHello("sequence-req", 1);
    EXPECT_EQ("sequence-rsp 1", receiveKind());
}

TEST_F(PhoneMirrorTest, UpdateThatCannotBeNotedIsNotAcknowledged)
{
    meet(1, { kWork });
    Settings().run("CREATE TRIGGER refuse BEFORE INSERT ON setting WHEN NEW.key = 'phoneSequence'"
                   " BEGIN SELECT RAISE(ABORT, ''); END");

    sendUpdate(2, kLate);

    ASSERT_TRUE(waitForLog("phoneSequence cannot be noted"));
    Settings().run("DROP TRIGGER refuse");
    connect();
    sayHello("sequence-req", 2);
    EXPECT_EQ("sequence-rsp 1", receiveKind()) << "and nothing before";
}

TEST_F(PhoneMirrorTest, OneShotOfALaterWeekWaitsForItsDay)
{
    PhoneAlarm later = oneShotIn(8 * kDay);
    meet(1, { kWork, later });
    EXPECT_EQ("1 -1", rowOf(later.title, "enable, alarm_mgr_id"));
    EXPECT_EQ(1U, session.alarms().size());

    // As if days had passed: the service looks again, here because something else changes.
    const time_t instant = time(nullptr) + 5 * kDay;
    store->query("UPDATE alarm SET mobileAlertTime = " + std::to_string(instant)
        + "000, hour = strftime('%H', " + std::to_string(instant)
        + ", 'unixepoch', 'localtime'), min = strftime('%M', " + std::to_string(instant)
        + ", 'unixepoch', 'localtime') WHERE name = 'Once'");
    alarmOutput({ "off", std::to_string(idOf("Work")) });

    ASSERT_TRUE(session.waitFor([this, instant] {
        const auto alarms = session.alarms();
        return alarms.size() == 1 && alarms[0].next == instant;
    }));
    EXPECT_EQ("0", rowOf(later.title, "isNeedToSync"));
}

TEST_F(PhoneMirrorTest, OneShotRingsOnTheDayOfItsInstant)
{
    const PhoneAlarm later = oneShotIn(3 * kDay);
    meet(1, { later });
    ASSERT_EQ(1U, session.alarms().size());
    EXPECT_EQ(later.alert / 1000, session.alarms()[0].next);
}

TEST_F(PhoneMirrorTest, OneShotWhoseInstantIsOverDoesNotRingAgain)
{
    const PhoneAlarm former = oneShotIn(-3600);
    meet(1, { former });
    EXPECT_EQ("1 -1", rowOf(former.title, "enable, alarm_mgr_id"));
    EXPECT_THAT(session.logText(), testing::Not(testing::HasSubstr(": upcoming alarm ")));
    EXPECT_EQ(0U, session.alarms().size());
}

TEST_F(PhoneMirrorTest, OneShotOfALaterWeekKeepsItsDayWhenTheWatchChangesIt)
{
    const PhoneAlarm later = oneShotIn(8 * kDay);
    meet(1, { later });
    const std::string id = std::to_string(idOf("Once"));
    const std::string instant = std::to_string(later.alert / 1000);
    const std::vector<std::string> commands[] = { { "edit", id, "--name", "Other" }, { "off", id },
        { "on", id }, { "edit", id, "--off" }, { "on", id } };
    for (const auto& command : commands) {
        const std::string told = toldAfter(command);
        EXPECT_EQ(std::to_string(later.alert), member(told, "$.list[0].alerttime"));
        EXPECT_EQ(repeatOf(later), member(told, "$.list[0].repeat_type"));
        EXPECT_EQ(instant, rowOf("Other", "stime"));
        EXPECT_EQ(0U, session.alarms().size());
    }
    EXPECT_EQ(instant, nextOf({ "list", "--json" }, "$[0].next"));
    EXPECT_EQ(instant, nextOf({ "show", id, "--json" }, "$.next"));
    EXPECT_EQ(instant, nextOf({ "next", "--json" }, "$.next"));

    // Another time of day is another instant: the next.
    const std::string told = toldAfter({ "edit", id, "--in", "2h" });
    EXPECT_GT(later.alert - 7 * kDay * 1000, std::stoll(member(told, "$.list[0].alerttime")));
    EXPECT_EQ(1U, session.alarms().size());
}

TEST_F(PhoneMirrorTest, OneShotWhoseInstantIsOverStaysSoUntilItIsSwitchedOn)
{
    const PhoneAlarm former = oneShotIn(-3600);
    meet(1, { former });
    const std::string id = std::to_string(idOf("Once"));
    EXPECT_EQ("alarm " + id + " is on, but stays silent: its time is over\n",
        alarmOutput({ "edit", id, "--volume", "3" }));
    EXPECT_THAT(alarmOutput({ "show", id }), testing::HasSubstr("next       -\n"));
    EXPECT_EQ("no alarm will ring\n", alarmOutput({ "next" }));

    const std::vector<std::string> commands[]
        = { { "edit", id, "--name", "Other" }, { "off", id } };
    for (const auto& command : commands) {
        const std::string told = toldAfter(command);
        EXPECT_EQ(std::to_string(former.alert), member(told, "$.list[0].alerttime"));
        EXPECT_EQ(repeatOf(former), member(told, "$.list[0].repeat_type"));
        EXPECT_EQ(0U, session.alarms().size());
    }

    const std::string told = toldAfter({ "on", id });
    EXPECT_LT(time(nullptr) * 1000LL, std::stoll(member(told, "$.list[0].alerttime")));
    EXPECT_EQ(1U, session.alarms().size());
}

TEST_F(PhoneMirrorTest, SettingChangesNothingOfTheRowButItsRegistration)
{
    const char* const wish = "db/alarm/host_alarm_notification_enabled";
    meet(1, { kWork });
    disconnect();
    alarmOutput({ "edit", std::to_string(idOf("Work")), "06:00" });
    store->query("UPDATE alarm SET magic = 3, atime = 4, etime = 5, sdate = 6, edate = 7,"
                 " contextMgrId = 8, smart_alarm_enable = 1, snooze_enable = 0, volume = 9");
    const std::string row = "magic, enable, name, atime, etime, mtime, sdate, edate, hour, min,"
                            " repeat_once, repeat_weekly, snooze_enable, smart_alarm_enable, type,"
                            " tone, volume, smart_alarm_interval, deviceType, uuid,"
                            " mobileCreateTime, mobileModifiedTime, mobileAlertTime, isDeleted,"
                            " isNeedToSync, contextMgrId";
    const std::string before = rowOf("Work", row);

    session.setKey(wish, false);
    ASSERT_TRUE(session.waitFor([this] { return session.alarms().empty(); }));
    session.setKey(wish, true);
    ASSERT_TRUE(session.waitFor([this] { return session.alarms().size() == 1; }));

    EXPECT_TRUE(session.waitFor([this] { return rowOf("Work", "alarm_mgr_id > 0") == "1"; }));
    EXPECT_EQ(before, rowOf("Work", row));
    expectRowsAndRegistrationsMatch();
}

TEST_F(PhoneMirrorTest, RegistrationThatCannotBeStoredIsMadeUpFor)
{
    meet(1, { kWork });
    refuseWrites("UPDATE", "true");
    session.setKey("db/alarm/host_alarm_notification_enabled", false);
    ASSERT_TRUE(waitForLog("the phone's alarms are registered later"));
    expectRowsAndRegistrationsMatch();
    EXPECT_EQ(1U, session.alarms().size());

    store->query("DROP TRIGGER refuse");

    EXPECT_TRUE(session.waitFor([this] { return session.alarms().empty(); }));
}

TEST_F(PhoneMirrorTest, RightRegistrationsStayWhenOneIsWrong)
{
    meet(1, { kWork, kLate });
    const std::string work = rowOf("Work", "alarm_mgr_id");
    store->query("UPDATE alarm SET alarm_mgr_id = -1 WHERE name = 'Late'");
    const int lost = session.alarms().back().id;

    addAlarm({ "05:00", "--name", "Own", "--days", "daily" }); // the service looks again

    EXPECT_TRUE(session.waitFor([this] { return rowOf("Late", "alarm_mgr_id > 0") == "1"; }));
    EXPECT_EQ(work, rowOf("Work", "alarm_mgr_id"));
    EXPECT_NE(std::to_string(lost), rowOf("Late", "alarm_mgr_id"));
}

// Alarms are stored, then the number of the change is noted, then it is acknowledged.
TEST_F(PhoneMirrorTest, UpdateIsNotStoredTwiceWhenTheServiceIsKilledBeforeItAcknowledges)
{
    meet(1, { kWork });
    const Settings settings;
    settings.run("BEGIN IMMEDIATE"); // nothing can be noted
    sendUpdate(2, kLate);
    ASSERT_TRUE(session.waitFor([this] { return idOf("Late") > 0; }));
    killAndWait();
    settings.run("COMMIT");

    expectMadeGood();
    expectRowsAndRegistrationsMatch();
}

// The alert takes back what is left, when it comes due.
TEST_F(PhoneMirrorTest, KillBeforeAnAlarmIsStoredLeavesOneRegistrationWithoutARow)
{
    meet(1, { kWork });
    store->query("BEGIN");
    EXPECT_EQ("Work u1 730", stored()); // from now on nobody else can commit
    sendUpdate(2, kLate);
    ASSERT_TRUE(session.waitFor([this] { return session.alarms().size() == 2; }));
    killAndWait();
    store->query("COMMIT");
    EXPECT_EQ("Work u1 730", stored());

    expectMadeGood();
    EXPECT_EQ("2", store->query("SELECT count(DISTINCT alarm_mgr_id) FROM alarm WHERE enable = 1"));
    EXPECT_EQ(3U, session.alarms().size());
}

TEST_F(PhoneMirrorTest, TurnThatCannotBeStoredTakesItsRegistrationsBack)
{
    meet(1, { kWork });
    store->query("BEGIN");
    EXPECT_EQ("Work u1 730", stored());
    sendUpdate(2, kLate);

    EXPECT_TRUE(session.waitFor([this] { return session.alarms().size() == 2; }));
    EXPECT_TRUE(session.waitFor(
        [this] { return count(session.logText(), "what the phone sent could not be stored") == 1; },
        60));
    store->query("COMMIT");

    EXPECT_EQ("Work u1 730", stored());
    expectRowsAndRegistrationsMatch();
}

// It is written in more than one turn.
TEST_F(PhoneMirrorTest, LongListIsMirrored)
{
    const int count = 200;
    std::vector<PhoneAlarm> alarms(count);
    for (int i = 0; i < count; ++i)
        alarms[static_cast<size_t>(i)] = { "u" + std::to_string(i), "Many", i / 60 * 100 + i % 60 };

    meet(1, alarms);

    EXPECT_EQ("200 200 200",
        store->query("SELECT count(*), count(DISTINCT uuid), count(DISTINCT mtime) FROM alarm"));
    EXPECT_EQ(200U, session.alarms().size());
}
