#include "common/AlarmSave.h"

#include "CommandStory.h"
#include "common/AlarmList.h"
#include "common/AlarmTime.h"
#include "common/StoreFile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <deque>
#include <functional>
#include <string>
#include <vector>

using testing::IsEmpty;
using testing::SizeIs;

class AlarmSaveTest : public CommandStory {
protected:
    using Commands = std::deque<BackgroundCommand>;

    static void start(Commands& commands, std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "alarm");
        commands.emplace_back(arguments);
    }

    static void expectAllDone(Commands& commands)
    {
        for (BackgroundCommand& command : commands) {
            const CommandResult result = command.finish();
            EXPECT_EQ(0, result.status) << result.err;
        }
    }

    /// Ends the alarm service, and lets none be started.
    void loseDaemon()
    {
        session.installApplication("com.velmora.host", "/bin/false");
        session.killDaemon();
    }

    /// An alarm of the phone, changed last at the time, which the phone knows.
    void addPhoneAlarm(unsigned long long modified)
    {
        alarmOutput({ "add", "07:30", "--days", "daily", "--name", "Work", "--off" });
        store->query("UPDATE alarm SET deviceType = 1, uuid = 'work', mobileCreateTime = 4,"
                     " mobileAlertTime = 6, mobileModifiedTime = ?",
            std::to_string(modified));
    }

    std::string syncState()
    {
        return store->query("SELECT isNeedToSync, isDeleted, mobileModifiedTime FROM alarm");
    }

    /// Every enabled row has its own registration, and there is no other.
    void expectRowsAndRegistrationsMatch()
    {
        std::string ids;
        std::vector<int> sorted;
        for (const auto& alarm : session.alarms())
            sorted.push_back(alarm.id);
        std::sort(sorted.begin(), sorted.end());
        for (const int id : sorted)
            ids += (ids.empty() ? "" : ",") + std::to_string(id);
        EXPECT_EQ(ids,
            store->query("SELECT alarm_mgr_id FROM alarm WHERE enable = 1 ORDER BY alarm_mgr_id"));
    }
};

TEST_F(AlarmSaveTest, NoneOfManyIsLostWhileTheFileIsMade)
{
    store.reset();
    ASSERT_EQ(0, remove(storePath().c_str()));
    Commands commands;
    for (int i = 0; i < 16; ++i)
        start(commands, { "add", "07:30", "--name", std::to_string(i) });
    expectAllDone(commands);

    store = std::make_unique<StoreView>();
    EXPECT_EQ("16 16 16",
        store->query("SELECT count(*), count(DISTINCT name), count(DISTINCT mtime) FROM alarm"));
    expectRowsAndRegistrationsMatch();
}

TEST_F(AlarmSaveTest, ChangesAtTheSameTimeDoNotUndoEachOther)
{
    for (int i = 0; i < 4; ++i)
        alarmOutput({ "add", "07:30", "--days", "daily" });
    Commands commands;
    for (int i = 1; i <= 3; ++i) {
        start(commands, { "edit", std::to_string(i), "--name", "new" });
        start(commands, { "edit", std::to_string(i), "08:45" });
        start(commands, { "edit", std::to_string(i), "--volume", "3" });
    }
    start(commands, { "remove", "4" });
    expectAllDone(commands);

    EXPECT_EQ("new 8 45 3,new 8 45 3,new 8 45 3",
        store->query("SELECT name, hour, min, volume FROM alarm"));
    expectRowsAndRegistrationsMatch();
}

// A registration made then would mean the same second of another day. time() does not know it yet
// when the second has just begun.
TEST_F(AlarmSaveTest, InstantThatComesBeforeItIsRegisteredIsMadeAnew)
{
    int edits = 0;
    AlarmDbData alarm;
    alarm.enable = 1;
    const app::Saved saved = app::addAlarm(alarm, [&edits](AlarmDbData& made, time_t now) {
        const timespec instant = { now + (edits == 0 ? 1 : 60), 0 };
        const app::WallTime time = app::wallTime(instant.tv_sec);
        made.stime = static_cast<int>(instant.tv_sec);
        made.hour = time.hour;
        made.min = time.minute;
        made.repeatWeekly = app::weekdayBit(instant.tv_sec);
        if (edits++ == 0)
            clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &instant, nullptr);
        return true;
    });

    EXPECT_EQ(app::Saved::Yes, saved);
    EXPECT_EQ(2, edits);
    ASSERT_THAT(session.alarms(), SizeIs(1));
    EXPECT_EQ(alarm.stime, session.alarms()[0].next);
}

