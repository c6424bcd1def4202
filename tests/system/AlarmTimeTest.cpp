#include "common/AlarmTime.h"

#include "data/NextOccurrenceCases.h"

#include <AlarmDbData.h>
#include <cstdlib>
#include <gtest/gtest.h>

// What an application tells is when the alarm service rings.
TEST(AlarmTimeTest, NextInstantIsThatOfTheAlarmService)
{
    int compared = 0;
    for (const NextOccurrenceCase& row : kNextOccurrenceCases) {
        if (row.firstDay.day != 0)
            continue; // an alarm has no first day
        SCOPED_TRACE(row.name);
        setenv("TZ", row.zone, 1);
        const app::WallTime time{ row.time.hour, row.time.minute, row.time.second };

        EXPECT_EQ(row.expected, app::nextInstant(row.now, time, row.weekSet));
        ++compared;
    }
    EXPECT_GE(compared, 60);
}

TEST(AlarmTimeTest, AlarmOfADayRingsInItsMinuteOnThatDay)
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

        EXPECT_EQ(row.expected, app::instantOnDayOf(row.instant, alarm)) << row.name;
    }
}
