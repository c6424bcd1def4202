#include "AlarmScheduleFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::StartsWith;

namespace {

class AlarmScheduleClockTest : public AlarmScheduleFixture {};

TEST_F(AlarmScheduleClockTest, RingsLateWithinHalfAnHour)
{
    ringAt(7, 30, 0);
    passUntil("2026-11-21 07:59:59");
    open();
    runDue();

    ASSERT_EQ(1u, launches.size());
    EXPECT_EQ(at("2026-11-21 07:30:00"), schedule().list().at(0).due);
    EXPECT_TRUE(trayTexts().empty());
}

TEST_F(AlarmScheduleClockTest, ReportsAOneShotAsMissedAfterHalfAnHour)
{
    ringAt(7, 30, 0);
    passUntil("2026-11-21 08:00:00");
    open();
    runDue();

    EXPECT_TRUE(launches.empty());
    EXPECT_TRUE(schedule().list().empty());
    const std::vector<host::Report> reports = tray->reports();
    ASSERT_EQ(1u, reports.size());
    EXPECT_EQ(clock, reports[0].posted);
    EXPECT_EQ("Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:30: nobody was there to "
              "launch it",
        reports[0].text);
}

TEST_F(AlarmScheduleClockTest, AMissedRecurringOneGoesOnWithItsNextDay)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 08:00:00");
    runDue();

    EXPECT_TRUE(launches.empty());
    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
    EXPECT_THAT(trayTexts(),
        ElementsAre(StartsWith("Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:30: ")));
}

TEST_F(AlarmScheduleClockTest, RingsTodayAfterDaysWithoutPower)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-27 07:40:00");
    open();
    runDue();

    ASSERT_EQ(1u, launches.size());
    EXPECT_EQ(at("2026-11-27 07:30:00"), schedule().list().at(0).due);
    EXPECT_EQ(1u, trayTexts().size());
    deliverAll();
    EXPECT_EQ(at("2026-11-28 07:30:00"), next);
}

TEST_F(AlarmScheduleClockTest, AKillKeepsTodaysAlarmAndReportsTheMissedOneOnce)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-27 07:40:00");
    open();
    runDue();
    ASSERT_EQ(1u, launches.size()); // and not answered

    open();
    runDue();

    EXPECT_EQ(1, deliverAll());
    EXPECT_EQ(at("2026-11-28 07:30:00"), next);
    EXPECT_THAT(trayTexts(),
        ElementsAre(StartsWith("Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:30: ")));
}

TEST_F(AlarmScheduleClockTest, KeepsTheTrayAcrossRestarts)
{
    ringAt(7, 30, 0);
    ringAt(7, 40, 0);
    passUntil("2026-11-21 12:00:00");
    runDue();
    open();

    EXPECT_THAT(trayTexts(),
        ElementsAre(StartsWith("Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:30: "),
            StartsWith("Missed alarm of com.velmora.alarm-alert at 2026-11-21 07:40: ")));
}

TEST_F(AlarmScheduleClockTest, ReportsWhatIsMissedAgainAfterAClockThatWasWrong)
{
    setClock("2026-11-21 07:00:00");
    clockChanged();
    ringAt(7, 30, kEveryDay);
    setClock("2026-11-21 09:00:00");
    clockChanged();
    EXPECT_EQ(1u, trayTexts().size());
    setClock("2026-11-21 07:10:00");
    clockChanged();
    passUntil("2026-11-21 08:00:00");

    open();
    runDue();

    EXPECT_EQ(2u, trayTexts().size());
}

TEST_F(AlarmScheduleClockTest, DoesNotRingTwiceWhenTheClockIsSetBack)
{
    ringAt(7, 30, kEveryDay);
    passUntil("2026-11-21 07:30:00");
    runDue();
    deliverAll();

    setClock("2026-11-21 07:00:00");
    clockChanged();

    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
}

TEST_F(AlarmScheduleClockTest, DoesNotRingTwiceWhenTheClockWasSetBackWhileTheDaemonWasAway)
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

TEST_F(AlarmScheduleClockTest, RingsAgainWhenTheClockWasADayAhead)
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
}

TEST_F(AlarmScheduleClockTest, DoesNotRingTwiceWhenTheClockWentFarBackOnceAndALittleLater)
{
    ringAt(7, 30, kEveryDay);
    setClock("2026-11-19 12:00:00");
    clockChanged();
    passUntil("2026-11-20 07:30:00");
    runDue();
    EXPECT_EQ(1, deliverAll());

    setClock("2026-11-20 07:00:00");
    clockChanged();

    EXPECT_EQ(at("2026-11-21 07:30:00"), next);
}

TEST_F(AlarmScheduleClockTest, RingsAgainWhenTheClockWentFarBackWhileTheDaemonWasAway)
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

TEST_F(AlarmScheduleClockTest, AnAlarmRegisteredUnderAWrongFutureClockRingsToday)
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

TEST_F(AlarmScheduleClockTest, ASmallStepBackLetsAnAlarmThatHasNotRungRing)
{
    ringAt(12, 0, 0); // registered at 12:00:00, so for tomorrow
    setClock("2026-11-20 11:59:00");
    clockChanged();

    EXPECT_EQ(at("2026-11-20 12:00:00"), next);
}

TEST_F(AlarmScheduleClockTest, AClockSetForwardRingsWhatItJustPassed)
{
    ringAt(7, 30, kEveryDay);
    setClock("2026-11-21 07:45:00");
    clockChanged();
    EXPECT_EQ(1, deliverAll());
    EXPECT_EQ(at("2026-11-22 07:30:00"), next);
}

TEST_F(AlarmScheduleClockTest, AClockSetFarForwardReportsWhatItPassed)
{
    ringAt(7, 30, 0);
    setClock("2026-11-25 12:00:00");
    clockChanged();

    EXPECT_TRUE(launches.empty());
    EXPECT_EQ(1u, trayTexts().size());
    EXPECT_EQ(std::nullopt, next);
}

TEST_F(AlarmScheduleClockTest, FollowsAnotherZone)
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

TEST_F(AlarmScheduleClockTest, FollowsAZoneThatChangedWhileTheDaemonWasAway)
{
    ringAt(7, 30, 0);
    zone = zoneNamed("America/New_York");
    open();
    runDue();

    EXPECT_EQ(at("2026-11-20 07:30:00"), next);
}

TEST_F(AlarmScheduleClockTest, AZoneToTheEastRingsWhatItJustPassed)
{
    ringAt(13, 10, 0);
    passUntil("2026-11-20 12:30:00");
    zone = zoneNamed("Europe/Athens"); // where it is 13:30
    clockChanged();

    ASSERT_EQ(1u, launches.size());
    deliverAll();
    EXPECT_TRUE(schedule().list().empty());
}

TEST_F(AlarmScheduleClockTest, ASkippedTimeRingsBehindTheGapAndThenAtItsOwnTime)
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

TEST_F(AlarmScheduleClockTest, ADoubledTimeRingsOnce)
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

} // namespace
