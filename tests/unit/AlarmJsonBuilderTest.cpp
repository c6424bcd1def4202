#include "AlarmJsonBuilder.h"

#include "AlarmDbData.h"
#include "DlogDouble.h"
#include "JsonSupport.h"

#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {
class AlarmJsonBuilderTest : public testing::Test {
protected:
    AlarmJsonBuilderTest() { dlogDouble() = {}; }

    std::string message()
    {
        std::string text = "preset";
        builder.getJsonMessage(text);
        return text;
    }

    std::string messageOfAlarm(const AlarmDbData& alarm)
    {
        std::vector<AlarmDbData> alarms{ alarm };
        builder.addAlarmList(alarms);
        return message();
    }

    AlarmJsonBuilder builder;
};

AlarmDbData fullAlarm()
{
    AlarmDbData alarm;
    alarm.id = 3;
    alarm.uuid = "17";
    alarm.name = "Wake up";
    alarm.hour = 7;
    alarm.min = 5;
    alarm.enable = 1;
    alarm.repeat_once = 0;
    alarm.repeatWeekly = 65;
    alarm.mobileAlertTime = 1600000000001;
    alarm.mobileCreateTime = 1600000000002;
    alarm.mobileModifiedTime = 1600000000003;
    alarm.isDeleted = true;
    return alarm;
}
} // namespace

TEST_F(AlarmJsonBuilderTest, IsEmptyAtFirst) { EXPECT_EQ("{}", message()); }

TEST_F(AlarmJsonBuilderTest, TheKindIsTheMessagesFirstMember)
{
    builder.setMessageType(AlarmMessage::AlarmListRsp);

    EXPECT_EQ(R"({"msgId":"alarm-list-rsp"})", message());
}

TEST_F(AlarmJsonBuilderTest, ALaterKindReplacesTheFirst)
{
    builder.setMessageType(AlarmMessage::AlarmListRsp);
    builder.addIntegerMember("a", 1);
    builder.setMessageType(AlarmMessage::WatchUpdateInd);

    EXPECT_EQ(R"({"a":1,"msgId":"alarm-watch-update-ind"})", message());
}

TEST_F(AlarmJsonBuilderTest, AnUnknownKindHasAnEmptyName)
{
    for (const int type : { -1, 12 }) {
        builder.setMessageType(static_cast<AlarmMessage::Type>(type));
        EXPECT_EQ(R"({"msgId":""})", message()) << type;
    }
}

TEST_F(AlarmJsonBuilderTest, MembersOfEachTypeAreAdded)
{
    builder.addStringMember("text", "a \"text\"");
    builder.addBooleanMember("flag", true);
    builder.addIntegerMember("number", -7);
    builder.addUnsignedLongLongMember("big", 1600000000001);
    builder.addIntegerMember("flag", 3);

    EXPECT_EQ(R"({"text":"a \"text\"","flag":3,"number":-7,"big":1600000000001})", message());
}

TEST_F(AlarmJsonBuilderTest, AFullAlarmIsInThePhonesForm)
{
    EXPECT_EQ(R"({"list":[{"uuid":"17","title":"Wake up","alarm_time":705,)"
              R"("alerttime":1600000000001,"created_time":1600000000002,)"
              R"("modified_time":1600000000003,"enable":true,"repeat_type":268435477,)"
              R"("is_deleted":true}]})",
        messageOfAlarm(fullAlarm()));
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("repeatWeekly[65] repeatOnce[0]", "repeatValue[268435477]"));
}

TEST_F(AlarmJsonBuilderTest, ADefaultAlarmIsInThePhonesForm)
{
    EXPECT_EQ(R"({"list":[{"uuid":"","title":"","alarm_time":600,"alerttime":0,)"
              R"("created_time":0,"modified_time":0,"enable":false,"repeat_type":1,)"
              R"("is_deleted":false}]})",
        messageOfAlarm(AlarmDbData()));
}

struct MemberCase {
    const char* name;
    void (*change)(AlarmDbData& alarm);
    const char* member;
};
class FullAlarmTest : public AlarmJsonBuilderTest,
                      public testing::WithParamInterface<MemberCase> {};

TEST_P(FullAlarmTest, HasTheMember)
{
    AlarmDbData alarm;
    GetParam().change(alarm);

    EXPECT_THAT(messageOfAlarm(alarm), testing::HasSubstr(GetParam().member));
}