TEST_F(AlarmSaveTest, SaveWaitsForAnotherWriter)
{
    store->query("BEGIN IMMEDIATE");
    Commands commands;
    start(commands, { "add", "07:30" });
    // The alarm is registered, so what is left is to store it.
    ASSERT_TRUE(session.waitFor([this] { return session.alarms().size() == 1; }));
    store->query("COMMIT");
    expectAllDone(commands);

    EXPECT_EQ("1", store->query("SELECT count(*) FROM alarm"));
    expectRowsAndRegistrationsMatch();
}

TEST_F(AlarmSaveTest, GivingUpTakesTheRegistrationBack)
{
    store->query("CREATE TRIGGER refuse BEFORE INSERT ON alarm BEGIN SELECT RAISE(ABORT, ''); END");

    const CommandResult result = alarm({ "add", "07:30" });

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("alarm: the alarm could not be stored\n", result.err);
    EXPECT_EQ("0", store->query("SELECT count(*) FROM alarm"));
    EXPECT_THAT(session.alarms(), IsEmpty());
}

TEST_F(AlarmSaveTest, GivingUpAChangeLeavesTheAlarmAsItWas)
{
    alarmOutput({ "add", "07:30", "--days", "daily" });
    store->query("CREATE TRIGGER refuse BEFORE UPDATE ON alarm BEGIN SELECT RAISE(ABORT, ''); END");

    const CommandResult result = alarm({ "edit", "1", "09:00" });

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("alarm: the alarm could not be stored\n", result.err);
    ASSERT_THAT(session.alarms(), SizeIs(1));
    EXPECT_EQ(7, session.alarms()[0].hour);
    EXPECT_EQ("7", store->query("SELECT hour FROM alarm"));
    expectRowsAndRegistrationsMatch();
}

TEST_F(AlarmSaveTest, AlarmThatStaysIsStillRegistered)
{
    alarmOutput({ "add", "07:30", "--days", "daily" });
    store->query("CREATE TRIGGER refuse BEFORE DELETE ON alarm BEGIN SELECT RAISE(ABORT, ''); END");

    const CommandResult result = alarm({ "remove", "1" });

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("alarm: the alarm could not be removed\n", result.err);
    expectRowsAndRegistrationsMatch();
}

TEST_F(AlarmSaveTest, RegistrationThatCannotBeTakenBackIsTold)
{
    store->query("CREATE TRIGGER refuse BEFORE INSERT ON alarm BEGIN SELECT RAISE(ABORT, ''); END");
    BackgroundCommand add({ "alarm", "add", "07:30" });
    ASSERT_TRUE(session.waitFor([this] { return session.alarms().size() == 1; }));

    loseDaemon();

    const CommandResult result = add.finish();
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(
        "alarm: the alarm could not be stored, nor its registration be taken back\n", result.err);
}

TEST_F(AlarmSaveTest, RegistrationThatOutlivesItsAlarmIsLogged)
{
    alarmOutput({ "add", "07:30" });
    const std::string registration = store->query("SELECT alarm_mgr_id FROM alarm");
    loseDaemon();

    const CommandResult result = runCommand({ "env", "ALARM_HOST_LOG=E", "alarm", "remove", "1" });

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("alarm 1 removed\n", result.out);
    EXPECT_THAT(result.err,
        testing::HasSubstr("the registration " + registration + " could not be taken back: error"));
}

TEST_F(AlarmSaveTest, ChangeThatThePhoneDoesNotSeeIsNotForIt)
{
    addPhoneAlarm(5);

    alarmOutput({ "edit", "1", "--volume", "3", "--snooze", "0", "07:30" });

    EXPECT_EQ("3 0", store->query("SELECT volume, snooze_enable FROM alarm"));
    EXPECT_EQ("0 4 5 6",
        store->query("SELECT isNeedToSync, mobileCreateTime, mobileModifiedTime, mobileAlertTime"
                     " FROM alarm"));
}

TEST_F(AlarmSaveTest, ChangeThatThePhoneDoesNotSeeLeavesAnEarlierOneAsItWas)
{
    addPhoneAlarm(5);
    alarmOutput({ "edit", "1", "--name", "Early" });
    const std::string before = syncState();
    EXPECT_THAT(before, testing::StartsWith("1 0 "));

    alarmOutput({ "edit", "1", "--volume", "3" });

    EXPECT_EQ(before, syncState());
}

TEST_F(AlarmSaveTest, EachChangeThatThePhoneSeesIsForIt)
{
    const std::vector<std::vector<std::string>> changes
        = { { "edit", "1", "08:30" }, { "edit", "1", "08:31" }, { "edit", "1", "--name", "Early" },
              { "edit", "1", "--days", "sat" }, { "edit", "1", "--days", "once" }, { "on", "1" },
              { "off", "1" }, { "edit", "1", "--in", "50h" } };
    addPhoneAlarm(5);
    for (const auto& change : changes) {
        store->query("UPDATE alarm SET isNeedToSync = 0, mobileModifiedTime = 5");
        alarmOutput(change);
        EXPECT_EQ("1 1 1",
            store->query("SELECT isNeedToSync, mobileModifiedTime > 1000000000000,"
                         " mobileAlertTime = stime * 1000 FROM alarm"))
            << change.back();
    }
}

