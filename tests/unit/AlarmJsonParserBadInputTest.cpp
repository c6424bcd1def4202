#include "AlarmJsonParser.h"
#include "DlogDouble.h"
#include "JsonSupport.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {
class AlarmJsonParserBadInputTest : public testing::Test {
protected:
    AlarmJsonParserBadInputTest() { dlogDouble() = {}; }

    static std::string kindOf(AlarmJsonParser& parser)
    {
        std::string text;
        parser.getStringValue("msgId", text);
        return text;
    }

    GlibWarnings warnings;
};

const char* const kGood = R"({"msgId":"alarm-list-rsp","list":[{"uuid":"17"}]})";

std::string tenMegabytes()
{
    std::string text;
    text.resize(10000000, 'a');
    return text;
}

std::string nested(int depth, const char* open, const char* close)
{
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += open;
    text += "1";
    for (int i = 0; i < depth; ++i)
        text += close;
    return text;
}

struct BadCase {
    const char* name;
    std::string text;
};
class NoJsonTest : public AlarmJsonParserBadInputTest,
                   public testing::WithParamInterface<BadCase> {};
} // namespace

TEST_P(NoJsonTest, IsLoggedAndLeavesAFreshParserFresh)
{
    AlarmJsonParser parser(GetParam().text);

    std::string text = "preset";
    int number = 42;
    bool flag = true;
    parser.getStringValue("msgId", text);
    parser.getIntegerValue("msgId", number);
    parser.getBooleanValue("msgId", flag);
    EXPECT_EQ("preset", text);
    EXPECT_EQ(42, number);
    EXPECT_TRUE(flag);
    EXPECT_EQ(-1, parser.getMessageType());
    EXPECT_THAT(alarmsOf(parser), IsEmpty());
    EXPECT_THAT(dlogDouble().criticals(), SizeIs(1));
    EXPECT_THAT(dlogDouble().lines, SizeIs(1));
}

TEST_P(NoJsonTest, ChangesNothingOfWhatWasRead)
{
    AlarmJsonParser parser(kGood);
    dlogDouble() = {};

    parser.setJsonMessage(GetParam().text);

    EXPECT_EQ(AlarmMessage::AlarmListRsp, parser.getMessageType());
    EXPECT_THAT(alarmsOf(parser), SizeIs(1));
    EXPECT_EQ("alarm-list-rsp", kindOf(parser));
    EXPECT_THAT(dlogDouble().criticals(), SizeIs(1));

    parser.setJsonMessage(kGood);
    EXPECT_THAT(alarmsOf(parser), SizeIs(2));
}

INSTANTIATE_TEST_SUITE_P(Table, NoJsonTest,
    testing::Values(BadCase{ "Empty", "" }, BadCase{ "Blanks", " \n" },
        BadCase{ "OnlyAComment", "/* {} */" }, BadCase{ "Html", "<html>" },
        BadCase{ "HalfAMessage", R"({"msgId":"alarm-)" },
        BadCase{ "NoUtf8", "{\"msgId\":\"\xFF\"}" },
        BadCase{ "ZeroByte", std::string("{\"msgId\":\0}", 11) },
        BadCase{ "TenMegabytesUnended", "{\"msgId\":\"" + tenMegabytes() },
        BadCase{ "DeepArrays", nested(513, "[", "]") },
        BadCase{ "DeepObjects", nested(513, "{\"a\":", "}") },
        BadCase{ "EndlessBrackets", std::string(1000000, '[') },
        BadCase{ "EndlessObjects", nested(1000000, "{\"a\":", "") }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmJsonParserBadInputTest, WhatIsWrongIsLogged)
{
    AlarmJsonParser parser("nonsense");
    parser.setJsonMessage("");
    parser.setJsonMessage(std::string(513, '['));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("<data>:1:8: Parse error: unexpected identifier `nonsense', expected value",
            "The message holds no value", "Nested deeper than 512"));
}

