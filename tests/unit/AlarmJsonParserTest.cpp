#include "AlarmJsonParser.h"

#include "ClockDouble.h"
#include "DlogDouble.h"
#include "JsonSupport.h"

#include <gmock/gmock.h>

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

    static std::vector<AlarmDbData> alarmsOf(AlarmJsonParser& parser)
    {
        std::vector<AlarmDbData> alarms(2);
        parser.getAlarmList(alarms);
        return alarms;
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

/// Every field that a message does not carry.
void expectOthersAtDefault(const AlarmDbData& alarm)
{
    const AlarmDbData fresh;
    EXPECT_EQ(fresh.magic, alarm.magic);
    EXPECT_EQ(fresh.id, alarm.id);
    EXPECT_EQ(fresh.alarm_mgr_id, alarm.alarm_mgr_id);
    EXPECT_EQ(fresh.stime, alarm.stime);
    EXPECT_EQ(fresh.atime, alarm.atime);
    EXPECT_EQ(fresh.etime, alarm.etime);
    EXPECT_EQ(fresh.modTime, alarm.modTime);
    EXPECT_EQ(fresh.sdate, alarm.sdate);
    EXPECT_EQ(fresh.edate, alarm.edate);
    EXPECT_EQ(fresh.timezone, alarm.timezone);
    EXPECT_EQ(fresh.snooze_enable, alarm.snooze_enable);
    EXPECT_EQ(fresh.snooze_min, alarm.snooze_min);
    EXPECT_EQ(fresh.snooze_times, alarm.snooze_times);
    EXPECT_EQ(fresh.count, alarm.count);
    EXPECT_EQ(fresh.type, alarm.type);
    EXPECT_EQ(fresh.tone, alarm.tone);
    EXPECT_EQ(fresh.volume, alarm.volume);
    EXPECT_EQ(fresh.smart_alarm_enable, alarm.smart_alarm_enable);
    EXPECT_EQ(fresh.vibration_type, alarm.vibration_type);
    EXPECT_EQ(2, alarm.deviceType);
    EXPECT_EQ(fresh.isNeedToSync, alarm.isNeedToSync);
    EXPECT_EQ(fresh.contextMgrId, alarm.contextMgrId);
}
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
    const AlarmDbData alarm = onlyAlarmOf(
        R"("uuid":"17","title":"Wake up","alarm_time":705,"created_time":1600000000001,)"
        R"("modified_time":1600000000002,"alerttime":1600000000003,"enable":true,)"
        R"("repeat_type":268435477,"is_deleted":true)");

    EXPECT_EQ("17", alarm.uuid);
    EXPECT_EQ("Wake up", alarm.name);
    EXPECT_EQ(7, alarm.hour);
    EXPECT_EQ(5, alarm.min);
    EXPECT_EQ(1600000000001u, alarm.mobileCreateTime);
    EXPECT_EQ(1600000000002u, alarm.mobileModifiedTime);
    EXPECT_EQ(1600000000003u, alarm.mobileAlertTime);
    EXPECT_EQ(1, alarm.enable);
    EXPECT_EQ(65, alarm.repeatWeekly);
    EXPECT_EQ(0, alarm.repeat_once);
    EXPECT_TRUE(alarm.isDeleted);
    expectOthersAtDefault(alarm);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("repeatValue[268435477]", "repeatWeekly[65] repeatOnce[0]"));
}

TEST_F(AlarmJsonParserTest, AbsentMembersOfAnAlarmHaveDefaults)
{
    AlarmJsonParser parser(R"({"list":[{"alarm_time":2359}]})");
    EXPECT_EQ(0, parser.getMessageType());
    ASSERT_EQ(1u, alarmsOf(parser).size());
    const AlarmDbData alarm = alarmsOf(parser).at(0);

    EXPECT_EQ("", alarm.uuid);
    EXPECT_EQ("", alarm.name);
    EXPECT_EQ(23, alarm.hour);
    EXPECT_EQ(59, alarm.min);
    EXPECT_EQ(0u, alarm.mobileCreateTime);
    EXPECT_EQ(0u, alarm.mobileModifiedTime);
    EXPECT_EQ(0u, alarm.mobileAlertTime);
    EXPECT_EQ(0, alarm.enable);
    EXPECT_EQ(0, alarm.repeatWeekly);
    EXPECT_EQ(0, alarm.repeat_once);
    EXPECT_FALSE(alarm.isDeleted);
    expectOthersAtDefault(alarm);

    EXPECT_EQ(0, onlyAlarmOf("").hour);
}

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

TEST_F(AlarmJsonParserTest, AOneTimeAlarmMayHaveADay)
{
    const AlarmDbData alarm = onlyAlarmOf(R"("repeat_type":16777217)");

    EXPECT_EQ(1, alarm.repeat_once);
    EXPECT_EQ(2, alarm.repeatWeekly);
}

struct TimeCase {
    const char* name;
    const char* json;
    int hour, min;
};
class AlarmTimeTest : public AlarmJsonParserTest, public testing::WithParamInterface<TimeCase> {};

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