TEST_F(AlarmSaveTest, OneShotOfAnotherDayIsNewToThePhone)
{
    addPhoneAlarm(5);
    store->query("UPDATE alarm SET repeat_once = 1");
    alarmOutput({ "edit", "1", "--in", "24h" });
    store->query("UPDATE alarm SET isNeedToSync = 0, stime = stime + 24 * 60 * 60");

    alarmOutput({ "edit", "1", "--in", "24h" });

    EXPECT_EQ("1", store->query("SELECT isNeedToSync FROM alarm"));
}

// The clock was set back since.
TEST_F(AlarmSaveTest, ChangeIsLaterThanWhatItChanges)
{
    const unsigned long long future = 9000000000000;
    addPhoneAlarm(future);

    alarmOutput({ "edit", "1", "--name", "Early" });
    EXPECT_EQ("1 0 9000000000001", syncState());
    alarmOutput({ "remove", "1" });
    EXPECT_EQ("1 1 9000000000002", syncState());
}

TEST_F(AlarmSaveTest, RemovalOfAPhoneAlarmHasATimeOfItsOwn)
{
    addPhoneAlarm(5);

    alarmOutput({ "remove", "1" });

    EXPECT_EQ("1 1 1 4 6",
        store->query("SELECT isNeedToSync, isDeleted, mobileModifiedTime > 1000000000000,"
                     " mobileCreateTime, mobileAlertTime FROM alarm"));
}

TEST_F(AlarmSaveTest, ChangeOfAPhoneAlarmWhoseTimeIsLostIsNotDone)
{
    addPhoneAlarm(9000000000000);
    store->query("CREATE TRIGGER lose BEFORE UPDATE OF mobileModifiedTime ON alarm"
                 " BEGIN SELECT RAISE(IGNORE); END");

    const CommandResult edit = alarm({ "edit", "1", "--name", "Early" });
    EXPECT_EQ(1, edit.status);
    EXPECT_EQ("alarm: the alarm could not be stored\n", edit.err);
    const CommandResult removal = alarm({ "remove", "1" });
    EXPECT_EQ(1, removal.status);
    EXPECT_EQ("alarm: the alarm could not be removed\n", removal.err);
}

TEST_F(AlarmSaveTest, ModificationTimeAtTheEndOfTheRangeIsNotFollowed)
{
    alarmOutput({ "add", "07:30", "--off" });
    alarmOutput({ "add", "07:30", "--off" });
    store->query("UPDATE alarm SET mtime = 2147483645 + id");

    const time_t now = time(nullptr);
    alarmOutput({ "add", "07:30", "--off" });
    alarmOutput({ "edit", "2", "--name", "again" });

    EXPECT_EQ("2147483646", store->query("SELECT mtime FROM alarm WHERE id = 1"));
    EXPECT_EQ("2 2",
        store->query("SELECT count(*), count(DISTINCT mtime) FROM alarm WHERE mtime BETWEEN "
            + std::to_string(now) + " AND " + std::to_string(now + 60)));
}

TEST_F(AlarmSaveTest, ModificationTimesOfStoredAlarmsArePassedOver)
{
    alarmOutput({ "add", "07:30", "--off" });
    alarmOutput({ "add", "07:30", "--off" });
    const time_t now = time(nullptr) + 2;
    store->query("UPDATE alarm SET mtime = id + " + std::to_string(now));
    for (int i = 0; i < 4; ++i)
        alarmOutput({ "add", "07:30", "--off" });

    EXPECT_EQ("6", store->query("SELECT count(DISTINCT mtime) FROM alarm"));
}

TEST_F(AlarmSaveTest, LockedStoreIsNoEmptyList)
{
    alarmOutput({ "add", "07:30" });
    store->query("BEGIN EXCLUSIVE");

    const CommandResult result = alarm({ "list" });

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("alarm: the alarms cannot be read: database is locked\n", result.err);
}

namespace {

std::function<void()> whenStoreIsOpened;

int noteConnection(sqlite3* connection, char**, const void*)
{
    const char* const path = sqlite3_db_filename(connection, nullptr);
    if (whenStoreIsOpened && path && strstr(path, "/.alarm.db"))
        whenStoreIsOpened();
    return sqlite3_busy_timeout(connection, 0); // no wait
}

bool ringDaily(AlarmDbData& alarm, time_t now)
{
    alarm.enable = 1;
    alarm.hour = (app::wallTime(now).hour + 2) % 24;
    alarm.repeat_once = 0;
    alarm.repeatWeekly = kEveryDay;
    app::setNextRing(alarm, now);
    return true;
}

} // namespace

