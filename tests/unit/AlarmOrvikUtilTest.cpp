#include "AlarmOrvikUtil.h"

#include "AlarmDbData.h"
#include "ClockDouble.h"
#include "DlogDouble.h"
#include "JsonSupport.h"

#include <climits>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
// The target of the link to the device's zone; there is no link when it is empty.
std::string linkTarget;
} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" ssize_t __wrap_readlink(const char* /*path*/, char* buffer, size_t size);
ssize_t __wrap_readlink(const char* /*path*/, char* buffer, size_t size)
{
    return linkTarget.empty() ? -1 : static_cast<ssize_t>(linkTarget.copy(buffer, size));
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {
std::string line(const char* first, int a, const char* second, int b)
{
    return std::string(first) + "[" + std::to_string(a) + "] " + second + "[" + std::to_string(b)
        + "]";
}

std::string repeatLine(int weekly, int once)
{
    return line("repeatWeekly", weekly, "repeatOnce", once);
}

std::string valueLine(const std::string& value) { return "repeatValue[" + value + "]"; }

struct RepeatCase {
    const char* name;
    int weekly, once;
    const char* voice;
};
class VoiceRepeatTest : public testing::TestWithParam<RepeatCase> {
protected:
    VoiceRepeatTest() { dlogDouble() = {}; }
};

struct OddVoiceCase {
    const char* name;
    std::string voice;
    int weekly, once;
};
class OddVoiceRepeatTest : public testing::TestWithParam<OddVoiceCase> {};

struct OddMaskCase {
    const char* name;
    int weekly, once;
    const char* voice;
};
class OddMaskTest : public testing::TestWithParam<OddMaskCase> {};
} // namespace

TEST_P(VoiceRepeatTest, IsWrittenAsOneDigitPerDay)
{
    const RepeatCase& row = GetParam();

    EXPECT_EQ(row.voice, AlarmOrvikUtil::convertRepeatWeeklyToOrvikData(row.weekly, row.once));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre(repeatLine(row.weekly, row.once), valueLine(row.voice)));
    EXPECT_EQ(2u, dlogDouble().lines.size());
}

TEST_P(VoiceRepeatTest, IsReadFromOneDigitPerDay)
{
    const RepeatCase& row = GetParam();
    int once = 42;

    EXPECT_EQ(row.weekly, AlarmOrvikUtil::convertRepeatWeeklyFromOrvikData(row.voice, &once));

    EXPECT_EQ(row.once, once);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre(valueLine(row.voice), repeatLine(row.weekly, row.once)));
    EXPECT_EQ(2u, dlogDouble().lines.size());
}

INSTANTIATE_TEST_SUITE_P(Table, VoiceRepeatTest,
    testing::Values(RepeatCase{ "Once", 0, 1, "0" }, RepeatCase{ "WeeklyOnNoDay", 0, 0, "" },
        RepeatCase{ "Sunday", 1, 0, "1" }, RepeatCase{ "Monday", 2, 0, "2" },
        RepeatCase{ "Tuesday", 4, 0, "3" }, RepeatCase{ "Wednesday", 8, 0, "4" },
        RepeatCase{ "Thursday", 16, 0, "5" }, RepeatCase{ "Friday", 32, 0, "6" },
        RepeatCase{ "Saturday", 64, 0, "7" }, RepeatCase{ "WorkingDays", 62, 0, "2,3,4,5,6" },
        RepeatCase{ "Weekend", 65, 0, "1,7" }, RepeatCase{ "ThreeDays", 67, 0, "1,2,7" },
        RepeatCase{ "EveryDay", 127, 0, "1,2,3,4,5,6,7" }),
    [](const auto& row) { return row.param.name; });

TEST(VoiceRepeatRoundTripTest, EverySetOfDaysComesBack)
{
    for (int weekly = 0; weekly < 128; ++weekly) {
        int once = 42;
        const std::string voice = AlarmOrvikUtil::convertRepeatWeeklyToOrvikData(weekly, 0);
        EXPECT_EQ(weekly, AlarmOrvikUtil::convertRepeatWeeklyFromOrvikData(voice, &once)) << voice;
        EXPECT_EQ(0, once) << voice;
    }
}

TEST(VoiceRepeatRoundTripTest, EverySetOfDaysIsZeroForOneThatRingsOnce)
{
    for (int weekly = 0; weekly < 128; ++weekly)
        EXPECT_EQ("0", AlarmOrvikUtil::convertRepeatWeeklyToOrvikData(weekly, 1)) << weekly;
}

TEST_P(OddVoiceRepeatTest, IsReadDigitByDigit)
{
    const OddVoiceCase& row = GetParam();
    int once = 42;

    EXPECT_EQ(row.weekly, AlarmOrvikUtil::convertRepeatWeeklyFromOrvikData(row.voice, &once));

    EXPECT_EQ(row.once, once);
}

