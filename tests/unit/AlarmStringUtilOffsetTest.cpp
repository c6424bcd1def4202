#include "AlarmStringUtil.h"
#include "ClockDouble.h"
#include "DlogDouble.h"

#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <limits>

using testing::ElementsAre;

namespace {
struct Offset {
    int days, hours, minutes;
};

bool operator==(const Offset& left, const Offset& right)
{
    return left.days == right.days && left.hours == right.hours && left.minutes == right.minutes;
}

std::ostream& operator<<(std::ostream& out, const Offset& offset)
{
    return out << offset.days << " d " << offset.hours << " h " << offset.minutes << " min";
}

// In the order of the table.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct Case {
    const char* name;
    const char* zone;
    long now;
    int hour, min;
    int days; // 0 = once
    long start;
    Offset expected;
};

const Case kCases[] = {
#include "data/AlertOffsetCases.inc"
};

class AlertOffsetTest : public testing::Test {
protected:
    AlertOffsetTest() { dlogDouble() = {}; }
    ~AlertOffsetTest() override { clockDouble() = {}; }

    static void setNow(const char* zone, long now)
    {
        setenv("TZ", zone, 1);
        tzset();
        clockDouble().now = timeval{ now, 999999 };
    }

    static AlarmDbData alarmAt(int hour, int min, int days, long start)
    {
        AlarmDbData alarm;
        alarm.hour = hour;
        alarm.min = min;
        alarm.repeat_once = days == 0 ? 1 : 0;
        alarm.repeatWeekly = days;
        alarm.stime = static_cast<int>(start);
        return alarm;
    }

    static Offset offsetOf(const AlarmDbData& alarm, Offset offset = { 0, 0, 0 })
    {
        AlarmStringUtil::getAlertTimeOffset(alarm, offset.days, offset.hours, offset.minutes);
        return offset;
    }
};

class AlertOffsetTableTest : public AlertOffsetTest, public testing::WithParamInterface<Case> {};
} // namespace

TEST_P(AlertOffsetTableTest, IsTheTimeUntilTheAlarmRings)
{
    const Case& c = GetParam();
    setNow(c.zone, c.now);

    EXPECT_EQ(c.expected, offsetOf(alarmAt(c.hour, c.min, c.days, c.start)));

    EXPECT_FALSE(dlogDouble().lines.empty());
    for (const DlogDouble::Line& line : dlogDouble().lines)
        EXPECT_THAT(line.text, testing::StartsWith("AlarmStringUtil.cpp: getAlertTimeOffset("));
}

INSTANTIATE_TEST_SUITE_P(Table, AlertOffsetTableTest, testing::ValuesIn(kCases),
    [](const auto& row) { return row.param.name; });

TEST_F(AlertOffsetTest, OneShotOfThisMonthIsCountedByItsDay)
{
    setNow("Europe/Berlin", 1715716800); // Tue 2024-05-14 22:00
    const AlarmDbData alarm = alarmAt(6, 0, 0, 1715745600);

    EXPECT_EQ((Offset{ 0, 8, 0 }), offsetOf(alarm, { 5, 6, 7 }));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("startTime = 1715745600, currentTime = 1715716800",
            "alarmData.hour = 6, alarmData.min = 0", "same month and year"));
}

TEST_F(AlertOffsetTest, OneShotOfAnotherMonthIsCountedByMidnights)
{
    setNow("Europe/Berlin", 1717185600); // Fri 2024-05-31 22:00
    const AlarmDbData alarm = alarmAt(23, 30, 0, 1717277400);

    EXPECT_EQ((Offset{ 1, 1, 30 }), offsetOf(alarm));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("startTime = 1717277400, currentTime = 1717185600",
            "alarmData.hour = 23, alarmData.min = 30", "different month and year", "diffTime[1]"));
}

TEST_F(AlertOffsetTest, OneShotThatIsDueNowIsNothingAway)
{
    setNow("Europe/Berlin", 1715664600); // Tue 2024-05-14 07:30

    EXPECT_EQ((Offset{ 0, 0, 0 }), offsetOf(alarmAt(7, 30, 0, 1715664600)));
}

