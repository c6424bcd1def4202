#include "AlarmTime.h"

#include "CompanionFixture.h"
#include "data/NextOccurrenceCases.h"

using companion::WallTime;

class AlarmTimeTest : public CompanionFixture {
protected:
    // The nights in which Berlin changes its clocks in 2026: 02:00 to 03:00, and 03:00 to 02:00.
    static constexpr time_t kSpring = 1774746000;
    static constexpr time_t kAutumn = 1792890000;

    static AlarmDbData alarmAt(int hour, int minute)
    {
        AlarmDbData alarm;
        alarm.enable = 1;
        alarm.hour = hour;
        alarm.min = minute;
        return alarm;
    }
};

// What an application tells is when the alarm service rings.
TEST_F(AlarmTimeTest, NextInstantIsThatOfTheAlarmService)
{
    int compared = 0;
    for (const NextOccurrenceCase& row : kNextOccurrenceCases) {
        if (row.firstDay.day != 0)
            continue; // an alarm has no first day
        SCOPED_TRACE(row.name);
        setenv("TZ", row.zone, 1);
        const companion::WallTime time{ row.time.hour, row.time.minute, row.time.second };

        EXPECT_EQ(row.expected, companion::nextInstant(row.now, time, row.weekSet));
        ++compared;
    }
    EXPECT_GE(compared, 60);
}

TEST_F(AlarmTimeTest, AlarmOfADayRingsInItsMinuteOnThatDay)
{
    const struct {
        const char* name;
        const char* zone;
        time_t instant;
        int hour;
        int minute;
        time_t expected;
    } rows[] = {
        { "second in its minute", "Europe/Berlin", 1780291820, 7, 30, 1780291820 },
        { "late on the day", "Europe/Berlin", 1780348200, 7, 30, 1780291800 },
        { "the day's first second", "Europe/Berlin", 1780264800, 23, 59, 1780351140 },
        { "midnight", "Europe/Berlin", 1780348200, 0, 0, 1780264800 },
        { "skipped minute", "Europe/Berlin", 1774778400, 2, 30, 1774746000 },
        { "second pass of an hour", "Europe/Berlin", 1792891800, 2, 30, 1792888200 },
        { "skipped midnight", "Asia/Beirut", 1774774800, 0, 0, 1774735200 },
        { "day without midnight", "Asia/Beirut", 1774774800, 7, 30, 1774758600 },
    };
    for (const auto& row : rows) {
        setenv("TZ", row.zone, 1);
        AlarmDbData alarm;
        alarm.hour = row.hour;
        alarm.min = row.minute;

        EXPECT_EQ(row.expected, companion::instantOnDayOf(row.instant, alarm)) << row.name;
    }
}

TEST_F(AlarmTimeTest, NextRingHasItsZoneItsDayAndNoSnooze)
{
    AlarmDbData alarm = alarmAt(7, 30);
    alarm.count = 2;
    alarm.repeatWeekly = 1;

    companion::setNextRing(alarm, kNoon);

    EXPECT_EQ(kNoon + 19 * kHour + 30 * kMinute, alarm.stime);
    EXPECT_EQ(0, alarm.count);
    EXPECT_EQ(4, alarm.repeatWeekly) << "Tuesday";
    EXPECT_EQ(companion::deviceZone(), alarm.timezone);
}