INSTANTIATE_TEST_SUITE_P(Table, FullAlarmTest,
    testing::Values(
        MemberCase{ "Midnight", [](AlarmDbData& a) { a.hour = 0; }, R"("alarm_time":0,)" },
        MemberCase{ "LastMinute",
            [](AlarmDbData& a) {
                a.hour = 23;
                a.min = 59;
            },
            R"("alarm_time":2359,)" },
        MemberCase{ "AnyEnableIsTrue", [](AlarmDbData& a) { a.enable = 2; }, R"("enable":true,)" },
        MemberCase{
            "WeeklyOnNoDay", [](AlarmDbData& a) { a.repeat_once = 0; }, R"("repeat_type":5,)" },
        MemberCase{ "OnceOnMonday", [](AlarmDbData& a) { a.repeatWeekly = 2; },
            R"("repeat_type":16777217,)" },
        MemberCase{ "AllBitsOfATime", [](AlarmDbData& a) { a.mobileAlertTime = ~0ULL; },
            R"("alerttime":-1,)" },
        MemberCase{ "TwoLines", [](AlarmDbData& a) { a.name = "a\nb"; }, R"("title":"a\nb",)" }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmJsonBuilderTest, AlarmsKeepTheirOrderAndAreNotChanged)
{
    std::vector<AlarmDbData> alarms(3);
    alarms[0].uuid = "b";
    alarms[1].uuid = "a";
    alarms[2].uuid = "c";

    builder.addAlarmList(alarms);

    std::list<AlarmJsonObject> list;
    objectOf(message()).getArrayObject("list", list);
    std::vector<std::string> uuids;
    for (const AlarmJsonObject& alarm : list)
        alarm.getStringValue("uuid", uuids.emplace_back());
    EXPECT_THAT(uuids, ElementsAre("b", "a", "c"));
    EXPECT_EQ("b", alarms[0].uuid);
}

TEST_F(AlarmJsonBuilderTest, NoAlarmsAreAnEmptyList)
{
    std::vector<AlarmDbData> none;

    builder.addAlarmList(none);
    EXPECT_EQ(R"({"list":[]})", message());

    std::vector<AlarmDbData> one(1);
    builder.addAlarmList(one);
    builder.addAlarmsByApp(none);
    EXPECT_EQ(R"({"list":[]})", message());
}

TEST_F(AlarmJsonBuilderTest, AShortAlarmIsInTheApplicationsForm)
{
    unsetenv("TZ");
    AlarmDbData alarm;
    alarm.id = 3;
    alarm.enable = 1;
    alarm.stime = 1600000042;
    const time_t start = alarm.stime;
    tm utc = {};
    gmtime_r(&start, &utc);
    alarm.hour = utc.tm_hour;
    alarm.min = utc.tm_min;
    tm local = {};
    localtime_r(&start, &local);

    std::vector<AlarmDbData> alarms{ alarm };
    builder.addAlarmsByApp(alarms);

    EXPECT_EQ("{\"list\":[{\"id\":3,\"hour\":" + std::to_string(local.tm_hour)
            + ",\"min\":" + std::to_string(local.tm_min) + ",\"enable\":1}]}",
        message());
}

TEST_F(AlarmJsonBuilderTest, AShortAlarmTellsTheTimeAtWhichItRings)
{
    // An hour that the zone skipped: the start is displaced, and moved to the next day.
    AlarmDbData alarm;
    alarm.timezone = "Europe/Berlin";
    alarm.stime = 1616893200; // 2021-03-28 01:00 UTC, 03:00 in Berlin
    alarm.hour = 2;
    alarm.min = 0;
    const time_t rings = 1616893200 + 23 * 3600;
    unsetenv("TZ");
    tm local = {};
    localtime_r(&rings, &local);

    AlarmJsonObject object;
    builder._getMinimumJsonObjectFromAlarm(alarm, object);

    EXPECT_EQ("{\"id\":-1,\"hour\":" + std::to_string(local.tm_hour) + ",\"min\":0,\"enable\":0}",
        textOf(object));
}

TEST_F(AlarmJsonBuilderTest, TheObjectOfATimeIsAlwaysEmpty)
{
    for (const long time : { 0L, 1600000042L, -1L }) {
        AlarmJsonObject object = objectOf(R"({"a":1})");
        builder._setWhenJsonObejct(object, time);
        EXPECT_EQ("{}", textOf(object));
    }
}

TEST_F(AlarmJsonBuilderTest, AnAlarmGetsAnObjectOfItsOwn)
{
    AlarmJsonObject object = objectOf(R"({"a":1})");
    JsonObject* const before = object.getJsonObject();
    AlarmDbData alarm;

    builder._getJsonObjectFromAlarm(alarm, object);

    EXPECT_NE(before, object.getJsonObject());
    EXPECT_FALSE(object.hasMember("a"));
}
