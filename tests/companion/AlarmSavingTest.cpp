#include "AlarmSaving.h"

#include "CompanionFixture.h"

#include <AlarmReading.h>
#include <climits>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;
using companion::AlarmSaving;
using companion::Saved;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {
bool isNoteRefused = false;
} // namespace

// The linker sends the companion's writes here; SQLite's are its own.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
ssize_t __real_pwrite(int number, const void* bytes, size_t size, off_t at);

ssize_t __wrap_pwrite(int number, const void* bytes, size_t size, off_t at)
{
    return isNoteRefused ? -1 : __real_pwrite(number, bytes, size, at);
}
}
// NOLINTEND(bugprone-reserved-identifier)

class AlarmSavingTest : public CompanionFixture {
protected:
    void refuse(const std::string& when)
    {
        file.run("CREATE TRIGGER refuse BEFORE " + when
            + " ON alarm BEGIN SELECT RAISE(ABORT, 'refused'); END");
    }

    void lose(const std::string& when)
    {
        file.run(
            "CREATE TRIGGER lose BEFORE " + when + " ON alarm BEGIN SELECT RAISE(IGNORE); END");
    }

    std::string row() const
    {
        std::string text;
        const auto rows = file.rows("SELECT * FROM alarm");
        for (const auto& column : rows.at(0))
            text += column + "|";
        return text;
    }
};

TEST_F(AlarmSavingTest, AddedAlarmIsStoredRegisteredAndAnnounced)
{
    AlarmDbData alarm;
    alarm.name = "Work";

    EXPECT_EQ(Saved::Yes, companion::addAlarm(alarm, ringAt(7, 30)));

    AlarmDbData stored;
    EXPECT_EQ(companion::Found::Yes, companion::findAlarm(alarm.id, stored));
    EXPECT_EQ("Work", stored.name);
    EXPECT_EQ(kNoon + 19 * kHour + 30 * kMinute, stored.stime);
    EXPECT_EQ(4, stored.repeatWeekly) << "a Tuesday";
    EXPECT_EQ(kNoon, stored.modTime);
    EXPECT_THAT(registered(), ElementsAre(stored.alarm_mgr_id));
    EXPECT_THAT(announced(), ElementsAre(".alarmDbChanged", ".alarmDbChangedWidget"));
}

TEST_F(AlarmSavingTest, NewAlarmIsOnAndCanBeHeard)
{
    const AlarmDbData alarm = companion::newAlarm();
    EXPECT_EQ(1, alarm.enable);
    EXPECT_EQ(10, alarm.volume);
    EXPECT_EQ(-1, alarm.id);
}

TEST_F(AlarmSavingTest, ChangedAlarmIsRegisteredAnewBeforeTheFormerRegistrationGoes)
{
    const AlarmDbData before = added(ringAt(7, 30));
    std::string storedAtCancel;
    alarmDouble().onCancel = [&] { storedAtCancel = file.value("SELECT hour FROM alarm"); };

    AlarmDbData after;
    EXPECT_EQ(Saved::Yes, companion::changeAlarm(before.id, ringAt(9, 0), after));

    EXPECT_NE(before.alarm_mgr_id, after.alarm_mgr_id);
    EXPECT_EQ("9", storedAtCancel);
    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(before.alarm_mgr_id));
    EXPECT_THAT(registered(), ElementsAre(after.alarm_mgr_id));
}

TEST_F(AlarmSavingTest, ChangeThatLeavesTheTimeKeepsTheRegistration)
{
    const AlarmDbData before = added(ringAt(7, 30));

    AlarmDbData after;
    EXPECT_EQ(Saved::Yes, companion::changeAlarm(before.id, rename("Work"), after));

    EXPECT_EQ(before.alarm_mgr_id, after.alarm_mgr_id);
    EXPECT_THAT(alarmDouble().scheduled, SizeIs(1));
    EXPECT_THAT(alarmDouble().cancelled, IsEmpty());
}

