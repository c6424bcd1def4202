#include "AlarmScheduleFixture.h"
#include "NoFileGrows.h"

#include <fstream>
#include <gmock/gmock.h>
#include <SQLiteCpp/SQLiteCpp.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> synced; // the files that SQLite has asked the disk to keep

} // namespace

// Comes before libc's for every library of the process.
extern "C" int fdatasync(int fd)
{
    synced.push_back(fs::read_symlink("/proc/self/fd/" + std::to_string(fd)));
    return static_cast<int>(syscall(SYS_fdatasync, fd));
}

namespace {

class AlarmScheduleFileTest : public AlarmScheduleFixture {};

TEST_F(AlarmScheduleFileTest, WhatIsAnsweredIsOnDisk)
{
    synced.clear();
    const int id = ringAt(7, 30, 0);
    EXPECT_THAT(synced, Contains(path() + "-wal"));

    synced.clear();
    EXPECT_TRUE(schedule().cancel(kPackage, id));
    EXPECT_THAT(synced, Contains(path() + "-wal"));
}

TEST_F(AlarmScheduleFileTest, AnAlertDoesNotWaitUntilWhatRangIsOnDisk)
{
    ringAt(7, 30, kEveryDay);
    ringAt(7, 31, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    schedule().answered(launches.at(0).id, host::LaunchResult::Delivered, "");
    passUntil("2026-11-21 07:31:00");
    synced.clear();
    whenLaunched = [] { EXPECT_THAT(synced, IsEmpty()); };

    runDue();

    EXPECT_EQ(2u, launches.size());
    EXPECT_THAT(synced, Contains(path() + "-wal"));
}

TEST_F(AlarmScheduleFileTest, MovesADamagedFileAsideAndStartsEmpty)
{
    const int lost = ringAt(7, 30, 0);
    close();
    std::ofstream(path(), std::ios::trunc) << std::string(20000, 'x');

    open();

    EXPECT_TRUE(schedule().list().empty());
    EXPECT_EQ(20000u, fs::file_size(path() + ".damaged-1"));
    ASSERT_EQ(1u, logLines.size());
    EXPECT_THAT(logLines[0], StartsWith("The registered alarms are lost: " + path()));
    EXPECT_THAT(trayTexts(), ElementsAre(logLines[0]));
    EXPECT_GT(ringAt(7, 30, 0), lost);
}

TEST_F(AlarmScheduleFileTest, ALostFileIsToldOfAndItsIdsAreNotGivenAgain)
{
    int last = 0;
    for (int minute = 0; minute < 30; ++minute)
        last = ringAt(7, minute, 0);
    close();
    for (const char* part : { "", "-wal", "-shm" })
        fs::remove(path() + part);

    open();

    EXPECT_THAT(trayTexts(),
        ElementsAre(
            "The registered alarms are lost: " + path() + " is not there any more, or empty"));
    EXPECT_EQ(trayTexts(), logLines);
    EXPECT_GT(ringAt(7, 30, 0), last);
}

TEST_F(AlarmScheduleFileTest, ANewFileIsNoLoss)
{
    EXPECT_TRUE(trayTexts().empty());
    EXPECT_TRUE(logLines.empty());
}

TEST_F(AlarmScheduleFileTest, WhereTheMarkIsLostTooIdsGoByTheClock)
{
    const int lost = ringAt(7, 30, 0);
    close();
    fs::remove(path());
    idMark = 0;
    pass(60);

    open();

    EXPECT_GT(ringAt(7, 30, 0), lost);
}

TEST_F(AlarmScheduleFileTest, EachLossIsReportedAlsoWhenTheMarkIsLostToo)
{
    const auto loseAll = [this] {
        ringAt(7, 30, 0);
        close();
        std::ofstream(path(), std::ios::trunc) << std::string(20000, 'x');
        idMark = 0;
        pass(60);
        open();
    };
    loseAll();
    EXPECT_EQ(1u, trayTexts().size());
    loseAll();
    EXPECT_EQ(2u, trayTexts().size());
}

TEST_F(AlarmScheduleFileTest, ALossIsInTheLogAlsoWhenNoNewFileCanBeMadeYet)
{
    ringAt(7, 30, 0);
    close();
    std::ofstream(path(), std::ios::trunc) << std::string(20000, 'x');
    std::ofstream(path() + ".empty").close();
    {
        const NoFileGrows full(path() + ".empty");
        EXPECT_THROW(open(), SQLite::Exception);
        ASSERT_EQ(1u, logLines.size());
        EXPECT_THAT(logLines[0], StartsWith("The registered alarms are lost: " + path()));
    }

    open();

    EXPECT_EQ(1u, trayTexts().size());
}

TEST_F(AlarmScheduleFileTest, AnEarlierFileThatIsPutBackGivesNoIdAgain)
{
    for (const int between : { 1, 500, 1500 }) {
        ringAt(7, 30, 0);
        close();
        fs::copy(path(), path() + ".copy");
        open();
        int last = 0;
        for (int i = 0; i < between; ++i)
            last = ringAt(7, 30, 0);
        close();
        fs::rename(path() + ".copy", path());

        open();

        EXPECT_GT(ringAt(7, 30, 0), last) << between;
    }
    EXPECT_TRUE(trayTexts().empty());
}

TEST_F(AlarmScheduleFileTest, AFileThatIsEmptyIsALoss)
{
    const int lost = ringAt(7, 30, 0);
    close();
    std::ofstream(path(), std::ios::trunc);

    open();

    EXPECT_GT(ringAt(7, 30, 0), lost);
    EXPECT_THAT(trayTexts(),
        ElementsAre(
            "The registered alarms are lost: " + path() + " is not there any more, or empty"));
    open();
    EXPECT_EQ(1u, trayTexts().size());
}

TEST_F(AlarmScheduleFileTest, AFileOfAnEarlierVersionIsTakenOver)
{
    const int id = ringAt(7, 30, kEveryDay);
    close();
    {
        SQLite::Database file(path(), SQLite::OPEN_READWRITE, 1000);
        file.exec("ALTER TABLE alarms DROP COLUMN secret");
    }
    open();

    passUntil("2026-11-21 07:30:00");
    runDue();
    ASSERT_EQ(1u, launches.size());
    EXPECT_EQ(id, launches[0].id);
    EXPECT_EQ(32u, schedule().list().at(0).secret.size());
}

TEST_F(AlarmScheduleFileTest, TheTrayOfAnEarlierVersionIsTakenOver)
{
    close();
    {
        SQLite::Database file(path(), SQLite::OPEN_READWRITE, 1000);
        file.exec("CREATE TABLE tray (id INTEGER PRIMARY KEY, posted INTEGER, text TEXT)");
        file.exec("INSERT INTO tray (posted, text) VALUES (1000, 'first'), (2000, 'second')");
    }
    fs::create_directory(trayPath()); // so that it cannot be written
    open();
    fs::remove(trayPath());
    open();

    EXPECT_THAT(trayTexts(), ElementsAre("first", "second"));
    EXPECT_EQ(1000, tray->reports().at(0).posted);
    open();
    EXPECT_EQ(2u, trayTexts().size());
}

TEST_F(AlarmScheduleFileTest, ATrayOfAnEarlierVersionThatCannotBeReadHoldsUpNoAlarm)
{
    ringAt(7, 30, 0);
    close();
    {
        SQLite::Database file(path(), SQLite::OPEN_READWRITE, 1000);
        file.exec("CREATE TABLE tray (id INTEGER PRIMARY KEY, posted INTEGER)");
    }
    open();

    EXPECT_EQ(1u, schedule().list().size());
}

TEST_F(AlarmScheduleFileTest, AKillBetweenTrayAndScheduleDoublesNoReport)
{
    for (int minute = 0; minute < 30; ++minute)
        ringAt(7, minute, 0);
    passUntil("2026-11-21 12:00:00");
    {
        const NoFileGrows full(path() + "-wal"); // which is longer than the tray's
        runDue();
    }
    ASSERT_EQ(30u, schedule().list().size());
    EXPECT_EQ(30u, trayTexts().size());

    open();
    runDue();

    EXPECT_TRUE(schedule().list().empty());
    EXPECT_EQ(30u, trayTexts().size());
}

TEST_F(AlarmScheduleFileTest, ATrayThatCannotBeWrittenHoldsUpNoAlarm)
{
    close();
    fs::create_directory(trayPath());
    open();
    ringAt(7, 30, 0);
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 12:00:00");

    runDue();

    EXPECT_EQ(1u, schedule().list().size());
    EXPECT_EQ(clock + 60, next); // when it tries to report again
    passUntil("2026-11-22 07:30:00");
    runDue();
    EXPECT_EQ(1, deliverAll());
    fs::remove(trayPath());
    runDue();
    EXPECT_EQ(2u, trayTexts().size());
    EXPECT_EQ(at("2026-11-23 07:30:00"), next);
}

TEST_F(AlarmScheduleFileTest, NobodyElseMayReadTheFile)
{
    ringAt(7, 30, 0);
    for (const char* part : { "", "-wal", "-shm" })
        EXPECT_EQ(
            fs::perms::owner_read | fs::perms::owner_write, fs::status(path() + part).permissions())
            << part;
}

TEST_F(AlarmScheduleFileTest, FindsDamageInsideTheFile)
{
    for (int minute = 0; minute < 60; ++minute)
        ringAt(7, minute, 0);
    close();
    {
        std::fstream file(path(), std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(fs::file_size(path())) - 4096);
        file << std::string(4096, 'x');
    }

    open();

    EXPECT_TRUE(schedule().list().empty());
    EXPECT_TRUE(fs::exists(path() + ".damaged-1"));
}

TEST_F(AlarmScheduleFileTest, KeepsEveryDamagedFile)
{
    for (const char* junk : { "first", "second" }) {
        close();
        std::ofstream(path(), std::ios::trunc) << junk;
        open();
        ringAt(7, 30, 0);
    }

    EXPECT_EQ(5u, fs::file_size(path() + ".damaged-1"));
    EXPECT_EQ(6u, fs::file_size(path() + ".damaged-2"));
    EXPECT_EQ(1u, schedule().list().size());
}

TEST_F(AlarmScheduleFileTest, AFullDiskRefusesARegistrationAndKeepsTheOthers)
{
    ringAt(7, 30, 0);
    {
        const NoFileGrows full(path() + "-wal");
        EXPECT_THROW(ringAt(8, 0, 0), SQLite::Exception);
        EXPECT_EQ(1u, schedule().list().size());
    }
    open();
    EXPECT_EQ(1u, schedule().list().size());
    EXPECT_GT(ringAt(8, 0, 0), 1);
}

TEST_F(AlarmScheduleFileTest, RingsOnceOnAFullDiskAndWritesItDownLater)
{
    ringAt(7, 30, kEveryDay);
    ringAt(7, 40, 0);
    passUntil("2026-11-21 07:30:00");
    {
        const NoFileGrows full(path() + "-wal");
        runDue();
        EXPECT_EQ(1, deliverAll());
        EXPECT_EQ(clock + 60, next); // when it tries to write again
        passUntil("2026-11-21 07:40:00");
        runDue();
        EXPECT_EQ(1, deliverAll());
        pass(60);
        runDue();
        EXPECT_TRUE(launches.empty());
    }
    runDue();

    EXPECT_TRUE(launches.empty());
    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
    EXPECT_EQ(1u, schedule().list().size());
}

TEST_F(AlarmScheduleFileTest, RingsTodayAfterADayOnWhichNothingCouldBeWrittenDown)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    {
        const NoFileGrows full(path() + "-wal");
        runDue();
        EXPECT_EQ(1, deliverAll());
    }
    passUntil("2026-11-22 07:35:00");

    runDue();

    EXPECT_EQ(1, deliverAll());
    EXPECT_EQ(at("2026-11-23 07:30:00"), next);
}

TEST_F(AlarmScheduleFileTest, ARequestThatCannotBeReadIsLoggedAndPassed)
{
    ringAt(7, 30, 0);
    {
        SQLite::Database file(path(), SQLite::OPEN_READWRITE, 1000);
        file.exec("UPDATE alarms SET request = 'nonsense'");
    }
    passUntil("2026-11-21 07:30:00");
    runDue();

    EXPECT_TRUE(launches.empty());
    EXPECT_TRUE(schedule().list().empty());
    ASSERT_EQ(1u, logLines.size());
    EXPECT_THAT(logLines[0], HasSubstr("its request on disk cannot be read"));
}

} // namespace