INSTANTIATE_TEST_SUITE_P(Table, OddVoiceRepeatTest,
    testing::Values(OddVoiceCase{ "SundayTwiceIsMonday", "1,1", 2, 0 },
        OddVoiceCase{ "SundayThriceIsSundayAndMonday", "111", 3, 0 },
        OddVoiceCase{ "SaturdayTwiceIsBeyondTheDays", "7,7", 128, 0 },
        OddVoiceCase{ "OnceTwice", "0,0", 0, 1 }, OddVoiceCase{ "OnceAndDays", "0,2,3", 6, 1 },
        OddVoiceCase{ "DaysAndOnce", "2,3,0", 6, 1 },
        OddVoiceCase{ "AnyOrder", "7,1,4", 64 + 1 + 8, 0 },
        OddVoiceCase{ "WithoutCommas", "23456", 62, 0 }, OddVoiceCase{ "OnlyCommas", ",,,", 0, 0 },
        OddVoiceCase{ "CommasBeforeAndAfter", ",2,,3,", 6, 0 },
        OddVoiceCase{ "Spaces", " 2 , 3\t\n", 6, 0 }, OddVoiceCase{ "NoDays", "8,9", 0, 0 },
        OddVoiceCase{ "NoDaysAmongDays", "8,2,9", 2, 0 },
        OddVoiceCase{ "TwoDigitsAreTwoDays", "12", 3, 0 },
        OddVoiceCase{ "CharactersAroundTheDigits", "/:", 0, 0 },
        OddVoiceCase{ "Negative", "-1", 1, 0 }, OddVoiceCase{ "Letters", "mon,2,tue", 2, 0 },
        OddVoiceCase{ "Utf8", "\u00FC2\u2014\uFF13", 2, 0 },
        OddVoiceCase{ "NoUtf8",
            "\xFF\x80"
            "2\xB1",
            2, 0 },
        OddVoiceCase{ "BeyondAZeroCharacter",
            std::string("2\0"
                        "3\0",
                4),
            6, 0 },
        OddVoiceCase{ "Long", std::string(1000, '1'), 1000, 0 }),
    [](const auto& row) { return row.param.name; });

TEST_P(OddMaskTest, IsWrittenBitByBit)
{
    const OddMaskCase& row = GetParam();
    EXPECT_EQ(row.voice, AlarmOrvikUtil::convertRepeatWeeklyToOrvikData(row.weekly, row.once));
}

INSTANTIATE_TEST_SUITE_P(Table, OddMaskTest,
    testing::Values(OddMaskCase{ "BitAboveSaturday", 128, 0, "" },
        OddMaskCase{ "DaysAndABitAboveSaturday", 128 + 1 + 64, 0, "1,7," },
        OddMaskCase{ "AllBitsButTheSign", INT_MAX, 0, "1,2,3,4,5,6,7," },
        OddMaskCase{ "AllBits", -1, 0, "1,2,3,4,5,6,7," },
        OddMaskCase{ "OnlyTheSign", INT_MIN, 0, "" }, OddMaskCase{ "AnyOtherOnce", 65, 2, "0" },
        OddMaskCase{ "NegativeOnce", -1, -1, "0" }),
    [](const auto& row) { return row.param.name; });

namespace {
// In the order of the table.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct Case {
    const char* name;
    const char* zone;
    int year, month, day;
    int hour, minute;
    int instant;
};

const Case kCases[] = {
#include "data/VoiceTimeCases.inc"
};

tm dateOf(const Case& row)
{
    tm date = {};
    date.tm_year = row.year - 1900;
    date.tm_mon = row.month - 1;
    date.tm_mday = row.day;
    return date;
}

class VoiceTimeTest : public testing::Test {
protected:
    VoiceTimeTest() { dlogDouble() = {}; }

    ~VoiceTimeTest() override
    {
        clockDouble() = {};
        unsetenv("TZ");
        tzset();
    }

    static void setDeviceZone(const std::string& zone)
    {
        linkTarget = "/usr/share/zoneinfo/" + zone;
    }

    static void setZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }

    static AlarmDbData alarmAt(int hour, int minute)
    {
        AlarmDbData alarm;
        alarm.hour = hour;
        alarm.min = minute;
        return alarm;
    }

    // The offset of the C library's zone as it was last read.
    static long offsetInForce()
    {
        const time_t instant = 0;
        tm local = {};
        localtime_r(&instant, &local);
        return local.tm_gmtoff;
    }
};

class VoiceTimeTableTest : public VoiceTimeTest, public testing::WithParamInterface<Case> {};
} // namespace