// An edit may forget to say that it has changed when the alarm rings.
TEST_F(AlarmSavingTest, AlarmThatRingsAtAnotherTimeIsRegisteredAnewWhateverTheEditAnswers)
{
    const std::pair<const char*, std::function<void(AlarmDbData&)>> rows[] = {
        { "instant", [](AlarmDbData& alarm) { alarm.stime += 60; } },
        { "snooze", [](AlarmDbData& alarm) { ++alarm.count; } },
        { "hour", [](AlarmDbData& alarm) { ++alarm.hour; } },
        { "minute", [](AlarmDbData& alarm) { ++alarm.min; } },
        { "weekly", [](AlarmDbData& alarm) { alarm.repeat_once = 0; } },
        { "day", [](AlarmDbData& alarm) { alarm.repeatWeekly = 127; } },
        { "switch", [](AlarmDbData& alarm) { alarm.enable = 0; } },
    };
    for (const auto& row : rows) {
        const AlarmDbData before = added(ringAt(7, 30));
        AlarmDbData after;
        EXPECT_EQ(Saved::Yes,
            companion::changeAlarm(
                before.id,
                [&row](AlarmDbData& alarm, time_t) {
                    row.second(alarm);
                    return false;
                },
                after));
        EXPECT_NE(before.alarm_mgr_id, after.alarm_mgr_id) << row.first;
        EXPECT_EQ(0U, registered().count(before.alarm_mgr_id)) << row.first;
    }
}

TEST_F(AlarmSavingTest, AlarmThatIsOffIsNotRegistered)
{
    const AlarmDbData before = added(ringAt(7, 30));

    AlarmDbData after;
    EXPECT_EQ(Saved::Yes,
        companion::changeAlarm(
            before.id,
            [](AlarmDbData& alarm, time_t now) {
                alarm.enable = 0;
                companion::setSwitchedRing(alarm, now);
                return true;
            },
            after));

    EXPECT_EQ(-1, after.alarm_mgr_id);
    EXPECT_THAT(registered(), IsEmpty());
}

TEST_F(AlarmSavingTest, RemovedAlarmIsGoneAndCancelled)
{
    const AlarmDbData alarm = added(ringAt(7, 30));
    forget();

    AlarmDbData removed;
    EXPECT_EQ(Saved::Yes, companion::removeAlarm(alarm.id, removed));

    EXPECT_EQ(alarm.stime, removed.stime);
    EXPECT_EQ(0, rowCount());
    EXPECT_THAT(registered(), IsEmpty());
    EXPECT_THAT(announced(), ElementsAre(".alarmDbChanged", ".alarmDbChangedWidget"));
}

TEST_F(AlarmSavingTest, AlarmThatIsNotThereIsTold)
{
    AlarmDbData alarm;
    alarm.name = "mine";

    EXPECT_EQ(Saved::NoSuchAlarm, companion::changeAlarm(7, rename("x"), alarm));
    EXPECT_EQ(Saved::NoSuchAlarm, companion::removeAlarm(7, alarm));

    EXPECT_EQ("mine", alarm.name);
    EXPECT_THAT(announced(), IsEmpty());
}

// Giving up.

TEST_F(AlarmSavingTest, RefusedRegistrationStoresNothing)
{
    const AlarmDbData before = added(ringAt(7, 30));
    const std::string stored = row();
    forget();
    alarmDouble().scheduleResult = ALARM_ERROR_CONNECTION_FAIL;

    AlarmDbData alarm;
    EXPECT_EQ(Saved::NotRegistered, companion::addAlarm(alarm, ringAt(9, 0)));
    EXPECT_EQ(Saved::NotRegistered, companion::changeAlarm(before.id, ringAt(9, 0), alarm));

    EXPECT_EQ(stored, row());
    EXPECT_EQ(1, rowCount());
    EXPECT_THAT(registered(), ElementsAre(before.alarm_mgr_id));
    EXPECT_THAT(announced(), IsEmpty());
}

