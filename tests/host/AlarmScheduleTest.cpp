#include "host/daemon/AlarmSchedule.h"

#include "host/common/Log.h"

#include <algorithm>
#include <app_alarm.h>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <SQLiteCpp/SQLiteCpp.h>
#include <sys/resource.h>
#include <sys/stat.h>

using host::Alarm;
using host::AlarmTime;
using host::Launch;
using host::LaunchResult;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

const int kEveryDay = 127;
const char* const kPackage = "com.velmora.alarm";
const char* const kTarget = "com.velmora.alarm-alert";

std::vector<std::string> logLines;

cctz::time_zone zoneNamed(const std::string& name)
{
    cctz::time_zone zone;
    EXPECT_TRUE(cctz::load_time_zone(name, &zone)) << name;
    return zone;
}

host::Entries requestFor(const std::string& application)
{
    return { { host::kOperationKey, "ring" }, { host::kApplicationIdKey, application } };
}

class AlarmScheduleTest : public testing::Test {
protected:
    AlarmScheduleTest()
    {
        logLines.clear();
        host::setLogHook([](int, const char*, const char* text) { logLines.push_back(text); });
        // In memory where that can be: thousands of commits would wait for a busy disk for minutes.
        const fs::path memory = "/dev/shm";
        const fs::path base = fs::is_directory(memory) ? memory : fs::temp_directory_path();
        std::string folder = (base / "AlarmScheduleTest.XXXXXX").string();
        EXPECT_NE(nullptr, mkdtemp(folder.data()));
        _folder = folder;
        setClock("2026-11-20 12:00:00"); // a Friday
        open();
    }

    ~AlarmScheduleTest() override
    {
        _schedule.reset();
        fs::remove_all(_folder);
        host::setLogHook(nullptr);
    }

    std::string path() const { return _folder + "/alarms.db"; }
    host::AlarmSchedule& schedule() { return *_schedule; }

    void close() { _schedule.reset(); }

    // A new daemon on the same file. The old one knew nothing of its end.
    void open()
    {
        close();
        launches.clear();
        _schedule = std::make_unique<host::AlarmSchedule>(path(),
            host::Clock{ [this] { return clock; }, [this] { return _elapsed; } }, zone,
            [this](const Launch& launch) { launches.push_back(launch); });
    }

    std::int64_t at(const std::string& local) const
    {
        cctz::time_point<cctz::seconds> instant;
        EXPECT_TRUE(cctz::parse("%Y-%m-%d %H:%M:%S", local, zone, &instant)) << local;
        return instant.time_since_epoch().count();
    }

    void setClock(const std::string& local) { clock = at(local); }

    // Time goes by, as opposed to a clock that is set.
    void pass(std::int64_t seconds)
    {
        clock += seconds;
        _elapsed += seconds;
    }
    void passUntil(const std::string& local) { pass(at(local) - clock); }

    void clockChanged()
    {
        schedule().clockChanged(zone);
        next = schedule().launchDue();
    }

    void runDue() { next = schedule().launchDue(); }

    // Takes one launch after the other and delivers it.
    int deliverAll()
    {
        int count = 0;
        while (!launches.empty()) {
            const std::vector<Launch> sent = std::move(launches);
            launches.clear();
            for (const Launch& launch : sent) {
                schedule().answered(launch.id, LaunchResult::Delivered, "");
                ++count;
            }
            runDue();
        }
        return count;
    }

    int ringAt(int hour, int minute, int weekSet)
    {
        return schedule().schedule(kPackage, requestFor(kTarget), { hour, minute, 0, weekSet, {} });
    }

    std::vector<std::string> trayTexts()
    {
        std::vector<std::string> texts;
        for (const host::TrayEntry& entry : schedule().tray())
            texts.push_back(entry.text);
        return texts;
    }

    cctz::time_zone zone = zoneNamed("Europe/Berlin");
    std::int64_t clock = 0;
    std::vector<Launch> launches;
    std::optional<std::int64_t> next;

private:
    std::string _folder;
    std::int64_t _elapsed = 5000;
    std::unique_ptr<host::AlarmSchedule> _schedule;
};

