#include "AlarmScheduleFixture.h"

#include <app_alarm.h>
#include <gmock/gmock.h>
#include <set>

using host::Alarm;
using host::AlarmSchedule;
using host::AlarmTime;
using host::Launch;
using host::LaunchResult;
using host::LimitExceeded;
using testing::Each;
using testing::ElementsAre;
using testing::MatchesRegex;
namespace fs = std::filesystem;

namespace {

class AlarmScheduleTest : public AlarmScheduleFixture {};

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
    EXPECT_FALSE(launches[0].once.empty());
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
    EXPECT_EQ("The alert of alarm " + std::to_string(once)
            + " for com.velmora.alarm-alert cannot be launched: no such application",
        logLines[0]);
    EXPECT_THAT(trayTexts(),
        Each("Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:30: it cannot be launched: "
             "no such application"));
    EXPECT_EQ(2u, trayTexts().size());
}

TEST_F(AlarmScheduleTest, SendsALostAlertAgainAfterLongerAndLongerPauses)
{
    const int id = ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();

    std::size_t sent = 1;
    for (const int pause : { 1, 2, 4, 8, 16, 32, 60, 60 }) {
        schedule().answered(id, LaunchResult::Lost, "no reply");
        runDue();
        EXPECT_EQ(clock + pause, next);
        pass(pause - 1);
        runDue();
        EXPECT_EQ(sent, launches.size()) << pause;
        pass(1);
        runDue();
        ASSERT_EQ(++sent, launches.size()) << pause;
        EXPECT_EQ(launches[0].once, launches.back().once);
    }
}

TEST_F(AlarmScheduleTest, AClockThatIsSetDoesNotMoveTheNextSending)
{
    const int id = ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    schedule().answered(id, LaunchResult::Lost, "no reply");

    setClock("2026-11-21 07:20:00");
    clockChanged();
    EXPECT_EQ(clock + 1, next);
    pass(1);
    runDue();

    EXPECT_EQ(2u, launches.size());
}

TEST_F(AlarmScheduleTest, ReportsAnAlertAsMissedThatNobodyAnswersForHalfAnHour)
{
    const int id = ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    schedule().answered(id, LaunchResult::Lost, "no reply");
    passUntil("2026-11-21 07:59:59");
    runDue();
    ASSERT_EQ(2u, launches.size());
    passUntil("2026-11-21 08:00:00");

    schedule().answered(id, LaunchResult::Lost, "no reply");
    runDue();

    EXPECT_EQ(2u, launches.size());
    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
    EXPECT_EQ("The alert of alarm " + std::to_string(id)
            + " for com.velmora.alarm-alert was sent 2 times and never answered: no reply",
        logLines.back());
    EXPECT_THAT(trayTexts(),
        ElementsAre(
            "Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:30: it was sent 2 times "
            "and never answered: no reply"));
}

TEST_F(AlarmScheduleTest, ACancelledAlertIsNotSentAgain)
{
    const int id = ringAt(7, 30, 0);
    passUntil("2026-11-21 07:30:00");
    runDue();
    schedule().answered(id, LaunchResult::Lost, "no reply");

    EXPECT_TRUE(schedule().cancel(kPackage, id));
    pass(60);
    runDue();

    EXPECT_EQ(1u, launches.size());
}

