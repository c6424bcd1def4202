#include "common/AlarmTime.h"

#include "data/NextOccurrenceCases.h"

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