TEST_F(AlarmScheduleTest, KeepsARegistrationAcrossRestarts)
{
    const AlarmTime time{ 7, 30, 5, 42, cctz::civil_day(2026, 12, 1) };
    const int id = schedule().schedule(kPackage, requestFor(kTarget), time);

    open();

    const std::vector<Alarm> alarms = schedule().list();
    ASSERT_EQ(1u, alarms.size());
    EXPECT_EQ(id, alarms[0].id);
    EXPECT_EQ(kPackage, alarms[0].package);
    EXPECT_EQ(kTarget, alarms[0].application);
    EXPECT_EQ(7, alarms[0].time.hour);
    EXPECT_EQ(30, alarms[0].time.minute);
    EXPECT_EQ(5, alarms[0].time.second);
    EXPECT_EQ(42, alarms[0].time.weekSet);
    EXPECT_EQ(time.firstDay, alarms[0].time.firstDay);
    EXPECT_EQ(at("2026-12-02 07:30:05"), alarms[0].due); // Wednesday: 42 = Mon, Wed, Fri
}

TEST_F(AlarmScheduleTest, ListsTheEarliestFirst)
{
    ringAt(9, 0, 0);
    ringAt(7, 0, 0);
    ringAt(8, 0, 0);

    const std::vector<Alarm> alarms = schedule().list();

    ASSERT_EQ(3u, alarms.size());
    EXPECT_EQ(at("2026-11-21 07:00:00"), alarms[0].due);
    EXPECT_EQ(at("2026-11-21 08:00:00"), alarms[1].due);
    EXPECT_EQ(at("2026-11-21 09:00:00"), alarms[2].due);
}

TEST_F(AlarmScheduleTest, LaunchesTheRequestWithTheIdAtTheSecond)
{
    const int id = ringAt(7, 30, 0);

    passUntil("2026-11-21 07:29:59");
    runDue();
    EXPECT_TRUE(launches.empty());
    EXPECT_EQ(at("2026-11-21 07:30:00"), next);
    pass(1);
    runDue();

    ASSERT_EQ(1u, launches.size());
    EXPECT_EQ(id, launches[0].id);
    EXPECT_EQ(kTarget, launches[0].application);
    host::Entries expected = requestFor(kTarget);
    expected.emplace_back(APP_CONTROL_DATA_ALARM_ID, std::to_string(id));
    EXPECT_EQ(expected, launches[0].request);
    EXPECT_EQ("alarm:" + std::to_string(id) + ":" + std::to_string(clock), launches[0].once);
}

TEST_F(AlarmScheduleTest, ReplacesAnIdThatTheRequestBrought)
{
    host::Entries request = requestFor(kTarget);
    request.insert(request.begin(), { APP_CONTROL_DATA_ALARM_ID, "old" });
    const int id = schedule().schedule(kPackage, request, { 7, 30, 0, 0, {} });

    passUntil("2026-11-21 07:30:00");
    runDue();

    request[0].second = std::to_string(id);
    ASSERT_EQ(1u, launches.size());
    EXPECT_EQ(request, launches[0].request);
}

TEST_F(AlarmScheduleTest, RemovesAOneShotThatRang)
{
    ringAt(7, 30, 0);
    passUntil("2026-11-21 07:30:00");
    runDue();
    EXPECT_EQ(1u, schedule().list().size());

    EXPECT_EQ(1, deliverAll());

    EXPECT_TRUE(schedule().list().empty());
    EXPECT_EQ(std::nullopt, next);
}

TEST_F(AlarmScheduleTest, RearmsARecurringOneForItsNextDay)
{
    ringAt(7, 30, 2 | 64); // Monday and Saturday
    passUntil("2026-11-21 07:30:00");
    runDue();

    EXPECT_EQ(1, deliverAll());
    EXPECT_EQ(at("2026-11-23 07:30:00"), next);
    pass(3600);
    open();
    runDue();

    EXPECT_EQ(at("2026-11-23 07:30:00"), next);
    EXPECT_TRUE(launches.empty());
}

TEST_F(AlarmScheduleTest, DoesNotLaunchAgainWhileItWaitsForTheAnswer)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    pass(5);
    runDue();
    clockChanged();

    EXPECT_EQ(1u, launches.size());
    EXPECT_EQ(std::nullopt, next);
}

