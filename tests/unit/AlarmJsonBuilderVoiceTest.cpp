#include "AlarmDbData.h"
#include "AlarmJsonBuilder.h"
#include "DlogDouble.h"
#include "JsonSupport.h"

#include <climits>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
// What describes voiceAlarm(), and a default alarm, in a reply.
const char* const kWork = R"({"id":3,"time":1795419000000,"name":"Work",)"
                          R"("repeatDays":[{"day":"Monday"},{"day":"Tuesday"},{"day":"Wednesday"},)"
                          R"({"day":"Thursday"},{"day":"Friday"}],)"
                          R"("isRepeat":true,"enabled":true,"snoozeDuration":10})";
const char* const kDefault = R"({"id":-1,"time":3600000,"name":"","repeatDays":[],)"
                             R"("isRepeat":false,"enabled":false,"snoozeDuration":5})";

class VoiceReplyTest : public testing::Test {
protected:
    VoiceReplyTest()
    {
        dlogDouble() = {};
        setenv("TZ", "Europe/Berlin", 1);
        tzset();
    }

    ~VoiceReplyTest() override
    {
        unsetenv("TZ");
        tzset();
    }

    static AlarmDbData voiceAlarm()
    {
        AlarmDbData alarm;
        alarm.id = 3;
        alarm.stime = 1; // no time of a reply
        alarm.atime = 1795415400; // 2026-11-23 07:30 in Berlin
        alarm.name = "Work";
        alarm.repeat_once = 0;
        alarm.repeatWeekly = 62;
        alarm.enable = 1;
        alarm.snooze_min = 10;
        return alarm;
    }

    static std::string add(AlarmDbData alarm, bool success, std::string description, bool withAlarm,
        bool withAlert, bool alert)
    {
        AlarmJsonBuilder builder;
        builder.addAlarmByOrvik(alarm, success, description, withAlarm, withAlert, alert);
        return message(builder);
    }

    static std::string list(
        std::vector<AlarmDbData> alarms, bool success, bool withAlert, bool alert)
    {
        AlarmJsonBuilder builder;
        std::string description = "d";
        builder.addAlarmListByOrvik(alarms, success, description, withAlert, alert);
        return message(builder);
    }

    static std::string message(AlarmJsonBuilder& builder)
    {
        std::string text;
        builder.getJsonMessage(text);
        return text;
    }
};

std::string result(bool success, const std::string& description, const std::string& more = "")
{
    return std::string(R"({"result":")") + (success ? "success" : "failure")
        + R"(","description":")" + description + "\"" + (more.empty() ? "" : "," + more) + "}";
}

std::string alarms(const std::string& described) { return "\"alarms\":[" + described + "]"; }

struct AddCase {
    const char* name;
    bool success;
    const char* description;
    bool withAlarm, withAlert, alert;
    bool isDescribed;
};
class VoiceAddTest : public VoiceReplyTest, public testing::WithParamInterface<AddCase> {};

struct MemberCase {
    const char* name;
    void (*change)(AlarmDbData& alarm);
    const char* member;
};
class VoiceMemberTest : public VoiceReplyTest, public testing::WithParamInterface<MemberCase> {};
} // namespace