TEST_F(AlarmTimeTest, NextRingIsTheFirstAfterNow)
{
    const struct {
        const char* name;
        time_t now;
        int hour, minute, weekdays;
        time_t expected;
    } rows[] = {
        { "later today", kNoon, 12, 1, 0, kNoon + kMinute },
        { "this very second is over", kNoon, 12, 0, 0, kNoon + kDay },
        { "one second before", kNoon - 1, 12, 0, 0, kNoon },
        { "last minute of the day", kNoon, 23, 59, 0, kNoon + 12 * kHour - kMinute },
        { "midnight", kNoon, 0, 0, 0, kNoon + 12 * kHour },
        { "midnight itself is over", kNoon + 12 * kHour, 0, 0, 0, kNoon + 36 * kHour },
        { "a weekday ahead", kNoon, 12, 0, 1 << 3, kNoon + 2 * kDay },
        { "the same weekday of the next week", kNoon, 12, 0, 1 << 1, kNoon + 7 * kDay },
        { "Sunday", kNoon, 12, 0, 1, kNoon + 6 * kDay },
        { "end of a month", 1777550400, 7, 30, 0, 1777613400 }, // 30 April 14:00 -> 1 May 07:30
        { "end of a year", 1798718400, 7, 30, 0, 1798785000 }, // 31 December 13:00 -> 1 January
        { "29 February", 1835366400, 7, 30, 0, 1835418600 }, // 28 February 2028 -> the 29th
        { "skipped in spring", kSpring - kHour, 2, 30, 0, kSpring },
        { "before the gap", kSpring - kHour, 1, 59, 0, kSpring - kMinute },
        { "after the gap", kSpring - kHour, 3, 0, 0, kSpring },
        { "twice in autumn, the first", kAutumn - 2 * kHour, 2, 30, 0, kAutumn - kHour / 2 },
        { "twice in autumn, the first is over", kAutumn, 2, 30, 0, kAutumn + kDay + kHour / 2 },
    };
    for (const auto& row : rows) {
        AlarmDbData alarm = alarmAt(row.hour, row.minute);
        alarm.repeat_once = row.weekdays == 0 ? 1 : 0;
        alarm.repeatWeekly = row.weekdays;

        companion::setNextRing(alarm, row.now);

        EXPECT_EQ(row.expected, alarm.stime) << row.name;
        EXPECT_EQ(row.expected, companion::upcomingInstant(alarm, row.now)) << row.name;
    }
}

TEST_F(AlarmTimeTest, LastInstantIsTheLatestUpToNow)
{
    EXPECT_EQ(kNoon, companion::lastInstant(kNoon, { 12, 0, 0 }));
    EXPECT_EQ(kNoon - kDay + 1, companion::lastInstant(kNoon, { 12, 0, 1 }));
    EXPECT_EQ(kSpring, companion::lastInstant(kSpring + kHour, { 2, 30, 0 })) << "skipped";
}

TEST_F(AlarmTimeTest, SecondPassOfAnHourIsNotNamedByItsWallTime)
{
    EXPECT_TRUE(companion::isNamedByWallTime(kNoon));
    EXPECT_TRUE(companion::isNamedByWallTime(kAutumn - kHour / 2)) << "02:30, the first";
    EXPECT_FALSE(companion::isNamedByWallTime(kAutumn + kHour / 2)) << "02:30, the second";
    EXPECT_TRUE(companion::isNamedByWallTime(kAutumn + kHour)) << "03:00";
}

TEST_F(AlarmTimeTest, DueInstantIsLaterByTheSnoozes)
{
    AlarmDbData alarm = alarmAt(12, 0);
    alarm.stime = static_cast<int>(kNoon);
    EXPECT_EQ(kNoon, companion::dueInstant(alarm));
    alarm.count = 2;
    EXPECT_EQ(kNoon + 10 * kMinute, companion::dueInstant(alarm));
}

TEST_F(AlarmTimeTest, RegistrationMeansAnInstantOfTheNextSixDays)
{
    EXPECT_FALSE(companion::isWithinTheWeek(kNoon, kNoon));
    EXPECT_TRUE(companion::isWithinTheWeek(kNoon + 1, kNoon));
    EXPECT_TRUE(companion::isWithinTheWeek(kNoon + 6 * kDay - 1, kNoon));
    EXPECT_FALSE(companion::isWithinTheWeek(kNoon + 6 * kDay, kNoon));
}

TEST_F(AlarmTimeTest, SnoozedAlarmRingsAndRangWhenItsSnoozeIsOver)
{
    AlarmDbData alarm = alarmAt(23, 58);
    alarm.repeat_once = 0;
    alarm.repeatWeekly = 2; // Mondays
    alarm.stime = static_cast<int>(kNoon + 12 * kHour - 2 * kMinute);
    alarm.count = 1;
    const time_t due = kNoon + 12 * kHour + 3 * kMinute; // Tuesday 00:03

    EXPECT_EQ(due, companion::upcomingInstant(alarm, kNoon));
    EXPECT_EQ(due, companion::ringingInstant(alarm, due + 5));
    EXPECT_EQ(kNoon + 7 * kDay + 12 * kHour + 3 * kMinute,
        companion::upcomingInstant(alarm, due + 6 * kDay))
        << "a Monday or a Tuesday at 00:03";
}