TEST_F(AlarmScheduleTest, SendsAgainWithTheSameTextAfterAKillBeforeTheCommit)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    ASSERT_EQ(1u, launches.size());
    const std::string once = launches[0].once;

    open(); // nobody took the answer
    pass(2);
    runDue();

    ASSERT_EQ(1u, launches.size());
    EXPECT_EQ(once, launches[0].once);
}

TEST_F(AlarmScheduleTest, GivesEachAlertItsOwnText)
{
    ringAt(7, 30, kEveryDay);
    ringAt(7, 30, kEveryDay);
    std::set<std::string> texts;
    for (int day = 21; day <= 23; ++day) {
        passUntil("2026-11-" + std::to_string(day) + " 07:30:00");
        runDue();
        for (const Launch& launch : launches)
            texts.insert(launch.once);
        EXPECT_EQ(2, deliverAll());
    }
    EXPECT_EQ(6u, texts.size());
}

TEST_F(AlarmScheduleTest, CarriesOnAfterARefusedLaunch)
{
    const int once = ringAt(7, 30, 0);
    const int daily = ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();

    schedule().answered(once, LaunchResult::Refused, "no such application");
    schedule().answered(daily, LaunchResult::Refused, "no such application");
    runDue();

    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
    EXPECT_EQ(1u, schedule().list().size());
    ASSERT_EQ(2u, logLines.size());
    EXPECT_EQ("The alert of alarm 1 for com.velmora.alarm-alert cannot be launched: "
              "no such application",
        logLines[0]);
}

TEST_F(AlarmScheduleTest, SendsALostAlertThreeTimesAgain)
{
    const int id = ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();

    for (int sent = 1; sent <= 4; ++sent) {
        ASSERT_EQ(static_cast<std::size_t>(sent), launches.size());
        EXPECT_EQ(launches[0].once, launches.back().once);
        schedule().answered(id, LaunchResult::Lost, "no reply");
    }
    runDue();

    EXPECT_EQ(4u, launches.size());
    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
    EXPECT_EQ("The alert of alarm 1 for com.velmora.alarm-alert was sent 4 times and never "
              "answered: no reply",
        logLines.back());
}

TEST_F(AlarmScheduleTest, AnAlertThatArrivesAtTheSecondTryHasRungOnce)
{
    const int id = ringAt(7, 30, 0);
    passUntil("2026-11-21 07:30:00");
    runDue();

    schedule().answered(id, LaunchResult::Lost, "no reply");
    schedule().answered(id, LaunchResult::Delivered, "");
    runDue();

    EXPECT_EQ(2u, launches.size());
    EXPECT_TRUE(schedule().list().empty());
}

TEST_F(AlarmScheduleTest, RingsLateWithinHalfAnHour)
{
    ringAt(7, 30, 0);
    passUntil("2026-11-21 07:59:59");
    open();
    runDue();

    ASSERT_EQ(1u, launches.size());
    EXPECT_THAT(launches[0].once, HasSubstr(std::to_string(at("2026-11-21 07:30:00"))));
    EXPECT_TRUE(schedule().tray().empty());
}

TEST_F(AlarmScheduleTest, ReportsAOneShotAsMissedAfterHalfAnHour)
{
    ringAt(7, 30, 0);
    passUntil("2026-11-21 08:00:00");
    open();
    runDue();

    EXPECT_TRUE(launches.empty());
    EXPECT_TRUE(schedule().list().empty());
    const std::vector<host::TrayEntry> tray = schedule().tray();
    ASSERT_EQ(1u, tray.size());
    EXPECT_EQ(clock, tray[0].posted);
    EXPECT_EQ("Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:30", tray[0].text);
}

TEST_F(AlarmScheduleTest, AMissedRecurringOneGoesOnWithItsNextDay)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 08:00:00");
    runDue();

    EXPECT_TRUE(launches.empty());
    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
    EXPECT_EQ(
        std::vector<std::string>{ "Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:30" },
        trayTexts());
}

TEST_F(AlarmScheduleTest, RingsTodayAfterDaysWithoutPower)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-27 07:40:00");
    open();
    runDue();

    ASSERT_EQ(1u, launches.size());
    EXPECT_THAT(launches[0].once, HasSubstr(std::to_string(at("2026-11-27 07:30:00"))));
    EXPECT_EQ(1u, schedule().tray().size());
    deliverAll();
    EXPECT_EQ(at("2026-11-28 07:30:00"), next);
}