TEST_F(AlarmSavingTest, AlarmThatIsNotStoredIsNotRegistered)
{
    for (const bool isLost : { true, false }) {
        isLost ? lose("INSERT") : refuse("INSERT");
        forget();

        AlarmDbData alarm;
        EXPECT_EQ(Saved::NotStored, companion::addAlarm(alarm, ringAt(7, 30)));

        EXPECT_EQ(0, rowCount());
        EXPECT_THAT(alarmDouble().scheduled, testing::Not(IsEmpty()));
        EXPECT_THAT(registered(), IsEmpty());
        EXPECT_THAT(announced(), IsEmpty());
    }
}

// A time that changes has a fresh registration, which goes; a name has none, and the registration
// that the row names must not go.
TEST_F(AlarmSavingTest, AlarmWhoseChangeIsNotStoredRingsAsBefore)
{
    const AlarmDbData before = added(ringAt(7, 30));
    const std::string stored = row();
    forget();
    lose("UPDATE");

    AlarmDbData alarm;
    EXPECT_EQ(Saved::NotStored, companion::changeAlarm(before.id, ringAt(9, 0), alarm));
    EXPECT_EQ(Saved::NotStored, companion::changeAlarm(before.id, rename("Work"), alarm));

    EXPECT_EQ(stored, row());
    EXPECT_THAT(registered(), ElementsAre(before.alarm_mgr_id));
    EXPECT_THAT(announced(), IsEmpty());
}

TEST_F(AlarmSavingTest, AlarmThatIsNotRemovedRingsAsBefore)
{
    const AlarmDbData before = added(ringAt(7, 30));
    refuse("DELETE");
    forget();

    AlarmDbData alarm;
    EXPECT_EQ(Saved::NotStored, companion::removeAlarm(before.id, alarm));

    EXPECT_EQ(1, rowCount());
    EXPECT_THAT(registered(), ElementsAre(before.alarm_mgr_id));
    EXPECT_THAT(announced(), IsEmpty());
}

TEST_F(AlarmSavingTest, RegistrationThatCannotBeTakenBackIsTold)
{
    refuse("INSERT");
    alarmDouble().cancelResult = ALARM_ERROR_CONNECTION_FAIL;

    AlarmDbData alarm;
    EXPECT_EQ(Saved::StillRegistered, companion::addAlarm(alarm, ringAt(7, 30)));

    EXPECT_STREQ("the change could not be stored, nor its registration be taken back",
        companion::textOf(Saved::StillRegistered));
}

TEST_F(AlarmSavingTest, RegistrationOfAnInstantThatWentByAndStaysIsTold)
{
    alarmDouble().onSchedule = [] { setNow(clockDouble().now->tv_sec + kMinute); };
    alarmDouble().cancelResult = ALARM_ERROR_CONNECTION_FAIL;
    refuse("INSERT");
    AlarmSaving saving;
    AlarmDbData alarm;
    EXPECT_EQ(Saved::NotRegistered, saving.add(alarm, [](AlarmDbData& made, time_t now) {
        made.enable = 1;
        made.stime = static_cast<int>(now + kMinute);
        return true;
    }));
    EXPECT_EQ(Saved::StillRegistered, saving.add(alarm, rename("x")));
}

TEST_F(AlarmSavingTest, RegistrationThatTheServiceDoesNotKnowIsTakenBack)
{
    refuse("INSERT");
    alarmDouble().cancelResult = ALARM_ERROR_INVALID_PARAMETER;

    AlarmDbData alarm;
    EXPECT_EQ(Saved::NotStored, companion::addAlarm(alarm, ringAt(7, 30)));
}

TEST_F(AlarmSavingTest, FormerRegistrationThatStaysIsLogged)
{
    const AlarmDbData before = added(ringAt(7, 30));
    alarmDouble().cancelResult = ALARM_ERROR_CONNECTION_FAIL;
    forget();

    AlarmDbData after;
    EXPECT_EQ(Saved::Yes, companion::changeAlarm(before.id, ringAt(9, 0), after));

    EXPECT_THAT(criticals(),
        testing::Contains("the registration " + std::to_string(before.alarm_mgr_id)
            + " could not be taken back: error " + std::to_string(ALARM_ERROR_CONNECTION_FAIL)));
}