// mktime() begins its search with the offset that its last call found.
TEST_P(VoiceTimeTableTest, IsTheInstantOfTheWallTimeWhateverWasAskedBefore)
{
    const Case& row = GetParam();
    setDeviceZone(row.zone);
    for (const int month : { 0, 6 }) {
        setZone(row.zone);
        tm earlier = {};
        earlier.tm_year = 125;
        earlier.tm_mon = month;
        earlier.tm_mday = 15;
        earlier.tm_isdst = -1;
        (void)mktime(&earlier);

        AlarmDbData alarm = alarmAt(row.hour, row.minute);
        tm date = dateOf(row);
        AlarmOrvikUtil::setAlertTime(alarm, &date);

        EXPECT_EQ(row.instant, alarm.stime) << month;
        EXPECT_EQ(row.instant, alarm.atime) << month;
        EXPECT_EQ(nullptr, getenv("TZ")) << month;
    }
}

INSTANTIATE_TEST_SUITE_P(Table, VoiceTimeTableTest, testing::ValuesIn(kCases),
    [](const auto& row) { return row.param.name; });

TEST_F(VoiceTimeTest, OnlyTheDateIsTakenFromTheAssistant)
{
    setDeviceZone("Europe/Berlin");
    AlarmDbData alarm = alarmAt(7, 30);
    alarm.stime = 1;
    alarm.atime = 2;
    tm date = {};
    date.tm_year = 126;
    date.tm_mon = 10;
    date.tm_mday = 23;
    date.tm_hour = 19;
    date.tm_min = 45;
    date.tm_sec = 59;
    date.tm_wday = 6;
    date.tm_yday = 1;
    date.tm_isdst = 1;

    AlarmOrvikUtil::setAlertTime(alarm, &date);

    EXPECT_EQ(1795415400, alarm.stime); // 2026-11-23 06:30 UTC
    AlarmDbData expected = alarmAt(7, 30);
    expected.stime = 1795415400;
    expected.atime = 1795415400;
    expectSame(expected, alarm);
    EXPECT_EQ(7, date.tm_hour);
    EXPECT_EQ(30, date.tm_min);
    EXPECT_EQ(0, date.tm_sec);
    EXPECT_EQ(1, date.tm_wday);
    EXPECT_EQ(326, date.tm_yday);
    EXPECT_EQ(0, date.tm_isdst);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("tz [Europe/Berlin]", "alarmTm.tm_hour[19] alarmTm.tm_min[45]"));
    EXPECT_EQ(2u, dlogDouble().lines.size());
    EXPECT_THAT(
        dlogDouble().lines.back().text, testing::StartsWith("AlarmOrvikUtil.cpp: setAlertTime("));
}

TEST_F(VoiceTimeTest, DateIsNormalised)
{
    setDeviceZone("Europe/Berlin");
    AlarmDbData alarm = alarmAt(25, 61); // of a damaged record
    tm date = {};
    date.tm_year = 126;
    date.tm_mon = 11;
    date.tm_mday = 31;

    AlarmOrvikUtil::setAlertTime(alarm, &date);

    EXPECT_EQ(1798765260, alarm.stime); // 2027-01-01 01:01 UTC
    EXPECT_EQ(127, date.tm_year);
    EXPECT_EQ(0, date.tm_mon);
    EXPECT_EQ(1, date.tm_mday);
    EXPECT_EQ(2, date.tm_hour);
    EXPECT_EQ(1, date.tm_min);
}

TEST_F(VoiceTimeTest, AnyHourOfADamagedRecordIsTaken)
{
    setDeviceZone("UTC");
    tm date = {};
    date.tm_year = 126;
    date.tm_mday = 1;
    AlarmDbData alarm = alarmAt(INT_MIN, INT_MAX);

    AlarmOrvikUtil::setAlertTime(alarm, &date);

    EXPECT_EQ(1767225540, alarm.stime); // the low 32 bits of the instant
    EXPECT_EQ(1767225540, alarm.atime);
}

TEST_F(VoiceTimeTest, DateThatNoTimeHoldsIsMinusOne)
{
    setDeviceZone("Europe/Berlin");
    tm date = {};
    date.tm_year = INT_MAX;
    date.tm_mon = INT_MAX;
    date.tm_mday = INT_MAX;
    AlarmDbData alarm = alarmAt(7, 30);

    AlarmOrvikUtil::setAlertTime(alarm, &date);

    EXPECT_EQ(-1, alarm.stime);
    EXPECT_EQ(-1, alarm.atime);
}

