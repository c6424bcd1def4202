#include "AlarmJsonParser.h"

#include "ClockDouble.h"
#include "DlogDouble.h"
#include "JsonSupport.h"

#include <gmock/gmock.h>
#include <type_traits>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class AlarmJsonParserTest : public testing::Test {
protected:
    AlarmJsonParserTest()
    {
        clockDouble() = {};
        dlogDouble() = {};
    }

    static AlarmDbData onlyAlarmOf(const std::string& members)
    {
        AlarmJsonParser parser("{\"list\":[{" + members + "}]}");
        const std::vector<AlarmDbData> alarms = alarmsOf(parser);
        EXPECT_EQ(1u, alarms.size());
        return alarms.at(0);
    }

    GlibWarnings warnings;
};

const char* const kTwoAlarms
    = R"({"msgId":"alarm-list-rsp","list":[{"uuid":"17"},{"uuid":"18"}],"n":1,"f":true})";

struct NumberCase {
    const char* name;
    const char* json;
    unsigned long long value;
};
class AlarmAlertTimeTest : public AlarmJsonParserTest,
                           public testing::WithParamInterface<NumberCase> {};

struct TimeCase {
    const char* name;
    const char* json;
    int hour, min;
};
class AlarmTimeTest : public AlarmJsonParserTest, public testing::WithParamInterface<TimeCase> {};

struct ReplaceCase {
    const char* name;
    const char* text;
    const char* from;
    const char* to;
    const char* result;
};
class ReplaceTest : public testing::TestWithParam<ReplaceCase> {};

static_assert(std::has_virtual_destructor_v<AlarmJsonParser>);
} // namespace

TEST_F(AlarmJsonParserTest, HasReadNothingAtFirst)
{
    AlarmJsonParser parser;
    std::string text = "preset";
    int number = 42;
    bool flag = true;

    parser.getStringValue("msgId", text);
    parser.getIntegerValue("n", number);
    parser.getBooleanValue("f", flag);

    EXPECT_EQ(-1, parser.getMessageType());
    EXPECT_THAT(alarmsOf(parser), IsEmpty());
    EXPECT_EQ("preset", text);
    EXPECT_EQ(42, number);
    EXPECT_TRUE(flag);
}

TEST_F(AlarmJsonParserTest, ReadsKindAndMembers)
{
    AlarmJsonParser parser(kTwoAlarms);
    std::string text;
    int number = 0;
    bool flag = false;

    parser.getStringValue("msgId", text);
    parser.getIntegerValue("n", number);
    parser.getBooleanValue("f", flag);
    parser.getStringValue("absent", text);

    EXPECT_EQ(5, parser.getMessageType());
    EXPECT_EQ("alarm-list-rsp", text);
    EXPECT_EQ(1, number);
    EXPECT_TRUE(flag);
}

TEST_F(AlarmJsonParserTest, AnEmptyListHasNoAlarms)
{
    AlarmJsonParser parser(R"({"msgId":"alarm-list-rsp","list":[]})");

    EXPECT_EQ(5, parser.getMessageType());
    EXPECT_THAT(alarmsOf(parser), IsEmpty());
}

TEST_F(AlarmJsonParserTest, AMessageWithoutAKnownKindIsAFirstConnection)
{
    for (const char* text :
        { "{}", R"({"msgId":"alarm-unknown"})", R"({"msgId":""})", R"({"msgId":5})" }) {
        AlarmJsonParser parser(text);
        EXPECT_EQ(AlarmMessage::FirstConnectionReq, parser.getMessageType()) << text;
    }
}

TEST_F(AlarmJsonParserTest, ReadsEachMemberOfAnAlarm)
{
    AlarmDbData expected;
    expected.uuid = "17";
    expected.name = "Wake up";
    expected.hour = 7;
    expected.min = 5;
    expected.mobileCreateTime = 1600000000001;
    expected.mobileModifiedTime = 1600000000002;
    expected.mobileAlertTime = 1600000000003;
    expected.enable = 1;
    expected.repeatWeekly = 65;
    expected.repeat_once = 0;
    expected.isDeleted = true;

    expectSame(expected,
        onlyAlarmOf(
            R"("uuid":"17","title":"Wake up","alarm_time":705,"created_time":1600000000001,)"
            R"("modified_time":1600000000002,"alerttime":1600000000003,"enable":true,)"
            R"("repeat_type":268435477,"is_deleted":true)"));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("repeatValue[268435477]", "repeatWeekly[65] repeatOnce[0]"));
}

TEST_F(AlarmJsonParserTest, AbsentMembersOfAnAlarmHaveDefaults)
{
    AlarmDbData expected;
    expected.hour = 23;
    expected.min = 59;
    expected.repeat_once = 0;
    expectSame(expected, onlyAlarmOf(R"("alarm_time":2359)"));

    expected.hour = 0;
    expected.min = 0;
    expectSame(expected, onlyAlarmOf(""));
}