TEST_F(AlarmScheduleTest, KeepsTheTrayAcrossRestarts)
{
    ringAt(7, 30, 0);
    ringAt(7, 40, 0);
    passUntil("2026-11-21 12:00:00");
    runDue();
    open();

    EXPECT_EQ(
        (std::vector<std::string>{ "Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:30",
            "Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:40" }),
        trayTexts());
}

TEST_F(AlarmScheduleTest, DoesNotRingTwiceWhenTheClockIsSetBack)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    deliverAll();

    setClock("2026-11-21 07:00:00");
    clockChanged();

    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
}

TEST_F(AlarmScheduleTest, DoesNotRingTwiceWhenTheClockWasSetBackWhileTheDaemonWasAway)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    deliverAll();

    setClock("2026-11-20 20:00:00"); // 11.5 hours
    open();
    runDue();

    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
}

TEST_F(AlarmScheduleTest, RingsAgainWhenTheClockWasADayAhead)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    ASSERT_EQ(1u, launches.size());
    const std::string once = launches[0].once;
    deliverAll();
    pass(11 * 3600);

    setClock("2026-11-20 20:00:00");
    clockChanged();
    EXPECT_EQ(at("2026-11-21 07:30:00"), next);
    passUntil("2026-11-21 07:30:00");
    runDue();

    ASSERT_EQ(1u, launches.size());
    EXPECT_NE(once, launches[0].once); // or the receiver would drop it
    EXPECT_THAT(launches[0].once, StartsWith(once));
}

TEST_F(AlarmScheduleTest, RingsAgainWhenTheClockWentFarBackWhileTheDaemonWasAway)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    deliverAll();

    setClock("2026-11-20 19:00:00"); // 12.5 hours
    open();
    runDue();

    EXPECT_EQ(at("2026-11-21 07:30:00"), next);
}

TEST_F(AlarmScheduleTest, AnAlarmRegisteredUnderAWrongFutureClockRingsToday)
{
    setClock("2027-03-01 12:00:00");
    clockChanged();
    ringAt(7, 30, 0);
    ringAt(7, 30, kEveryDay);

    setClock("2026-11-21 06:00:00");
    clockChanged();
    EXPECT_EQ(at("2026-11-21 07:30:00"), next);
    passUntil("2026-11-21 07:30:00");
    runDue();

    EXPECT_EQ(2u, launches.size());
}

TEST_F(AlarmScheduleTest, ASmallStepBackLetsAnAlarmThatHasNotRungRing)
{
    ringAt(12, 0, 0); // registered at 12:00:00, so for tomorrow
    setClock("2026-11-20 11:59:00");
    clockChanged();

    EXPECT_EQ(at("2026-11-20 12:00:00"), next);
}

TEST_F(AlarmScheduleTest, AClockSetForwardRingsWhatItJustPassed)
{
    ringAt(7, 30, kEveryDay);
    setClock("2026-11-21 07:45:00");
    clockChanged();
    EXPECT_EQ(1, deliverAll());
    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
}

TEST_F(AlarmScheduleTest, AClockSetFarForwardReportsWhatItPassed)
{
    ringAt(7, 30, 0);
    setClock("2026-11-25 12:00:00");
    clockChanged();

    EXPECT_TRUE(launches.empty());
    EXPECT_EQ(1u, schedule().tray().size());
    EXPECT_EQ(std::nullopt, next);
}

TEST_F(AlarmScheduleTest, FollowsAnotherZone)
{
    ringAt(7, 30, kEveryDay);
    EXPECT_EQ(at("2026-11-21 07:30:00"), schedule().list()[0].due);

    zone = zoneNamed("America/New_York"); // where it is 06:00
    clockChanged();
    EXPECT_EQ(at("2026-11-20 07:30:00"), next);

    zone = zoneNamed("Asia/Tokyo");
    clockChanged();
    EXPECT_EQ(at("2026-11-21 07:30:00"), next);
}

TEST_F(AlarmScheduleTest, FollowsAZoneThatChangedWhileTheDaemonWasAway)
{
    ringAt(7, 30, 0);
    zone = zoneNamed("America/New_York");
    open();
    runDue();

    EXPECT_EQ(at("2026-11-20 07:30:00"), next);
}

