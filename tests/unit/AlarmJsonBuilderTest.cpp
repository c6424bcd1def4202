#include "AlarmJsonBuilder.h"

#include "AlarmDbData.h"
#include "DlogDouble.h"
#include "JsonSupport.h"

#include <climits>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <list>
#include <type_traits>

using testing::ElementsAre;

// Where TZ names no zone, the device's is this far from UTC.
const int kDeviceOffset = 5 * 3600 + 45 * 60;

// The linker sends the library's calls here.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
tm* __real_localtime_r(const time_t* time, tm* out);

tm* __wrap_localtime_r(const time_t* time, tm* out)
{
    if (getenv("TZ"))
        return __real_localtime_r(time, out);
    const time_t shifted = *time + kDeviceOffset;
    return gmtime_r(&shifted, out);
}
}
// NOLINTEND(bugprone-reserved-identifier)

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

struct MemberCase {
    const char* name;
    void (*change)(AlarmDbData& alarm);
    const char* member;
};
class FullAlarmTest : public AlarmJsonBuilderTest,
                      public testing::WithParamInterface<MemberCase> {};

static_assert(std::has_virtual_destructor_v<AlarmJsonBuilder>);
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
        MemberCase{ "GreatestTime",
            [](AlarmDbData& a) {
                a.hour = INT_MAX;
                a.min = INT_MAX;
            },
            R"("alarm_time":216895848347,)" },
        MemberCase{ "LeastTime",
            [](AlarmDbData& a) {
                a.hour = INT_MIN;
                a.min = INT_MIN;
            },
            R"("alarm_time":-216895848448,)" },
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
    std::vector<AlarmDbData> alarms(3, fullAlarm());
    alarms[0].uuid = "b";
    alarms[1].uuid = "a";
    alarms[2].uuid = "c";
    const std::vector<AlarmDbData> before = alarms;

    builder.addAlarmList(alarms);

    std::list<AlarmJsonObject> list;
    objectOf(message()).getArrayObject("list", list);
    std::vector<std::string> uuids;
    for (const AlarmJsonObject& alarm : list)
        alarm.getStringValue("uuid", uuids.emplace_back());
    EXPECT_THAT(uuids, ElementsAre("b", "a", "c"));
    builder.addAlarmsByApp(alarms);
    for (size_t i = 0; i < alarms.size(); ++i)
        expectSame(before[i], alarms[i]);
}

TEST_F(AlarmJsonBuilderTest, ShortAlarmsKeepTheirOrder)
{
    std::vector<AlarmDbData> alarms(3);
    alarms[0].id = 2;
    alarms[1].id = 1;
    alarms[2].id = 3;

    builder.addAlarmsByApp(alarms);

    std::list<AlarmJsonObject> list;
    objectOf(message()).getArrayObject("list", list);
    std::vector<int> ids;
    for (const AlarmJsonObject& alarm : list)
        alarm.getIntegerValue("id", ids.emplace_back());
    EXPECT_THAT(ids, ElementsAre(2, 1, 3));
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
    setenv("TZ", "UTC", 1);
    AlarmDbData alarm;
    alarm.id = 3;
    alarm.enable = 2;
    alarm.stime = 1600000042; // 12:27 UTC
    alarm.hour = 12;
    alarm.min = 27;

    std::vector<AlarmDbData> alarms{ alarm };
    builder.addAlarmsByApp(alarms);

    EXPECT_EQ(R"({"list":[{"id":3,"hour":18,"min":12,"enable":2}]})", message());
    EXPECT_EQ(nullptr, getenv("TZ"));
}

TEST_F(AlarmJsonBuilderTest, AShortAlarmTellsTheTimeAtWhichItRings)
{
    // An hour that the zone skipped: the start is displaced, and moved to 00:00 UTC of the next
    // day.
    AlarmDbData alarm;
    alarm.timezone = "Europe/Berlin";
    alarm.stime = 1616893200; // 2021-03-28 01:00 UTC, 03:00 in Berlin
    alarm.hour = 2;
    alarm.min = 0;

    AlarmJsonObject object = objectOf(R"({"a":1})");
    builder._getMinimumJsonObjectFromAlarm(alarm, object);

    EXPECT_EQ(R"({"id":-1,"hour":5,"min":45,"enable":0})", textOf(object));
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