TEST_F(AlarmSavingTest, EditThatThrowsLeavesNothing)
{
    const AlarmDbData before = added(ringAt(7, 30));
    forget();
    {
        AlarmSaving saving;
        AlarmDbData alarm;
        EXPECT_EQ(Saved::Yes, saving.add(alarm, ringAt(8, 0)));
        EXPECT_THROW(
            (void)saving.change(
                before.id, [](AlarmDbData&, time_t) -> bool { throw std::runtime_error("no"); },
                alarm),
            std::runtime_error);
    }
    EXPECT_EQ(1, rowCount());
    EXPECT_THAT(registered(), ElementsAre(before.alarm_mgr_id));
    EXPECT_THAT(announced(), IsEmpty());
}

// Every position at which the disk may be full, or the file fail: SQLite's writes fail from the nth
// on.
namespace {

int writesLeft = -1;

ssize_t fullPwrite(int number, const void* bytes, size_t size, off_t at)
{
    if (writesLeft == 0) {
        errno = ENOSPC;
        return -1;
    }
    --writesLeft;
    return pwrite(number, bytes, size, at);
}

class FullDisk {
public:
    explicit FullDisk(int writes)
    {
        writesLeft = writes;
        _set(reinterpret_cast<sqlite3_syscall_ptr>(fullPwrite));
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() { _set(nullptr); }

private:
    static void _set(sqlite3_syscall_ptr function)
    {
        sqlite3_vfs* vfs = sqlite3_vfs_find(nullptr);
        for (const char* name : { "pwrite", "pwrite64" })
            vfs->xSetSystemCall(vfs, name, function);
    }
};

} // namespace

TEST_F(AlarmSavingTest, FullDiskAtAnyWriteLeavesAllAsItWas)
{
    const AlarmDbData before = added(ringAt(7, 30));
    const std::string stored = row();
    int writes = 0;
    Saved saved = Saved::NotStored;
    for (; saved != Saved::Yes && writes < 100; ++writes) {
        forget();
        AlarmDbData after;
        {
            const FullDisk disk(writes);
            saved = companion::changeAlarm(before.id, ringAt(9, 0), after);
        }
        if (saved == Saved::Yes)
            break;
        ASSERT_EQ(Saved::NotStored, saved) << "full after " << writes;
        EXPECT_EQ(stored, row());
        EXPECT_EQ("ok", file.value("PRAGMA integrity_check"));
        EXPECT_THAT(registered(), ElementsAre(before.alarm_mgr_id));
        EXPECT_THAT(announced(), IsEmpty());
    }
    EXPECT_GT(writes, 3);
    EXPECT_LT(writes, 100);
    EXPECT_EQ("9", file.value("SELECT hour FROM alarm"));
}

// SQLite undoes the whole transaction when a write of it fails in some ways. What the library
// writes after that in the same call would be a transaction of its own.
TEST_F(AlarmSavingTest, NothingIsCommittedButByCommit)
{
    const AlarmDbData before = added(ringAt(7, 30));
    file.run("UPDATE alarm SET deviceType = 1, mobileModifiedTime = 5");
    file.run("CREATE TRIGGER undo BEFORE UPDATE OF hour ON alarm"
             " BEGIN SELECT RAISE(ROLLBACK, 'undone'); END");

    AlarmDbData after;
    EXPECT_EQ(Saved::NotStored, companion::changeAlarm(before.id, rename("Work"), after));

    EXPECT_EQ("5", file.value("SELECT mobileModifiedTime FROM alarm"));
}

// The clock.

TEST_F(AlarmSavingTest, InstantThatGoesByBeforeItIsRegisteredIsMadeAnew)
{
    alarmDouble().onSchedule = [] {
        if (alarmDouble().scheduled.size() == 1)
            setNow(kNoon + kMinute);
    };

    const AlarmDbData alarm = added(ringAt(12, 1));

    EXPECT_EQ(kNoon + kMinute + kDay, alarm.stime);
    EXPECT_THAT(alarmDouble().scheduled, SizeIs(2));
    EXPECT_THAT(registered(), ElementsAre(alarm.alarm_mgr_id));
}

TEST_F(AlarmSavingTest, InstantThatAlwaysGoesByIsGivenUp)
{
    alarmDouble().onSchedule = [] { setNow(clockDouble().now->tv_sec + kMinute); };
    const companion::Edit inAMinute = [](AlarmDbData& alarm, time_t now) {
        alarm.enable = 1;
        alarm.stime = static_cast<int>(now + kMinute);
        return true;
    };

    AlarmDbData alarm;
    EXPECT_FALSE(AlarmSaving().make(alarm, inAMinute, alarm));

    EXPECT_THAT(alarmDouble().scheduled, SizeIs(3));
    EXPECT_EQ(-1, alarm.alarm_mgr_id);
    EXPECT_THAT(registered(), IsEmpty());
    EXPECT_EQ(0, rowCount());
}

TEST_F(AlarmSavingTest, SnoozeThatPassesMidnightRingsOnTheNextDay)
{
    setNow(kNoon + 11 * kHour + 58 * kMinute); // Monday 23:58
    const AlarmDbData daily = added(ringAt(23, 59, 2));
    setNow(kNoon + 12 * kHour - 30);

    AlarmDbData snoozed;
    EXPECT_EQ(Saved::Yes,
        companion::changeAlarm(
            daily.id,
            [](AlarmDbData& alarm, time_t) {
                alarm.count = 1;
                return true;
            },
            snoozed));

    const AlarmDouble::Request& request = alarmDouble().scheduled.back();
    EXPECT_EQ(2 | 4, request.weekFlag) << "Monday as before, and Tuesday";
    EXPECT_EQ(0, request.date.tm_hour);
    EXPECT_EQ(4, request.date.tm_min);
    EXPECT_EQ(2, snoozed.repeatWeekly) << "the record rings on Mondays";
}

// Modification times.

TEST_F(AlarmSavingTest, ModificationTimesDifferWithinASecond)
{
    const AlarmDbData first = added(ringAt(7, 30));
    const AlarmDbData second = added(ringAt(7, 30));
    AlarmDbData changed;
    EXPECT_EQ(Saved::Yes, companion::changeAlarm(first.id, rename("x"), changed));

    EXPECT_EQ(kNoon, first.modTime);
    EXPECT_EQ(kNoon + 1, second.modTime);
    EXPECT_EQ(kNoon + 2, changed.modTime);
}

TEST_F(AlarmSavingTest, ModificationTimeIsNotGivenAgainWhenItsAlarmIsGoneOrTheClockWasSetBack)
{
    const AlarmDbData first = added(ringAt(7, 30));
    AlarmDbData removed;
    EXPECT_EQ(Saved::Yes, companion::removeAlarm(first.id, removed));

    EXPECT_EQ(kNoon + 1, added(ringAt(7, 30)).modTime);
    setNow(kNoon - kDay);
    EXPECT_EQ(kNoon + 2, added(ringAt(7, 30)).modTime);
}

TEST_F(AlarmSavingTest, ModificationTimesOfStoredAlarmsArePassedOver)
{
    const int highest = INT_MAX;
    for (const int taken : { kNoon + 2, kNoon + 3, static_cast<time_t>(highest) }) {
        added(ringAt(7, 30));
        file.run("UPDATE alarm SET mtime = " + std::to_string(taken)
            + " WHERE id = (SELECT max(id) FROM alarm)");
    }
    setNow(kNoon + 2);

    EXPECT_EQ(kNoon + 5, added(ringAt(7, 30)).modTime) << "the third alarm was given 4";
    EXPECT_EQ(kNoon + 6, added(ringAt(7, 30)).modTime);
}

TEST_F(AlarmSavingTest, DamagedNoteOfTheLastModificationTimeIsNotFollowed)
{
    for (const char* note :
        { "2147483647\n", "-5\n", "", "rubbish", "99999999999999999999999999999999" }) {
        const int before = std::stoi(file.value("SELECT ifnull(max(mtime), 0) FROM alarm"));
        std::ofstream(file.folder() + ".alarm.lock", std::ios::trunc) << note;

        EXPECT_EQ(std::max<time_t>(kNoon, before + 1), added(ringAt(7, 30)).modTime) << note;
    }
}

// Many in one transaction.

TEST_F(AlarmSavingTest, ManyAreStoredTogetherAndAnnouncedOnce)
{
    const AlarmDbData first = added(ringAt(6, 0));
    const AlarmDbData second = added(ringAt(6, 30));
    forget();

    AlarmSaving saving;
    AlarmDbData made;
    AlarmDbData changed;
    AlarmDbData removed;
    EXPECT_EQ(Saved::Yes, saving.add(made, ringAt(7, 30)));
    EXPECT_EQ(Saved::NoSuchAlarm, saving.remove(99, removed)) << "others may follow";
    EXPECT_EQ(Saved::Yes, saving.change(first.id, ringAt(8, 0), changed));
    EXPECT_EQ(Saved::Yes, saving.remove(second.id, removed));
    EXPECT_EQ(2, rowCount()) << "others see what was there before";
    EXPECT_THAT(announced(), IsEmpty());

    EXPECT_EQ(Saved::Yes, saving.commit());

    EXPECT_EQ("7:30,8:0",
        file.value("SELECT group_concat(hour || ':' || min) FROM"
                   " (SELECT * FROM alarm ORDER BY hour)"));
    EXPECT_THAT(registered(), ElementsAre(made.alarm_mgr_id, changed.alarm_mgr_id));
    EXPECT_THAT(announced(), ElementsAre(".alarmDbChanged", ".alarmDbChangedWidget"));
    EXPECT_EQ(Saved::NotStored, saving.add(made, ringAt(9, 0))) << "it is over";
}

TEST_F(AlarmSavingTest, OneThatFailsUndoesAll)
{
    const AlarmDbData before = added(ringAt(6, 0));
    const std::string stored = row();
    lose("DELETE");
    forget();

    AlarmSaving saving;
    AlarmDbData alarm;
    EXPECT_EQ(Saved::Yes, saving.add(alarm, ringAt(7, 30)));
    EXPECT_EQ(Saved::Yes, saving.change(before.id, ringAt(8, 0), alarm));
    EXPECT_EQ(Saved::NotStored, saving.remove(before.id, alarm));
    EXPECT_EQ(Saved::NotStored, saving.add(alarm, ringAt(9, 0)));
    EXPECT_EQ(Saved::NotStored, saving.commit());

    EXPECT_EQ(1, rowCount());
    EXPECT_EQ(stored, row());
    EXPECT_THAT(registered(), ElementsAre(before.alarm_mgr_id));
    EXPECT_THAT(announced(), IsEmpty());
}

TEST_F(AlarmSavingTest, AlarmThatIsChangedTwiceHasOneRegistration)
{
    const AlarmDbData before = added(ringAt(6, 0));
    AlarmDbData alarm;
    {
        AlarmSaving given;
        EXPECT_EQ(Saved::Yes, given.change(before.id, ringAt(7, 0), alarm));
        EXPECT_EQ(Saved::Yes, given.change(before.id, ringAt(8, 0), alarm));
    }
    EXPECT_THAT(registered(), ElementsAre(before.alarm_mgr_id));

    AlarmSaving saving;
    EXPECT_EQ(Saved::Yes, saving.change(before.id, ringAt(7, 0), alarm));
    EXPECT_EQ(Saved::Yes, saving.change(before.id, ringAt(8, 0), alarm));
    EXPECT_EQ(Saved::Yes, saving.commit());
    EXPECT_THAT(registered(), ElementsAre(alarm.alarm_mgr_id));
}

TEST_F(AlarmSavingTest, RegistrationThatWasMadeAndNotStoredIsTakenBack)
{
    AlarmSaving saving;
    AlarmDbData made;
    EXPECT_TRUE(saving.make(made, ringAt(7, 30), made));
    EXPECT_THAT(registered(), SizeIs(1));

    EXPECT_EQ(Saved::Yes, saving.commit());

    EXPECT_THAT(registered(), IsEmpty());
}

// Others that save.

TEST_F(AlarmSavingTest, SaveThatIsKeptFromItsTurnIsNotStored)
{
    OtherProcess stopped([](const auto& ready) {
        AlarmSaving held;
        ready();
        pause();
    });
    stopped.signal(SIGSTOP);
    const auto files = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto filesAtFirst = files();
    {
        AlarmSaving saving(milliseconds(50));
        EXPECT_EQ(Saved::Busy, saving.state());
        AlarmDbData alarm;
        EXPECT_EQ(Saved::Busy, saving.add(alarm, ringAt(7, 30)));
        EXPECT_EQ(Saved::Busy, saving.change(1, ringAt(7, 30), alarm));
        EXPECT_EQ(Saved::Busy, saving.remove(1, alarm));
        EXPECT_EQ(Saved::Busy, saving.commit());
    }
    EXPECT_FALSE(companion::waitForSave(milliseconds(50)));
    EXPECT_THAT(registered(), IsEmpty());
    EXPECT_THAT(companion::textOf(Saved::Busy), HasSubstr("another process"));
    EXPECT_EQ(filesAtFirst + 1, files()) << "however often it is late, it has one place";

    stopped.signal(SIGKILL);

    EXPECT_TRUE(companion::waitForSave(AlarmSaving::kPatience));
    added(ringAt(7, 30));
}

// A turn that comes when nobody waits for it any more goes to the next.
TEST_F(AlarmSavingTest, LateSaveKeepsNobodyFromSavingAfterwards)
{
    OtherProcess other([](const auto& ready) {
        ready();
        raise(SIGSTOP);
        EXPECT_EQ(Saved::Yes, AlarmSaving().state());
    });
    OtherProcess holder([](const auto& ready) {
        const AlarmSaving held;
        ready();
        pause();
    });
    EXPECT_EQ(Saved::Busy, AlarmSaving(milliseconds(20)).state());
    holder.signal(SIGKILL);
    EXPECT_EQ(128, holder.status());

    other.signal(SIGCONT);
    EXPECT_EQ(0, other.status());
    added(ringAt(7, 30));
}

TEST_F(AlarmSavingTest, TurnIsWaitedForThoughTheStoreIsFree)
{
    const OtherProcess other([this](const auto& ready) {
        const int turn = open((file.folder() + ".alarm.lock").c_str(), O_RDWR | O_CREAT, 0600);
        EXPECT_EQ(0, flock(turn, LOCK_EX));
        ready();
        pause();
    });

    EXPECT_EQ(Saved::Busy, AlarmSaving(milliseconds(50)).state());
}

TEST_F(AlarmSavingTest, FileThatAnotherProcessHoldsKeepsASaveOnlySoLong)
{
    OtherProcess other([this](const auto& ready) {
        sqlite3* store = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_open(file.path().c_str(), &store));
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(store, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr));
        ready();
        pause();
    });
    EXPECT_EQ(Saved::Busy, AlarmSaving(milliseconds(50)).state());

    std::thread release([&other] {
        std::this_thread::sleep_for(milliseconds(50));
        other.signal(SIGKILL);
    });
    added(ringAt(7, 30));
    release.join();
}