TEST_F(AlertOffsetTest, OneShotOfYesterdayIsDaysBehind)
{
    setNow("Europe/Berlin", 1715664600);

    EXPECT_EQ((Offset{ -1, 23, 0 }), offsetOf(alarmAt(6, 30, 0, 1715664600 - 3600)));
}

TEST_F(AlertOffsetTest, SpringForwardNeedsAStartTimeAheadOfNow)
{
    setNow("Europe/Berlin", 1711841400); // Sun 2024-03-31 00:30, before the gap
    const AlarmDbData stale = alarmAt(7, 30, 1, 1711841400 - 7 * 24 * 3600);

    EXPECT_EQ((Offset{ 0, 7, 0 }), offsetOf(stale));
}

TEST_F(AlertOffsetTest, AStartTimeOfLastSummerDoesNotCountInWinter)
{
    setNow("Europe/Berlin", 1705294800); // Mon 2024-01-15 06:00
    const AlarmDbData stale = alarmAt(7, 30, 127, 1690867800);

    EXPECT_EQ((Offset{ 0, 1, 30 }), offsetOf(stale));
}

TEST_F(AlertOffsetTest, RepeatingAlarmOfTodayCountsOnFromTheGivenDays)
{
    setNow("Europe/Berlin", 1715659200); // Tue 2024-05-14 06:00
    const AlarmDbData alarm = alarmAt(7, 30, 4, 1715664600);

    EXPECT_EQ((Offset{ 2, 1, 30 }), offsetOf(alarm, { 2, 9, 9 }));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("repeat day is today case : alarmData.hour = 7, alarmData.min = 30, "
                    "alarmData.repeatWeekly = 4"));
}

TEST_F(AlertOffsetTest, RepeatingAlarmOfAnotherDayCountsOnFromTheGivenDays)
{
    setNow("Europe/Berlin", 1715659200);
    const AlarmDbData alarm = alarmAt(7, 30, 8, 1715664600);

    EXPECT_EQ((Offset{ 3, 1, 30 }), offsetOf(alarm, { 2, 9, 9 }));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("repeat day is not today case : alarmData.hour = 7, alarmData.min = 30, "
                    "alarmData.repeatWeekly = 8"));
}

TEST_F(AlertOffsetTest, RepeatingAlarmWithoutDaysIsLookedForSixDaysAhead)
{
    setNow("Europe/Berlin", 1715659200);
    AlarmDbData alarm = alarmAt(7, 30, 0, 1715664600);
    alarm.repeat_once = 0;

    EXPECT_EQ((Offset{ 7, 1, 30 }), offsetOf(alarm));
}

TEST_F(AlertOffsetTest, AnyTimeOfDayOfADamagedRecordIsCounted)
{
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    const long today = 1715661000; // Tue 2024-05-14 06:30
    setNow("Europe/Berlin", today);

    EXPECT_EQ((Offset{ -1, least + 17, least + 30 }), offsetOf(alarmAt(least, least, 0, today)));
    EXPECT_EQ((Offset{ 0, most - 6, most - 30 }), offsetOf(alarmAt(most, most, 0, today)));
    EXPECT_EQ((Offset{ 6, least + 17, least + 30 }), offsetOf(alarmAt(least, least, 4, today)));
    EXPECT_EQ((Offset{ 0, least + 17, least + 30 }), offsetOf(alarmAt(least, least, 8, today)));

    const long winter = 1705296600; // Mon 2024-01-15 06:30
    setNow("Europe/Berlin", winter);
    EXPECT_EQ((Offset{ 1, most - 6, most - 30 }), offsetOf(alarmAt(most, most, 4, winter)));
}

TEST_F(AlertOffsetTest, TheClockIsReadOnceAndTheZoneIsLeftAlone)
{
    setNow("Asia/Seoul", 1715659200);

    for (const int days : { 0, 127, 1 }) {
        clockDouble().timesAsked = 0;
        offsetOf(alarmAt(7, 30, days, 1715664600));
        EXPECT_EQ(1, clockDouble().timesAsked) << days;
    }

    EXPECT_STREQ("Asia/Seoul", getenv("TZ"));
}