TEST_F(AlarmJsonParserTest, AnyNumberButZeroIsTrue)
{
    EXPECT_EQ(1, onlyAlarmOf(R"("enable":1)").enable);
    EXPECT_EQ(0, onlyAlarmOf(R"("enable":0)").enable);
    EXPECT_TRUE(onlyAlarmOf(R"("is_deleted":7)").isDeleted);
}

TEST_F(AlarmJsonParserTest, AnAlarmIsFilledFromAnObject)
{
    AlarmJsonParser parser;
    AlarmDbData alarm;
    alarm.id = 3;
    alarm.min = 4;

    parser._getAlarmFromJsonObject(objectOf(R"({"uuid":"17","alarm_time":2300})"), alarm);

    EXPECT_EQ("17", alarm.uuid);
    EXPECT_EQ(23, alarm.hour);
    EXPECT_EQ(0, alarm.min);
    EXPECT_EQ(3, alarm.id);
    EXPECT_THAT(alarmsOf(parser), IsEmpty());
}

TEST_F(AlarmJsonParserTest, AUsedRecordKeepsNothingOfWhatThePhoneSends)
{
    AlarmDbData alarm;
    alarm.id = 3;
    alarm.tone = "a tone";
    AlarmDbData expected = alarm;
    expected.hour = 0;
    expected.min = 0;
    expected.enable = 0;
    expected.repeat_once = 0;
    alarm.uuid = "17";
    alarm.name = "Wake up";
    alarm.hour = 7;
    alarm.min = 5;
    alarm.mobileCreateTime = 1600000000001;
    alarm.mobileModifiedTime = 1600000000002;
    alarm.mobileAlertTime = ~0ULL;
    alarm.enable = 1;
    alarm.repeatWeekly = 65;
    alarm.repeat_once = 1;
    alarm.isDeleted = true;

    AlarmJsonParser()._getAlarmFromJsonObject(objectOf("{}"), alarm);

    expectSame(expected, alarm);
}

TEST_F(AlarmJsonParserTest, TheListIsAppendedEachTimeItIsTaken)
{
    AlarmJsonParser parser;
    parser._getAlarms();
    EXPECT_THAT(alarmsOf(parser), IsEmpty());

    parser._prepare(kTwoAlarms);
    EXPECT_EQ(2u, alarmsOf(parser).size());

    parser._getAlarms();
    EXPECT_EQ(4u, alarmsOf(parser).size());
    EXPECT_EQ("17", alarmsOf(parser)[2].uuid);
}

TEST_P(ReplaceTest, GoesOnBehindWhatItHasPut)
{
    std::string text = GetParam().text;
    AlarmJsonParser()._replaceString(text, GetParam().from, GetParam().to);
    EXPECT_EQ(GetParam().result, text);
}