TEST_F(AlarmJsonParserBadInputTest, ADepthOf512IsRead)
{
    for (const std::string& text :
        { nested(512, "[", "]"), nested(512, "{\"a\":", "}"), nested(256, "[{\"a\":", "}]") }) {
        AlarmJsonParser parser(text);
        EXPECT_EQ(0, parser.getMessageType());
    }
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmJsonParserBadInputTest, ShallowAlarmsAreReadBehindWhatIsNotQuiteJson)
{
    std::string alarms;
    for (int i = 0; i < 600; ++i)
        alarms += R"(,{"alarm_time":1,"title":"[[{"})";
    for (const char* first : { R"({"list":[{"title":"x\ud83dyz"})", R"({"list":[{"title":"\u"})",
             R"({"list":[{"title":"\u00z"})", R"(/* "hi" */{"list":[{})",
             "{'list':[{'title':'\"'}" }) {
        AlarmJsonParser parser(std::string(first) + alarms + "]}");
        EXPECT_THAT(alarmsOf(parser), SizeIs(601)) << first;
    }
}

TEST_F(AlarmJsonParserBadInputTest, BracketsInATitleAreNoDepth)
{
    const std::string title = std::string(1000, '[') + R"(\"{\\)";
    AlarmJsonParser parser(R"({"list":[{"title":")" + title + R"("},{"title":"\ud83d\ude00[["}]})");

    ASSERT_THAT(alarmsOf(parser), SizeIs(2));
    EXPECT_EQ(std::string(1000, '[') + "\"{\\", alarmsOf(parser)[0].name);
    EXPECT_EQ("\xF0\x9F\x98\x80[[", alarmsOf(parser)[1].name);
}

TEST_F(AlarmJsonParserBadInputTest, JsonThatIsNoObjectIsAnEmptyMessage)
{
    for (const char* text : { "[1,2]", "[]", "42", "\"text\"", "null", "true" }) {
        AlarmJsonParser parser(text);
        std::string value = "preset";
        parser.getStringValue("msgId", value);

        EXPECT_EQ(0, parser.getMessageType()) << text;
        EXPECT_THAT(alarmsOf(parser), IsEmpty()) << text;
        EXPECT_EQ("preset", value) << text;
    }
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
    EXPECT_EQ(0, warnings.count());
}

TEST_F(AlarmJsonParserBadInputTest, JsonThatIsNoObjectKeepsTheAlarms)
{
    for (const char* text : { "[1]", "null" }) {
        AlarmJsonParser parser(kGood);
        parser.setJsonMessage(text);
        std::string kind = "preset";
        parser.getStringValue("msgId", kind);

        EXPECT_EQ(0, parser.getMessageType()) << text;
        EXPECT_THAT(alarmsOf(parser), SizeIs(1)) << text;
        EXPECT_EQ("preset", kind) << text;
    }
}

TEST_F(AlarmJsonParserBadInputTest, AListThatIsNoArrayHasNoAlarms)
{
    for (const char* text :
        { R"({"list":{"uuid":"17"}})", R"({"list":7})", R"({"list":"a"})", R"({"list":null})" }) {
        dlogDouble() = {};
        AlarmJsonParser parser(text);

        EXPECT_EQ(0, parser.getMessageType()) << text;
        EXPECT_THAT(alarmsOf(parser), IsEmpty()) << text;
        EXPECT_THAT(
            dlogDouble().criticals(), ElementsAre("json_object_get_array_member(list) failed."))
            << text;
    }
}

TEST_F(AlarmJsonParserBadInputTest, MembersOfOtherTypesAreTheirDefaults)
{
    AlarmJsonParser parser(R"({"list":[{"uuid":17,"title":["a"],"alarm_time":"705",)"
                           R"("created_time":null,"modified_time":{},"alerttime":"now",)"
                           R"("enable":"yes","repeat_type":[1],"is_deleted":null}]})");

    ASSERT_THAT(alarmsOf(parser), SizeIs(1));
    const AlarmDbData alarm = alarmsOf(parser)[0];
    EXPECT_EQ("", alarm.uuid);
    EXPECT_EQ("", alarm.name);
    EXPECT_EQ(0, alarm.hour);
    EXPECT_EQ(0, alarm.min);
    EXPECT_EQ(0u, alarm.mobileCreateTime);
    EXPECT_EQ(0u, alarm.mobileModifiedTime);
    EXPECT_EQ(0u, alarm.mobileAlertTime);
    EXPECT_EQ(0, alarm.enable);
    EXPECT_EQ(0, alarm.repeatWeekly);
    EXPECT_EQ(0, alarm.repeat_once);
    EXPECT_FALSE(alarm.isDeleted);
}

TEST_F(AlarmJsonParserBadInputTest, ElementsThatAreNoObjectsAreEmptyAlarms)
{
    AlarmJsonParser parser(R"({"list":[1,null,"a",[{"uuid":"16"}],{"uuid":"17"}]})");

    const std::vector<AlarmDbData> alarms = alarmsOf(parser);
    ASSERT_THAT(alarms, SizeIs(5));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ("", alarms[i].uuid);
        EXPECT_EQ(0, alarms[i].hour);
    }
    EXPECT_EQ("17", alarms[4].uuid);
}

TEST_F(AlarmJsonParserBadInputTest, OfTwoMembersOfOneNameTheLastCounts)
{
    AlarmJsonParser parser(R"({"msgId":"alarm-list-req","msgId":"alarm-list-rsp"})");

    EXPECT_EQ(AlarmMessage::AlarmListRsp, parser.getMessageType());
}

TEST_F(AlarmJsonParserBadInputTest, OfTwoMessagesInOneTextTheFirstCounts)
{
    AlarmJsonParser parser(std::string(kGood) + "\n" + R"({"msgId":"alarm-list-req"})");

    EXPECT_EQ(AlarmMessage::AlarmListRsp, parser.getMessageType());
    EXPECT_THAT(alarmsOf(parser), SizeIs(1));
}

TEST_F(AlarmJsonParserBadInputTest, OneUuidTwiceIsTwoAlarms)
{
    AlarmJsonParser parser(R"({"list":[{"uuid":"17"},{"uuid":"17"}]})");

    EXPECT_THAT(alarmsOf(parser), SizeIs(2));
}

TEST_F(AlarmJsonParserBadInputTest, ATitleOfTenMegabytesIsRead)
{
    AlarmJsonParser parser(R"({"list":[{"title":")" + tenMegabytes() + "\"}]}");

    ASSERT_THAT(alarmsOf(parser), SizeIs(1));
    EXPECT_THAT(alarmsOf(parser)[0].name, SizeIs(10000000));
}

TEST_F(AlarmJsonParserBadInputTest, AHundredThousandAlarmsAreRead)
{
    std::string text = "{\"list\":[{}";
    for (int i = 1; i < 100000; ++i)
        text += ",{}";
    AlarmJsonParser parser(text + "]}");

    EXPECT_THAT(alarmsOf(parser), SizeIs(100000));
}