TEST_F(AlarmSavingTest, CommitThatReadersKeepWaitingIsUndone)
{
    OtherProcess reader([this](const auto& ready) {
        sqlite3* store = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_open(file.path().c_str(), &store));
        EXPECT_EQ(SQLITE_OK,
            sqlite3_exec(store, "BEGIN; SELECT count(*) FROM alarm", nullptr, nullptr, nullptr));
        ready();
        pause();
    });
    AlarmSaving saving(milliseconds(50));
    AlarmDbData alarm;
    EXPECT_EQ(Saved::Yes, saving.add(alarm, ringAt(7, 30)));

    EXPECT_EQ(Saved::Busy, saving.commit());

    EXPECT_EQ(0, rowCount());
    EXPECT_THAT(registered(), IsEmpty());
    EXPECT_THAT(announced(), IsEmpty());
}

// The alarm service may hang.
TEST_F(AlarmSavingTest, OthersSaveWhileFormerRegistrationsAreCancelled)
{
    const AlarmDbData before = added(ringAt(7, 30));
    Saved others = Saved::Unreadable;
    alarmDouble().onCancel = [&others] { others = AlarmSaving(milliseconds(50)).state(); };

    AlarmDbData after;
    EXPECT_EQ(Saved::Yes, companion::changeAlarm(before.id, ringAt(9, 0), after));

    EXPECT_EQ(Saved::Yes, others);
}