INSTANTIATE_TEST_SUITE_P(Table, ReplaceTest,
    testing::Values(ReplaceCase{ "Each", "a-b-c", "-", "+", "a+b+c" },
        ReplaceCase{ "FromTheStart", "--", "-", "+", "++" },
        ReplaceCase{ "ToHoldsFrom", "a-a", "a", "aa", "aa-aa" },
        ReplaceCase{ "ToEndsInFrom", "aa", "a", "ba", "baba" },
        ReplaceCase{ "Longer", "abab", "ab", "x", "xx" },
        ReplaceCase{ "Overlapping", "aaa", "aa", "b", "ba" },
        ReplaceCase{ "Absent", "abc", "x", "y", "abc" },
        ReplaceCase{ "EmptyText", "", "a", "b", "" },
        ReplaceCase{ "EmptyFrom", "abc", "", "b", "abc" },
        ReplaceCase{ "EmptyTo", "abc", "a", "", "abc" }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmJsonParserTest, ALineFeedInATitleBecomesABlank)
{
    EXPECT_EQ("two words", onlyAlarmOf(R"("title":"two\nwords")").name);
    EXPECT_EQ(" three  words ", onlyAlarmOf(R"("title":"\nthree\n\nwords\n")").name);
    EXPECT_EQ("a\tb\rc", onlyAlarmOf(R"("title":"a\tb\rc")").name);
    EXPECT_EQ("a\nb", onlyAlarmOf(R"("uuid":"a\nb")").uuid);
}

TEST_F(AlarmJsonParserTest, AnAlertTimeOfMinusOneIsNow)
{
    clockDouble().now = timeval{ 1600000000, 123999 };

    EXPECT_EQ(1600000000123u, onlyAlarmOf(R"("alerttime":-1)").mobileAlertTime);
    EXPECT_EQ(0u, onlyAlarmOf(R"("alerttime":0)").mobileAlertTime);
    EXPECT_EQ(~1ULL, onlyAlarmOf(R"("alerttime":-2)").mobileAlertTime);
    EXPECT_EQ(~0ULL, onlyAlarmOf(R"("created_time":-1)").mobileCreateTime);
}

TEST_P(AlarmAlertTimeTest, IsReadAsSixtyFourBits)
{
    clockDouble().now = timeval{ 1600000000, 0 };

    EXPECT_EQ(GetParam().value,
        onlyAlarmOf(std::string("\"alerttime\":") + GetParam().json).mobileAlertTime);
}

INSTANTIATE_TEST_SUITE_P(Table, AlarmAlertTimeTest,
    testing::Values(NumberCase{ "AllBits", "18446744073709551615", 1600000000000 },
        NumberCase{ "BeyondAllBits", "99999999999999999999999", 1600000000000 },
        NumberCase{ "FarBelow", "-99999999999999999999999", 1 },
        NumberCase{ "SignBit", "9223372036854775808", 9223372036854775808U },
        NumberCase{ "Fraction", "7.9", 7 },
        NumberCase{ "MinusOneAsAFraction", "-1.0", 1600000000000 }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmJsonParserTest, APowerOfTenBeyondSixtyFourBitsIsAnEnd)
{
    for (const char* number : { "1e30", "1e400", "-1e400" }) {
        clockDouble().now = timeval{ 1600000000, 0 };
        const std::string members = std::string("\"alerttime\":") + number;
        // The processor decides at which end of the signed numbers it stops.
        EXPECT_THAT(onlyAlarmOf(members).mobileAlertTime,
            testing::AnyOf(9223372036854775807U, 9223372036854775808U))
            << number;
    }
}

TEST_F(AlarmJsonParserTest, HalfASurrogatePairIsReplaced)
{
    const AlarmDbData alarm = onlyAlarmOf(R"("uuid":"\ud83dx","title":"a\ud83dxb")");

    EXPECT_EQ("\uFFFD\uFFFD\uFFFD", alarm.uuid);
    EXPECT_EQ("a\uFFFD\uFFFD\uFFFDb", alarm.name);
}

TEST_F(AlarmJsonParserTest, AOneTimeAlarmMayHaveADay)
{
    const AlarmDbData alarm = onlyAlarmOf(R"("repeat_type":16777217)");

    EXPECT_EQ(1, alarm.repeat_once);
    EXPECT_EQ(2, alarm.repeatWeekly);
}

TEST_P(AlarmTimeTest, IsDividedAsItIs)
{
    const AlarmDbData alarm = onlyAlarmOf(std::string("\"alarm_time\":") + GetParam().json);

    EXPECT_EQ(GetParam().hour, alarm.hour);
    EXPECT_EQ(GetParam().min, alarm.min);
}

INSTANTIATE_TEST_SUITE_P(Table, AlarmTimeTest,
    testing::Values(TimeCase{ "Midnight", "0", 0, 0 }, TimeCase{ "LastMinute", "2359", 23, 59 },
        TimeCase{ "TooLate", "9999", 99, 99 }, TimeCase{ "MinusOne", "-1", 0, -1 },
        TimeCase{ "TwoToTheForty", "1099511627776", 0, 0 },
        TimeCase{ "Greatest", "2147483647", 21474836, 47 }, TimeCase{ "Fraction", "705.9", 7, 5 },
        TimeCase{ "Text", "\"705\"", 0, 0 }, TimeCase{ "Null", "null", 0, 0 },
        TimeCase{ "True", "true", 0, 1 }, TimeCase{ "Array", "[705]", 0, 0 }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmJsonParserTest, AlarmsOfMessagesAccumulate)
{
    AlarmJsonParser parser(kTwoAlarms);

    parser.setJsonMessage(R"({"msgId":"alarm-mobile-update-ind","list":[{"uuid":"19"}]})");
    parser.setJsonMessage(R"({"msgId":"alarm-sequence-req"})");

    const std::vector<AlarmDbData> alarms = alarmsOf(parser);
    ASSERT_EQ(3u, alarms.size());
    EXPECT_EQ("17", alarms[0].uuid);
    EXPECT_EQ("18", alarms[1].uuid);
    EXPECT_EQ("19", alarms[2].uuid);
    EXPECT_EQ(AlarmMessage::SequenceReq, parser.getMessageType());
}

TEST_F(AlarmJsonParserTest, TheListThatIsGivenOutIsACopy)
{
    AlarmJsonParser parser(kTwoAlarms);
    std::vector<AlarmDbData> alarms;
    parser.getAlarmList(alarms);
    alarms[0].uuid = "changed";

    EXPECT_EQ("17", alarmsOf(parser)[0].uuid);
}