TEST_F(VoiceTimeTest, UnknownZoneIsUtc)
{
    linkTarget.clear();
    tm date = {};
    date.tm_year = 70;
    date.tm_mday = 1;
    AlarmDbData alarm = alarmAt(1, 0);

    AlarmOrvikUtil::setAlertTime(alarm, &date);

    EXPECT_EQ(3600, alarm.stime);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("timezone get error", "tz []", "alarmTm.tm_hour[0] alarmTm.tm_min[0]"));
}

// Of two zones, one at least is not the machine's.
TEST_F(VoiceTimeTest, ProcessHasTheMachinesZoneAfterwards)
{
    for (const char* zone : { "Asia/Seoul", "Pacific/Marquesas" }) {
        SCOPED_TRACE(zone);
        setDeviceZone(zone);
        for (const char* before : { "America/New_York", "" }) {
            if (*before != '\0')
                setZone(before);
            tm date = {};
            date.tm_year = 126;
            date.tm_mday = 1;
            AlarmDbData alarm = alarmAt(7, 30);
            AlarmOrvikUtil::setAlertTime(alarm, &date);

            EXPECT_EQ(nullptr, getenv("TZ"));
            const long inForce = offsetInForce();
            tzset();
            EXPECT_EQ(offsetInForce(), inForce);
        }
    }
}

namespace {
const int kSaturdayNight = 1795302000; // Sat 2026-11-21 23:00 UTC
const int kDay = 86400;

struct OnceCase {
    const char* name;
    const char* zone;
    int now;
    int start;
    int movedBy;
    int days;
};
class VoiceOnceTest : public VoiceTimeTest, public testing::WithParamInterface<OnceCase> {};
} // namespace

TEST_P(VoiceOnceTest, RingsOnTheDayOfItsNextTime)
{
    const OnceCase& row = GetParam();
    setZone(row.zone);
    clockDouble().now = timeval{ row.now, 999999 };
    AlarmDbData alarm = alarmAt(23, 0);
    alarm.repeat_once = 0;
    alarm.repeatWeekly = 127;
    alarm.stime = row.start;
    alarm.atime = 17;

    EXPECT_EQ(row.days, AlarmOrvikUtil::setRepeatValue(alarm));

    AlarmDbData expected = alarmAt(23, 0);
    expected.repeat_once = 1;
    expected.repeatWeekly = row.days;
    expected.stime = row.start + row.movedBy;
    expected.atime = 17 + row.movedBy;
    expectSame(expected, alarm);
    EXPECT_EQ(1, clockDouble().timesAsked);
    EXPECT_STREQ(row.zone, getenv("TZ"));
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, VoiceOnceTest,
    testing::Values(OnceCase{ "JustAhead", "UTC", kSaturdayNight - 1, kSaturdayNight, 0, 64 },
        OnceCase{ "ExactlyNow", "UTC", kSaturdayNight, kSaturdayNight, kDay, 1 },
        OnceCase{ "JustPassed", "UTC", kSaturdayNight + 1, kSaturdayNight, kDay, 1 },
        OnceCase{ "LongAhead", "UTC", 0, kSaturdayNight, 0, 64 },
        OnceCase{ "LongPassedMovesOneDayOnly", "UTC", kSaturdayNight + 9 * kDay, kSaturdayNight,
            kDay, 1 },
        OnceCase{ "SundayPassed", "UTC", kSaturdayNight + kDay, kSaturdayNight + kDay, kDay, 2 },
        OnceCase{ "FridayPassed", "UTC", kSaturdayNight, kSaturdayNight - kDay, kDay, 64 },
        OnceCase{
            "DayIsOfTheProcesssZone", "Asia/Seoul", kSaturdayNight - 1, kSaturdayNight, 0, 1 },
        OnceCase{
            "PassedInTheProcesssZone", "Asia/Seoul", kSaturdayNight, kSaturdayNight, kDay, 2 },
        // Sun 2026-10-25 00:30 of the day with 25 hours, which 24 hours later is the same day.
        OnceCase{ "LongDay", "Europe/Berlin", 1792881000, 1792881000, kDay, 2 },
        OnceCase{ "Epoch", "UTC", 0, 0, kDay, 32 },
        OnceCase{ "BeforeTheEpoch", "UTC", 0, -kDay, kDay, 16 }),
    [](const auto& row) { return row.param.name; });

TEST_F(VoiceTimeTest, EndOfTheRecordsRangeIsPassedWithoutHarm)
{
    setZone("UTC");
    clockDouble().now = timeval{ INT_MAX, 0 };
    AlarmDbData alarm;
    alarm.stime = INT_MAX; // Tue 2038-01-19
    alarm.atime = INT_MAX;

    EXPECT_EQ(8, AlarmOrvikUtil::setRepeatValue(alarm));

    EXPECT_EQ(INT_MIN + kDay - 1, alarm.stime);
    EXPECT_EQ(INT_MIN + kDay - 1, alarm.atime);
}