TEST_F(AlarmSavingTest, FileOfTheTurnIsTheOwnersAlone)
{
    added(ringAt(7, 30));
    struct stat turn = {};
    ASSERT_EQ(0, stat((file.folder() + ".alarm.lock").c_str(), &turn));
    EXPECT_EQ(0600U, turn.st_mode & 0777U);
}

TEST_F(AlarmSavingTest, SavesStayApartWhenTheFileOfTheTurnIsRemoved)
{
    AlarmSaving first;
    AlarmDbData alarm;
    EXPECT_EQ(Saved::Yes, first.add(alarm, ringAt(7, 30)));
    EXPECT_EQ(0, unlink((file.folder() + ".alarm.lock").c_str()));

    EXPECT_EQ(Saved::Busy, AlarmSaving(milliseconds(50)).state());

    EXPECT_EQ(Saved::Yes, first.commit());
    EXPECT_EQ(kNoon + 1, added(ringAt(8, 0)).modTime);
}

TEST_F(AlarmSavingTest, FileOfTheTurnThatCannotBeMadeKeepsNobodyFromSaving)
{
    const std::string path = file.folder() + ".alarm.lock";
    (void)unlink(path.c_str());
    ASSERT_EQ(0, mkdir(path.c_str(), 0700));

    EXPECT_EQ(kNoon, added(ringAt(7, 30)).modTime);
    EXPECT_EQ(kNoon + 1, added(ringAt(8, 0)).modTime);
}