TEST_F(AlarmScheduleTest, AnAlertThatArrivesAtTheSecondTryHasRungOnce)
{
    const int id = ringAt(7, 30, 0);
    passUntil("2026-11-21 07:30:00");
    runDue();

    schedule().answered(id, LaunchResult::Lost, "no reply");
    pass(1);
    runDue();
    schedule().answered(id, LaunchResult::Delivered, "");
    runDue();

    EXPECT_EQ(2u, launches.size());
    EXPECT_TRUE(schedule().list().empty());
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

TEST_F(AlarmScheduleTest, ManyAlertsOfOneApplicationDoNotHoldUpAnothers)
{
    const auto ringOther = [this](int minute) {
        return schedule().schedule(
            kPackage, requestFor("com.velmora.other"), { 7, minute, 0, 0, {} });
    };
    for (int i = 0; i < 200; ++i)
        ringOther(30);
    ringAt(7, 30, 0);
    ringAt(7, 31, 0);
    passUntil("2026-11-21 07:30:00");
    runDue();

    EXPECT_EQ(65u, launches.size());
    EXPECT_EQ(kTarget, launches.back().application);
    passUntil("2026-11-21 07:31:00");
    runDue();
    ASSERT_EQ(66u, launches.size());
    EXPECT_EQ(kTarget, launches.back().application);

    schedule().answered(launches[0].id, LaunchResult::Delivered, "");
    runDue();
    ASSERT_EQ(67u, launches.size());
    EXPECT_EQ("com.velmora.other", launches.back().application);

    // Nor do they hold up those that another package has for the same application.
    const int own = schedule().schedule(
        "com.velmora.own", requestFor("com.velmora.other"), { 7, 32, 0, 0, {} });
    passUntil("2026-11-21 07:32:00");
    runDue();
    ASSERT_EQ(68u, launches.size());
    EXPECT_EQ(own, launches.back().id);

    passUntil("2026-11-21 08:00:00");
    runDue();
    EXPECT_EQ(
        "Missed alarm of com.velmora.other at 2026-11-21 07:30: earlier ones are not answered",
        trayTexts().back());
}

TEST_F(AlarmScheduleTest, NobodyForeseesTheTextOfAnAlert)
{
    ringAt(7, 30, kEveryDay);
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();

    // The registrations are alike but for their ids, which can be guessed.
    ASSERT_EQ(2u, launches.size());
    std::set<std::string> texts = { launches[0].once, launches[1].once };
    fs::remove(path());
    idMark = 0;
    setClock("2026-11-20 12:00:00");
    open();
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    texts.insert(launches.at(0).once);
    EXPECT_EQ(3u, texts.size());
    EXPECT_THAT(texts, Each(MatchesRegex("[0-9a-f]{64}")));
}

TEST_F(AlarmScheduleTest, APackageHasTwentyThousandAlarmsAtTheMost)
{
    for (int i = 0; i < AlarmSchedule::kMostAlarms; ++i)
        ringAt(7, 30, 0);

    try {
        ringAt(7, 30, 0);
        FAIL() << "was registered";
    } catch (const LimitExceeded& error) {
        EXPECT_STREQ("com.velmora.alarm has 20000 alarms, which is the most", error.what());
    }
    EXPECT_GT(
        schedule().schedule("com.velmora.other", requestFor(kTarget), { 7, 30, 0, 0, {} }), 0);
    schedule().cancel(kPackage, schedule().list().front().id);
    EXPECT_GT(ringAt(7, 30, 0), 0);
}

TEST_F(AlarmScheduleTest, ARequestHas64KilobytesAtTheMost)
{
    host::Entries request = requestFor(kTarget);
    request.emplace_back("text", "");
    request.back().second.assign(host::kLongestRequest - host::sizeOf(request), 'x');
    EXPECT_GT(schedule().schedule(kPackage, request, { 7, 30, 0, 0, {} }), 0);

    request.back().second += 'x';
    try {
        schedule().schedule(kPackage, request, { 7, 30, 0, 0, {} });
        FAIL() << "was registered";
    } catch (const LimitExceeded& error) {
        EXPECT_STREQ("The request has 65537 bytes; it may have 65536", error.what());
    }
    EXPECT_EQ(1u, schedule().list().size());
}

struct BadCase {
    const char* name;
    AlarmTime time;
    host::Entries request;
    const char* text;
};

class AlarmScheduleRefusalTest : public AlarmScheduleFixture,
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
        BadCase{ "LongApplication", { 7, 0, 0, 0, {} }, requestFor(std::string(256, 'a')),
            "The application's id is longer than 255 bytes" },
        BadCase{ "EmptyKey", { 7, 0, 0, 0, {} }, { { "", "x" } },
            "The request has an entry without key" },
        BadCase{ "KeyTwice", { 7, 0, 0, 0, {} }, { { "a", "x" }, { "a", "y" } },
            "The request has a key twice" }),
    [](const auto& row) { return row.param.name; });

} // namespace