// Saves and reads of this process, which another one keeps from the file in between.
class UnreadableSaveTest : public AlarmSaveTest {
protected:
    UnreadableSaveTest()
    {
        app::waitOnBusyStore();
        AlarmDbModel::_maxRetryTimeout = AlarmDbModel::_initialRetryTimeout; // nor here
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(noteConnection));
    }

    ~UnreadableSaveTest() override
    {
        whenStoreIsOpened = nullptr;
        sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(noteConnection));
    }

    /// Takes the file from the first who opens it after the query has rows, until so many have.
    void holdStoreAfter(const std::string& query, int visitors)
    {
        whenStoreIsOpened = [this, query, visitors, come = 0]() mutable {
            if (come == 0 && store->query(query).empty())
                return;
            ++come;
            if (come == 1)
                store->query("BEGIN EXCLUSIVE");
            if (come == visitors)
                releaseStore();
        };
    }

    void releaseStore()
    {
        whenStoreIsOpened = nullptr;
        store->query("COMMIT");
    }
};

TEST_F(UnreadableSaveTest, AlarmIsNotStoredTwice)
{
    AlarmDbData alarm;
    holdStoreAfter("SELECT 1 FROM alarm", 3);

    EXPECT_EQ(app::Saved::Yes, app::addAlarm(alarm, ringDaily));

    EXPECT_EQ("1", store->query("SELECT id FROM alarm"));
    expectRowsAndRegistrationsMatch();
}

TEST_F(UnreadableSaveTest, AlarmThatMayBeStoredKeepsItsRegistration)
{
    AlarmDbData alarm;
    holdStoreAfter("SELECT 1 FROM alarm", 1000);

    const app::Saved saved = app::addAlarm(alarm, ringDaily);
    releaseStore();

    EXPECT_EQ(app::Saved::Unknown, saved);
    EXPECT_STREQ("the store cannot be read back, so it is not known whether that is saved",
        app::textOf(saved));
    EXPECT_EQ("1", store->query("SELECT id FROM alarm"));
    expectRowsAndRegistrationsMatch();
}

TEST_F(UnreadableSaveTest, AlarmThatMayBeChangedKeepsBothRegistrations)
{
    alarmOutput({ "add", "--in", "1h" });
    AlarmDbData alarm;
    holdStoreAfter("SELECT 1 FROM alarm WHERE repeat_once = 0", 1000);

    const app::Saved saved = app::changeAlarm(1, ringDaily, alarm);
    releaseStore();

    EXPECT_EQ(app::Saved::Unknown, saved);
    EXPECT_THAT(session.alarms(), SizeIs(2));
    EXPECT_EQ(std::to_string(alarm.alarm_mgr_id), store->query("SELECT alarm_mgr_id FROM alarm"));
}

TEST_F(UnreadableSaveTest, AlarmThatMayBeRemovedIsNotCalledRemoved)
{
    alarmOutput({ "add", "--in", "1h" });
    AlarmDbData alarm;
    holdStoreAfter("SELECT 1 WHERE NOT EXISTS (SELECT 1 FROM alarm)", 1000);

    const app::Saved saved = app::removeAlarm(1, alarm);
    releaseStore();

    EXPECT_EQ(app::Saved::Unknown, saved);
    EXPECT_EQ("", store->query("SELECT id FROM alarm"));
}

// Nothing was stored then, so nothing has to be read.
TEST_F(UnreadableSaveTest, AlarmThatWasNotStoredIsTakenBack)
{
    AlarmDbData alarm;
    holdStoreAfter("SELECT 1", 1000);

    const app::Saved saved = app::addAlarm(alarm, ringDaily);
    releaseStore();

    EXPECT_EQ(app::Saved::NotStored, saved);
    EXPECT_EQ("", store->query("SELECT id FROM alarm"));
    EXPECT_THAT(session.alarms(), IsEmpty());
}

TEST_F(UnreadableSaveTest, ListThatCannotBeReadIsNoEmptyOne)
{
    alarmOutput({ "add", "07:30", "--off" });
    EXPECT_THAT(app::allAlarms(), testing::Optional(SizeIs(1)));

    int visitors = 0;
    whenStoreIsOpened = [&] {
        // The first finds that nothing is wrong.
        if (++visitors == 2)
            store->query("BEGIN EXCLUSIVE");
    };
    EXPECT_FALSE(app::allAlarms());
    EXPECT_GE(visitors, 2);
    releaseStore();
}