TEST_F(AlarmScheduleTest, AZoneToTheEastRingsWhatItJustPassed)
{
    ringAt(13, 10, 0);
    passUntil("2026-11-20 12:30:00");
    zone = zoneNamed("Europe/Athens"); // where it is 13:30
    clockChanged();

    ASSERT_EQ(1u, launches.size());
    deliverAll();
    EXPECT_TRUE(schedule().list().empty());
}

TEST_F(AlarmScheduleTest, ASkippedTimeRingsBehindTheGapAndThenAtItsOwnTime)
{
    passUntil("2027-03-27 12:00:00");
    ringAt(2, 30, kEveryDay);
    passUntil("2027-03-28 01:59:59");
    runDue();
    EXPECT_TRUE(launches.empty());
    pass(1);
    EXPECT_EQ(at("2027-03-28 03:00:00"), clock);
    runDue();

    EXPECT_EQ(1, deliverAll());
    EXPECT_EQ(at("2027-03-29 02:30:00"), next);
}

TEST_F(AlarmScheduleTest, ADoubledTimeRingsOnce)
{
    passUntil("2026-10-25 00:00:00");
    clockChanged();
    ringAt(2, 30, kEveryDay);
    runDue();
    const std::int64_t first = next.value();
    pass(first - clock);
    runDue();
    EXPECT_EQ(1, deliverAll());

    pass(3600); // 02:30 again
    EXPECT_EQ(at("2026-10-25 02:30:00") + 3600, clock);
    runDue();

    EXPECT_TRUE(launches.empty());
    EXPECT_EQ(at("2026-10-26 02:30:00"), next);
}

TEST_F(AlarmScheduleTest, CancelsForTheRegisteringPackageOnly)
{
    const int id = ringAt(7, 30, 0);

    EXPECT_FALSE(schedule().cancel("com.velmora.watchface", id));
    EXPECT_EQ(1u, schedule().list().size());
    EXPECT_TRUE(schedule().cancel(kPackage, id));
    EXPECT_TRUE(schedule().list().empty());
    EXPECT_FALSE(schedule().cancel(kPackage, id));
}

TEST_F(AlarmScheduleTest, CancelsNoUnknownId)
{
    for (const int id : { 0, -1, 77 })
        EXPECT_FALSE(schedule().cancel(kPackage, id)) << id;
}

TEST_F(AlarmScheduleTest, ACancelledAlarmDoesNotRing)
{
    const int id = ringAt(7, 30, kEveryDay);
    ringAt(7, 40, kEveryDay);
    schedule().cancel(kPackage, id);
    runDue();

    EXPECT_EQ(at("2026-11-21 07:40:00"), next);
}

TEST_F(AlarmScheduleTest, AnAlarmCancelledWhileItRingsDoesNotComeBack)
{
    const int id = ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    EXPECT_TRUE(schedule().cancel(kPackage, id));
    schedule().answered(id, LaunchResult::Lost, "no reply");
    runDue();

    EXPECT_EQ(1u, launches.size());
    EXPECT_TRUE(schedule().list().empty());
    EXPECT_EQ(std::nullopt, next);
}

TEST_F(AlarmScheduleTest, NeverGivesAnIdTwice)
{
    std::set<int> ids;
    for (int round = 0; round < 5; ++round) {
        const int id = ringAt(7, 30, 0);
        EXPECT_GT(id, 0);
        EXPECT_TRUE(ids.insert(id).second) << id;
        schedule().cancel(kPackage, id);
        open();
    }
}

TEST_F(AlarmScheduleTest, LaunchesAllThatAreDueInOneSecond)
{
    const int count = 10000;
    std::set<int> expected;
    for (int i = 0; i < count; ++i)
        expected.insert(ringAt(7, 30, 0));
    passUntil("2026-11-21 07:30:00");

    std::set<int> rung;
    std::size_t most = 0;
    runDue();
    while (!launches.empty()) {
        const std::vector<Launch> sent = std::move(launches);
        launches.clear();
        most = std::max(most, sent.size());
        for (const Launch& launch : sent) {
            EXPECT_TRUE(rung.insert(launch.id).second) << launch.id;
            schedule().answered(launch.id, LaunchResult::Delivered, "");
        }
        runDue();
    }

    EXPECT_EQ(expected, rung);
    EXPECT_LE(most, 64u);
    EXPECT_TRUE(schedule().list().empty());
}

