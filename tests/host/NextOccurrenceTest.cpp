#include "host/daemon/NextOccurrence.h"

#include "data/NextOccurrenceCases.h"

#include <gtest/gtest.h>
#include <string>

namespace {

cctz::time_zone zoneNamed(const std::string& name)
{
    cctz::time_zone zone;
    EXPECT_TRUE(cctz::load_time_zone(name, &zone)) << name;
    return zone;
}

class NextOccurrenceTest : public testing::TestWithParam<NextOccurrenceCase> {};

TEST_P(NextOccurrenceTest, IsTheFirstInstantThatTheClockShowsTheTime)
{
    const NextOccurrenceCase& c = GetParam();
    host::AlarmTime alarm{ c.time.hour, c.time.minute, c.time.second, c.weekSet, {} };
    if (c.firstDay.day != 0)
        alarm.firstDay = cctz::civil_day(c.firstDay.year, c.firstDay.month, c.firstDay.day);

    EXPECT_EQ(c.expected, host::nextOccurrence(c.now, alarm, zoneNamed(c.zone)));
}

INSTANTIATE_TEST_SUITE_P(Table, NextOccurrenceTest, testing::ValuesIn(kNextOccurrenceCases),
    [](const auto& row) { return row.param.name; });

TEST(NextOccurrenceSequenceTest, ASetThatNamesNoDayMeansEveryDay)
{
    const cctz::time_zone zone = zoneNamed("Europe/Berlin");
    const std::int64_t now = 1704063600; // 2024-01-01 00:00:00 +0100
    EXPECT_EQ(now + 3600, host::nextOccurrence(now, { 1, 0, 0, 128, {} }, zone));
}

TEST(NextOccurrenceSequenceTest, MeetsEveryDayOfAYearOnce)
{
    const cctz::time_zone zone = zoneNamed("Europe/Berlin");
    const host::AlarmTime alarm{ 2, 30, 0, 0, {} };
    std::int64_t instant = 1704063600; // 2024-01-01 00:00:00 +0100
    for (cctz::civil_day day(2024, 1, 1); day < cctz::civil_day(2025, 1, 1); ++day) {
        instant = host::nextOccurrence(instant, alarm, zone);

        const auto shown = zone.lookup(cctz::time_point<cctz::seconds>(cctz::seconds(instant))).cs;
        ASSERT_EQ(day, cctz::civil_day(shown));
    }
}

} // namespace