TEST_F(AlarmSavingTest, ModificationTimeThatCannotBeNotedIsNotGiven)
{
    const AlarmDbData before = added(ringAt(7, 30));
    AlarmDbData after;
    isNoteRefused = true;

    const Saved saved = companion::changeAlarm(before.id, rename("Work"), after);

    isNoteRefused = false;
    EXPECT_EQ(Saved::NotStored, saved);
    EXPECT_EQ("", file.value("SELECT name FROM alarm"));
}

TEST_F(AlarmSavingTest, DamagedStoreIsNotSavedTo)
{
    file.write(std::string(5000, 'x'));

    AlarmDbData alarm;
    EXPECT_EQ(Saved::NotStored, companion::addAlarm(alarm, ringAt(7, 30)));
    EXPECT_EQ(Saved::NotStored, companion::removeAlarm(1, alarm));

    EXPECT_THAT(registered(), IsEmpty());
    EXPECT_EQ(std::string(5000, 'x'), file.bytes());
}

TEST_F(AlarmSavingTest, StoreThatIsGoneIsMadeAgain)
{
    ASSERT_EQ(0, unlink(file.path().c_str()));

    added(ringAt(7, 30));

    EXPECT_EQ(1, rowCount());
}

TEST_F(AlarmSavingTest, StoreThatCannotBeMadeIsToldOf)
{
    for (const auto& folder :
        { std::optional<std::string>("/proc/self/nothing/"), std::optional<std::string>() }) {
        appCommonDouble().dataPath = folder;

        AlarmDbData alarm;
        EXPECT_EQ(Saved::NotStored, companion::addAlarm(alarm, ringAt(7, 30)));
        EXPECT_THAT(registered(), IsEmpty());
    }
}

TEST_F(AlarmSavingTest, EachResultHasALineForTheUser)
{
    std::set<std::string> texts;
    for (int i = 0; i <= static_cast<int>(Saved::StillRegistered); ++i)
        texts.insert(companion::textOf(static_cast<Saved>(i)));

    EXPECT_THAT(texts, SizeIs(static_cast<size_t>(Saved::StillRegistered) + 1));
}