TEST_F(AlarmScheduleTest, MovesADamagedFileAsideAndStartsEmpty)
{
    const int lost = ringAt(7, 30, 0);
    close();
    std::ofstream(path(), std::ios::trunc) << std::string(20000, 'x');

    open();

    EXPECT_TRUE(schedule().list().empty());
    EXPECT_EQ(20000u, fs::file_size(path() + ".damaged-1"));
    ASSERT_EQ(1u, logLines.size());
    EXPECT_THAT(logLines[0], StartsWith("The registered alarms are lost: " + path()));
    EXPECT_GT(ringAt(7, 30, 0), lost);
}

TEST_F(AlarmScheduleTest, FindsDamageInsideTheFile)
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

TEST_F(AlarmScheduleTest, KeepsEveryDamagedFile)
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

// Lets no file grow while it exists, as on a full disk.
class NoFileGrows {
public:
    explicit NoFileGrows(const std::string& file)
    {
        _handler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &_before);
        rlimit full = _before;
        full.rlim_cur = fs::file_size(file);
        EXPECT_EQ(0, setrlimit(RLIMIT_FSIZE, &full));
    }
    ~NoFileGrows()
    {
        setrlimit(RLIMIT_FSIZE, &_before);
        std::signal(SIGXFSZ, _handler);
    }

private:
    rlimit _before = {};
    void (*_handler)(int) = nullptr;
};

TEST_F(AlarmScheduleTest, AFullDiskRefusesARegistrationAndKeepsTheOthers)
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

TEST_F(AlarmScheduleTest, RingsOnceOnAFullDiskAndWritesItDownLater)
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

TEST_F(AlarmScheduleTest, ARequestThatCannotBeReadIsLoggedAndPassed)
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

struct BadCase {
    const char* name;
    AlarmTime time;
    host::Entries request;
    const char* text;
};

class AlarmScheduleRefusalTest : public AlarmScheduleTest,
                                 public testing::WithParamInterface<BadCase> {};

TEST_P(AlarmScheduleRefusalTest, RegistersNothing)
{
    const BadCase& c = GetParam();
    try {
        schedule().schedule(kPackage, c.request, c.time);
        FAIL() << "was registered";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(c.text, error.what());
    }
    EXPECT_TRUE(schedule().list().empty());
}

INSTANTIATE_TEST_SUITE_P(Table, AlarmScheduleRefusalTest,
    testing::Values(
        BadCase{ "Hour", { 24, 0, 0, 0, {} }, requestFor(kTarget), "The hour is not within 0..23" },
        BadCase{ "NegativeHour", { -1, 0, 0, 0, {} }, requestFor(kTarget),
            "The hour is not within 0..23" },
        BadCase{
            "Minute", { 7, 60, 0, 0, {} }, requestFor(kTarget), "The minute is not within 0..59" },
        BadCase{
            "Second", { 7, 0, 60, 0, {} }, requestFor(kTarget), "The second is not within 0..59" },
        BadCase{ "WeekFlag", { 7, 0, 0, 128, {} }, requestFor(kTarget),
            "The week flag is not within 0..127" },
        BadCase{ "NegativeWeekFlag", { 7, 0, 0, -1, {} }, requestFor(kTarget),
            "The week flag is not within 0..127" },
        BadCase{ "Year", { 7, 0, 0, 0, cctz::civil_day(10000, 1, 1) }, requestFor(kTarget),
            "The year is not within 1900..9999" },
        BadCase{ "NoApplication", { 7, 0, 0, 0, {} }, {}, "The request names no application" },
        BadCase{ "EmptyApplication", { 7, 0, 0, 0, {} }, requestFor(""),
            "The request names no application" },
        BadCase{ "EmptyKey", { 7, 0, 0, 0, {} }, { { "", "x" } },
            "The request has an entry without key" },
        BadCase{ "KeyTwice", { 7, 0, 0, 0, {} }, { { "a", "x" }, { "a", "y" } },
            "The request has a key twice" }),
    [](const auto& row) { return row.param.name; });

} // namespace
