#include "AlarmSyncUtil.h"
#include "DlogDouble.h"

#include <climits>
#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {
struct RepeatCase {
    const char* name;
    int weekly, once;
    unsigned int phone;
};
class PhoneRepeatTest : public testing::TestWithParam<RepeatCase> {
protected:
    PhoneRepeatTest() { dlogDouble() = {}; }
};

std::string pair(const char* first, int a, const char* second, int b)
{
    return std::string(first) + "[" + std::to_string(a) + "] " + second + "[" + std::to_string(b)
        + "]";
}

struct OddWatchCase {
    const char* name;
    int weekly, once, phone;
};
class OddWatchRepeatTest : public testing::TestWithParam<OddWatchCase> {};

struct OddPhoneCase {
    const char* name;
    int phone, weekly, once;
};
class OddPhoneRepeatTest : public testing::TestWithParam<OddPhoneCase> {};
} // namespace

TEST_P(PhoneRepeatTest, IsWrittenAsOneHexDigitPerDay)
{
    const RepeatCase& row = GetParam();
    const int phone = static_cast<int>(row.phone);

    EXPECT_EQ(phone, AlarmSyncUtil::convertRepeatWeeklyFromWatchData(row.weekly, row.once));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre(pair("repeatWeekly", row.weekly, "repeatOnce", row.once),
            "repeatValue[" + std::to_string(phone) + "]"));
    EXPECT_EQ(2u, dlogDouble().lines.size());
}

TEST_P(PhoneRepeatTest, IsReadFromOneHexDigitPerDay)
{
    const RepeatCase& row = GetParam();
    const int phone = static_cast<int>(row.phone);
    int once = 42;

    EXPECT_EQ(row.weekly, AlarmSyncUtil::convertRepeatWeeklyFromMobileData(phone, &once));

    EXPECT_EQ(row.once, once);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("repeatValue[" + std::to_string(phone) + "]",
            pair("repeatWeekly", row.weekly, "repeatOnce", row.once)));
    EXPECT_EQ(2u, dlogDouble().lines.size());
}

INSTANTIATE_TEST_SUITE_P(Table, PhoneRepeatTest,
    testing::Values(RepeatCase{ "Once", 0, 1, 0x1 }, RepeatCase{ "WeeklyOnNoDay", 0, 0, 0x5 },
        RepeatCase{ "Sunday", 1, 0, 0x10000005 }, RepeatCase{ "Monday", 2, 0, 0x1000005 },
        RepeatCase{ "Tuesday", 4, 0, 0x100005 }, RepeatCase{ "Wednesday", 8, 0, 0x10005 },
        RepeatCase{ "Thursday", 16, 0, 0x1005 }, RepeatCase{ "Friday", 32, 0, 0x105 },
        RepeatCase{ "Saturday", 64, 0, 0x15 }, RepeatCase{ "OnceOnMonday", 2, 1, 0x1000001 },
        RepeatCase{ "WorkingDays", 62, 0, 0x1111105 }, RepeatCase{ "Weekend", 65, 0, 0x10000015 },
        RepeatCase{ "EveryDay", 127, 0, 0x11111115 },
        RepeatCase{ "OnceOnEveryDay", 127, 1, 0x11111111 }),
    [](const auto& row) { return row.param.name; });

TEST(PhoneRepeatRoundTripTest, EverySetOfDaysComesBack)
{
    for (int weekly = 0; weekly < 128; ++weekly) {
        for (int once = 0; once < 2; ++once) {
            const int phone = AlarmSyncUtil::convertRepeatWeeklyFromWatchData(weekly, once);
            int onceAgain = 42;
            EXPECT_EQ(weekly, AlarmSyncUtil::convertRepeatWeeklyFromMobileData(phone, &onceAgain));
            EXPECT_EQ(once, onceAgain);
        }
    }
}

TEST_P(OddWatchRepeatTest, KeepsToSevenDaysAndTwoLowestDigits)
{
    const OddWatchCase& row = GetParam();
    EXPECT_EQ(row.phone, AlarmSyncUtil::convertRepeatWeeklyFromWatchData(row.weekly, row.once));
}

INSTANTIATE_TEST_SUITE_P(Table, OddWatchRepeatTest,
    testing::Values(OddWatchCase{ "BitAboveSaturday", 128, 0, 0x5 },
        OddWatchCase{ "BitsAboveSaturday", INT_MAX, 0, 0x11111115 },
        OddWatchCase{ "AllBits", -1, 0, 0x11111115 },
        OddWatchCase{ "OnlyTheSign", INT_MIN, 1, 0x1 }, OddWatchCase{ "AnyOtherOnce", 64, 2, 0x11 },
        OddWatchCase{ "NegativeOnce", 64, -1, 0x11 }),
    [](const auto& row) { return row.param.name; });

TEST_P(OddPhoneRepeatTest, IsReadDigitByDigit)
{
    const OddPhoneCase& row = GetParam();
    int once = 42;
    EXPECT_EQ(row.weekly, AlarmSyncUtil::convertRepeatWeeklyFromMobileData(row.phone, &once));
    EXPECT_EQ(row.once, once);
}

INSTANTIATE_TEST_SUITE_P(Table, OddPhoneRepeatTest,
    testing::Values(OddPhoneCase{ "Zero", 0, 0, 0 }, OddPhoneCase{ "LowestTwo", 2, 0, 0 },
        OddPhoneCase{ "LowestFifteen", 15, 0, 0 }, OddPhoneCase{ "DaysWithoutLowest", 0x10, 64, 0 },
        OddPhoneCase{ "DigitTwo", 0x25, 64, 0 }, OddPhoneCase{ "DigitFifteen", 0xF5, 64, 0 },
        OddPhoneCase{ "MixedDigits", 0x7F030A01, 1 + 2 + 8 + 32, 1 },
        OddPhoneCase{ "GreatestDigits", INT_MAX, 127, 0 }, OddPhoneCase{ "MinusOne", -1, 0, 0 },
        OddPhoneCase{ "MinusSixteen", -16, 0, 0 }, OddPhoneCase{ "Least", INT_MIN, 0, 0 },
        OddPhoneCase{ "LeastButOne", INT_MIN + 1, 0, 0 }),
    [](const auto& row) { return row.param.name; });

TEST(PhoneRepeatDigitTest, ADayCountsWithAnyDigitButZero)
{
    for (int place = 1; place <= 7; ++place) {
        for (int digit = 1; digit <= (place == 7 ? 7 : 15); ++digit) {
            int once = 42;
            const int phone = (digit << (4 * place)) + 5;
            EXPECT_EQ(
                1 << (7 - place), AlarmSyncUtil::convertRepeatWeeklyFromMobileData(phone, &once))
                << phone;
        }
    }
}