TEST_F(VoiceReplyTest, OpeningTellsItsResultAndNoMore)
{
    for (const bool success : { true, false }) {
        AlarmJsonBuilder builder;
        std::string description = "a \"text\"\n\u00FC";
        builder.openAlarmByOrvik(success, description);
        EXPECT_EQ(result(success, "a \\\"text\\\"\\n\u00FC"), message(builder));
        EXPECT_EQ("a \"text\"\n\u00FC", description);
    }
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_P(VoiceAddTest, DescribesTheAlarmWhereItIsToBeHeardOf)
{
    const AddCase& row = GetParam();

    std::string more = row.isDescribed ? alarms(kWork) : "";
    if (row.withAlert) {
        more += more.empty() ? "" : ",";
        more += row.alert ? "\"alarmAlert\":true" : "\"alarmAlert\":false";
    }
    EXPECT_EQ(result(row.success, row.description, more),
        add(voiceAlarm(), row.success, row.description, row.withAlarm, row.withAlert, row.alert));
}

INSTANTIATE_TEST_SUITE_P(Table, VoiceAddTest,
    testing::Values(AddCase{ "Success", true, "d", true, false, false, true },
        AddCase{ "SuccessWithAlert", true, "d", true, true, true, true },
        AddCase{ "SuccessWithAlertOff", true, "d", true, true, false, true },
        AddCase{ "SuccessAlone", true, "d", false, false, true, false },
        AddCase{ "SuccessWithAlertAlone", true, "d", false, true, true, false },
        AddCase{ "SuccessWithoutDescription", true, "", true, false, false, true },
        AddCase{ "SuccessThatIsCalledSame", true, "SameAlarmExist", false, false, false, false },
        AddCase{ "Same", false, "SameAlarmExist", false, false, false, true },
        AddCase{ "SameWithAlarm", false, "SameAlarmExist", true, false, false, true },
        AddCase{ "SameWithAlert", false, "SameAlarmExist", false, true, true, true },
        AddCase{ "SameInOtherCase", false, "sameAlarmExist", true, false, false, false },
        AddCase{ "SameAndMore", false, "SameAlarmExists", true, false, false, false },
        AddCase{ "SameCut", false, "SameAlarmExis", true, false, false, false },
        AddCase{ "Failure", false, "d", true, false, false, false },
        AddCase{ "FailureWithAlert", false, "d", true, true, false, false },
        AddCase{ "FailureWithoutDescription", false, "", true, false, false, false }),
    [](const auto& row) { return row.param.name; });

TEST_P(VoiceMemberTest, IsOfTheAlarm)
{
    AlarmDbData alarm;
    GetParam().change(alarm);

    EXPECT_THAT(add(alarm, true, "", true, false, false), testing::HasSubstr(GetParam().member));
}

INSTANTIATE_TEST_SUITE_P(Table, VoiceMemberTest,
    testing::Values(
        MemberCase{ "GreatestId", [](AlarmDbData& a) { a.id = INT_MAX; }, R"("id":2147483647,)" },
        MemberCase{ "SummerTime", [](AlarmDbData& a) { a.atime = 1690000000; },
            R"("time":1690007200000,)" },
        MemberCase{
            "LatestTime", [](AlarmDbData& a) { a.atime = INT_MAX; }, R"("time":2147487247000,)" },
        MemberCase{ "EarliestTime", [](AlarmDbData& a) { a.atime = INT_MIN; },
            R"("time":-2147480048000,)" },
        MemberCase{ "QuotedName", [](AlarmDbData& a) { a.name = "\"a\"\n\u00FC"; },
            "\"name\":\"\\\"a\\\"\\n\u00FC\"," },
        MemberCase{ "OnceWithDays", [](AlarmDbData& a) { a.repeatWeekly = 2; },
            R"("repeatDays":[],"isRepeat":false,)" },
        MemberCase{ "AnyOtherOnce",
            [](AlarmDbData& a) {
                a.repeatWeekly = 2;
                a.repeat_once = 2;
            },
            R"("repeatDays":[],"isRepeat":false,)" },
        MemberCase{ "WeeklyOnNoDay", [](AlarmDbData& a) { a.repeat_once = 0; },
            R"("repeatDays":[],"isRepeat":true,)" },
        MemberCase{ "EveryDay",
            [](AlarmDbData& a) {
                a.repeat_once = 0;
                a.repeatWeekly = 127;
            },
            R"("repeatDays":[{"day":"Sunday"},{"day":"Monday"},{"day":"Tuesday"},)"
            R"({"day":"Wednesday"},{"day":"Thursday"},{"day":"Friday"},{"day":"Saturday"}],)" },
        MemberCase{ "BitsAboveSaturday",
            [](AlarmDbData& a) {
                a.repeat_once = 0;
                a.repeatWeekly = 128 + 64 + 1;
            },
            R"("repeatDays":[{"day":"Sunday"},{"day":"Saturday"}],)" },
        MemberCase{ "AnyEnableIsTrue", [](AlarmDbData& a) { a.enable = 2; }, R"("enabled":true,)" },
        MemberCase{ "SnoozeOfAnyLength", [](AlarmDbData& a) { a.snooze_min = -1; },
            R"("snoozeDuration":-1})" }),
    [](const auto& row) { return row.param.name; });

TEST_F(VoiceReplyTest, DaysAreLoggedAsTheyAreConverted)
{
    add(voiceAlarm(), true, "", true, true, true);

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("repeatWeekly[62] repeatOnce[0]", "repeatValue[2,3,4,5,6]"));
    EXPECT_EQ(2u, dlogDouble().lines.size());
}

TEST_F(VoiceReplyTest, AlarmAndDescriptionAreLeftAlone)
{
    AlarmDbData alarm = voiceAlarm();
    std::string description = "SameAlarmExist";
    AlarmJsonBuilder builder;

    builder.addAlarmByOrvik(alarm, false, description, true, true, true);
    std::vector<AlarmDbData> list{ alarm };
    builder.addAlarmListByOrvik(list, true, description, true, true);

    expectSame(voiceAlarm(), alarm);
    expectSame(voiceAlarm(), list.front());
    EXPECT_EQ("SameAlarmExist", description);
}

TEST_F(VoiceReplyTest, ListHasItsAlarmsInTheirOrder)
{
    const std::vector<AlarmDbData> two{ voiceAlarm(), AlarmDbData() };
    const std::string described = alarms(std::string(kWork) + "," + kDefault);

    EXPECT_EQ(result(true, "d", described), list(two, true, false, true));
    EXPECT_EQ(result(true, "d", described + ",\"alarmAlert\":true"), list(two, true, true, true));
    EXPECT_EQ(result(true, "d", described + ",\"alarmAlert\":false"), list(two, true, true, false));
    EXPECT_EQ(result(true, "d", alarms(std::string(kDefault) + "," + kWork)),
        list({ AlarmDbData(), voiceAlarm() }, true, false, false));
}

TEST_F(VoiceReplyTest, EmptyListHasNoAlarms)
{
    EXPECT_EQ(result(true, "d"), list({}, true, false, true));
    EXPECT_EQ(result(true, "d", "\"alarmAlert\":true"), list({}, true, true, true));
    EXPECT_EQ(result(true, "d", "\"alarmAlert\":false"), list({}, true, true, false));
}

TEST_F(VoiceReplyTest, FailedListHasAnEmptyArrayOfAnotherName)
{
    for (const size_t count : { 0, 2 }) {
        const std::vector<AlarmDbData> given(count, voiceAlarm());
        EXPECT_EQ(result(false, "d", "\"alarm\":[]"), list(given, false, false, true));
        EXPECT_EQ(
            result(false, "d", "\"alarm\":[],\"alarmAlert\":true"), list(given, false, true, true));
        EXPECT_EQ(result(false, "d", "\"alarm\":[],\"alarmAlert\":false"),
            list(given, false, true, false));
    }
}

TEST_F(VoiceReplyTest, MembersFollowThoseOfTheMessage)
{
    AlarmJsonBuilder builder;
    builder.setMessageType(AlarmMessage::AlarmListRsp);
    std::string description = "d";
    builder.openAlarmByOrvik(true, description);

    EXPECT_EQ(
        R"({"msgId":"alarm-list-rsp","result":"success","description":"d"})", message(builder));
}