TEST_F(AlarmTimeTest, AlarmThatRingsCameDueAtItsLastTimeOfDay)
{
    AlarmDbData alarm = alarmAt(12, 0);
    alarm.stime = static_cast<int>(kNoon + 17);

    EXPECT_EQ(kNoon + 17, companion::ringingInstant(alarm, kNoon + 17));
    EXPECT_EQ(kNoon + 17 - kDay, companion::ringingInstant(alarm, kNoon + 16));
}

TEST_F(AlarmTimeTest, OneShotOfThePhoneWaitsForItsInstant)
{
    AlarmDbData alarm = alarmAt(12, 0);
    alarm.deviceType = 1;
    alarm.mobileAlertTime = 1;
    alarm.stime = static_cast<int>(kNoon + 30 * kDay);
    const time_t awaited = kNoon + 30 * kDay;

    EXPECT_EQ(awaited, companion::awaitedInstant(alarm, kNoon));
    EXPECT_EQ(awaited, companion::upcomingInstant(alarm, kNoon));
    EXPECT_FALSE(companion::awaitedInstant(alarm, awaited)) << "it is over";
    AlarmDbData registered = alarm;
    registered.alarm_mgr_id = 1;
    EXPECT_FALSE(companion::awaitedInstant(registered, kNoon));
    AlarmDbData leftToPhone = alarm;
    leftToPhone.alarm_mgr_id = 0;
    EXPECT_EQ(awaited, companion::awaitedInstant(leftToPhone, kNoon));
    AlarmDbData weekly = alarm;
    weekly.repeat_once = 0;
    EXPECT_FALSE(companion::awaitedInstant(weekly, kNoon));
    AlarmDbData unknown = alarm;
    unknown.mobileAlertTime = 0;
    EXPECT_FALSE(companion::awaitedInstant(unknown, kNoon));
    AlarmDbData watchs = alarm;
    watchs.deviceType = 2;
    EXPECT_FALSE(companion::awaitedInstant(watchs, kNoon));
}

TEST_F(AlarmTimeTest, SwitchedAlarmRingsAtItsNextTime)
{
    AlarmDbData alarm = alarmAt(12, 0);
    alarm.stime = static_cast<int>(kNoon - 9 * kDay);
    companion::setSwitchedRing(alarm, kNoon);
    EXPECT_EQ(kNoon + kDay, alarm.stime);
}

TEST_F(AlarmTimeTest, SwitchedOneShotOfThePhoneKeepsItsDayUntilThatIsOver)
{
    const auto switched = [](int enable, time_t instant) {
        AlarmDbData alarm = alarmAt(12, 0);
        alarm.deviceType = 1;
        alarm.enable = enable;
        alarm.stime = static_cast<int>(instant);
        companion::setSwitchedRing(alarm, kNoon);
        return static_cast<time_t>(alarm.stime);
    };
    EXPECT_EQ(kNoon + 9 * kDay, switched(1, kNoon + 9 * kDay));
    EXPECT_EQ(kNoon + 9 * kDay, switched(0, kNoon + 9 * kDay));
    EXPECT_EQ(kNoon - 9 * kDay, switched(0, kNoon - 9 * kDay)) << "off, it need not ring";
    EXPECT_EQ(kNoon + kDay, switched(1, kNoon - 9 * kDay));
    EXPECT_EQ(kNoon + kDay, switched(1, kNoon)) << "this very second is over";
}

TEST_F(AlarmTimeTest, CurrentTimeIsTheSecondThatHasBegun)
{
    clockDouble().now = timeval{ kNoon, 999999 };
    EXPECT_EQ(kNoon, companion::currentTime());
    EXPECT_EQ(0, clockDouble().timesAsked) << "time() is late to tell";
}
