#include "AlarmJsonObject.h"

#include "DlogDouble.h"
#include "JsonSupport.h"

#include <climits>
#include <gmock/gmock.h>
#include <type_traits>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class AlarmJsonObjectTest : public testing::Test {
protected:
    AlarmJsonObjectTest() { dlogDouble() = {}; }

    void expectGettersLeaveTheirOutputs(const AlarmJsonObject& object) const
    {
        std::string text = "preset";
        int number = 42;
        unsigned long long big = 43;
        bool flag = true;
        AlarmJsonObject member = objectOf("{}");
        JsonObject* const held = member.getJsonObject();
        std::list<AlarmJsonObject> list(1);

        object.getStringValue("any", text);
        object.getIntegerValue("any", number);
        object.getUnsignedLongLongValue("any", big);
        object.getBooleanValue("any", flag);
        object.getObjectValue("any", member);
        object.getArrayObject("any", list);

        EXPECT_EQ("preset", text);
        EXPECT_EQ(42, number);
        EXPECT_EQ(43u, big);
        EXPECT_TRUE(flag);
        EXPECT_EQ(held, member.getJsonObject());
        EXPECT_EQ(1u, list.size());
        EXPECT_THAT(dlogDouble().lines, IsEmpty());
        EXPECT_EQ(0, warnings.count());
    }

    GlibWarnings warnings;
};

struct NumberCase {
    const char* name;
    const char* json;
    int integer;
    unsigned long long big;
};
class NumberTest : public AlarmJsonObjectTest, public testing::WithParamInterface<NumberCase> {};

static_assert(std::has_virtual_destructor_v<AlarmJsonObject>);
} // namespace

TEST_F(AlarmJsonObjectTest, HoldsNothingAtFirst)
{
    const AlarmJsonObject object;

    EXPECT_EQ(nullptr, object.getJsonObject());
    EXPECT_FALSE(object.hasMember("any"));
}

TEST_F(AlarmJsonObjectTest, GettersOfNothingLeaveTheirOutputs)
{
    AlarmJsonObject object;
    std::string text = "preset";

    expectGettersLeaveTheirOutputs(object);
    object.getJsonMessage(text);

    EXPECT_EQ("preset", text);
}

TEST_F(AlarmJsonObjectTest, GettersOfAnAbsentMemberLeaveTheirOutputs)
{
    const AlarmJsonObject object = objectOf(R"({"other":1})");

    expectGettersLeaveTheirOutputs(object);

    EXPECT_FALSE(object.hasMember("any"));
    EXPECT_TRUE(object.hasMember("other"));
}

TEST_F(AlarmJsonObjectTest, GettersReadTheMembers)
{
    const AlarmJsonObject object
        = objectOf(R"({"text":"caf\u00e9","number":-7,"flag":true,"inner":{"a":1}})");
    std::string text;
    int number = 0;
    bool flag = false;
    AlarmJsonObject inner;
    int a = 0;

    object.getStringValue("text", text);
    object.getIntegerValue("number", number);
    object.getBooleanValue("flag", flag);
    object.getObjectValue("inner", inner);
    inner.getIntegerValue("a", a);

    EXPECT_EQ("caf\xC3\xA9", text);
    EXPECT_EQ(-7, number);
    EXPECT_TRUE(flag);
    EXPECT_EQ(1, a);
}

TEST_P(NumberTest, IsCutToThirtyTwoBitsOrReadAsSixtyFour)
{
    const AlarmJsonObject object = objectOf(std::string("{\"n\":") + GetParam().json + "}");
    int integer = 0;
    unsigned long long big = 0;

    object.getIntegerValue("n", integer);
    object.getUnsignedLongLongValue("n", big);

    EXPECT_EQ(GetParam().integer, integer);
    EXPECT_EQ(GetParam().big, big);
}

INSTANTIATE_TEST_SUITE_P(Table, NumberTest,
    testing::Values(NumberCase{ "Zero", "0", 0, 0 }, NumberCase{ "Positive", "1234", 1234, 1234 },
        NumberCase{ "MinusOne", "-1", -1, 18446744073709551615U },
        NumberCase{ "GreatestInt", "2147483647", INT_MAX, 2147483647 },
        NumberCase{ "AboveInt", "2147483648", INT_MIN, 2147483648 },
        NumberCase{ "TwoToTheForty", "1099511627776", 0, 1099511627776 },
        NumberCase{ "TwoToTheFortyAndFive", "1099511627781", 5, 1099511627781 },
        NumberCase{ "GreatestSigned", "9223372036854775807", -1, 9223372036854775807 },
        NumberCase{ "AboveSigned", "9223372036854775808", 0, 9223372036854775808U },
        NumberCase{ "AllBits", "18446744073709551615", -1, 18446744073709551615U },
        NumberCase{ "BeyondAllBits", "18446744073709551616", -1, 18446744073709551615U },
        NumberCase{ "BelowSigned", "-9223372036854775809", -1, 9223372036854775807 },
        NumberCase{ "FarBelow", "-99999999999999999999999", 1, 1 }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmJsonObjectTest, HalfASurrogatePairIsReplaced)
{
    std::string text;
    objectOf(R"({"text":"a\ude00xb"})").getStringValue("text", text);

    EXPECT_EQ("a\uFFFD\uFFFD\uFFFDb", text);
}

TEST_F(AlarmJsonObjectTest, AMemberOfAnotherTypeReadsAsJsonGlibReadsIt)
{
    const AlarmJsonObject object
        = objectOf(R"({"text":"7","number":7,"null":null,"array":[],"object":{}})");
    std::string text;
    for (const char* name : { "number", "null", "array", "object" }) {
        text = "preset";
        object.getStringValue(name, text);
        EXPECT_EQ("", text) << name;
    }
    for (const char* name : { "text", "null", "array", "object" }) {
        int number = 42;
        unsigned long long big = 42;
        bool flag = true;
        object.getIntegerValue(name, number);
        object.getUnsignedLongLongValue(name, big);
        object.getBooleanValue(name, flag);
        EXPECT_EQ(0, number) << name;
        EXPECT_EQ(0u, big) << name;
        EXPECT_FALSE(flag) << name;
    }
    EXPECT_GT(warnings.count(), 0);
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmJsonObjectTest, AMemberThatIsNoObjectLeavesNothingHeld)
{
    const AlarmJsonObject object = objectOf(R"({"number":7,"null":null})");
    for (const char* name : { "number", "null" }) {
        AlarmJsonObject member = objectOf("{}");
        object.getObjectValue(name, member);
        EXPECT_EQ(nullptr, member.getJsonObject()) << name;
    }
}

TEST_F(AlarmJsonObjectTest, AnArrayIsAppendedInItsOrder)
{
    const AlarmJsonObject object = objectOf(R"({"list":[{"n":1},{"n":2}],"none":[]})");
    std::list<AlarmJsonObject> list{ objectOf(R"({"n":0})") };

    object.getArrayObject("list", list);
    object.getArrayObject("none", list);

    std::vector<int> numbers;
    for (const AlarmJsonObject& element : list)
        element.getIntegerValue("n", numbers.emplace_back(-1));
    EXPECT_THAT(numbers, ElementsAre(0, 1, 2));
}

TEST_F(AlarmJsonObjectTest, AMemberThatIsNoArrayIsLogged)
{
    const AlarmJsonObject object = objectOf(R"({"list":{"n":1}})");
    std::list<AlarmJsonObject> list(1);

    object.getArrayObject("list", list);

    EXPECT_EQ(1u, list.size());
    EXPECT_THAT(
        dlogDouble().criticals(), ElementsAre("json_object_get_array_member(list) failed."));
}

TEST_F(AlarmJsonObjectTest, AnElementThatIsNoObjectHoldsNothing)
{
    const AlarmJsonObject object = objectOf(R"({"list":[1,null,"a",[{}],{"n":1}]})");
    std::list<AlarmJsonObject> list;

    object.getArrayObject("list", list);

    ASSERT_EQ(5u, list.size());
    EXPECT_TRUE(list.back().hasMember("n"));
    list.pop_back();
    for (const AlarmJsonObject& element : list)
        EXPECT_EQ(nullptr, element.getJsonObject());
}

TEST_F(AlarmJsonObjectTest, WhatWasAddedIsInTheMessage)
{
    AlarmJsonObject object = objectOf("{}");

    object.addStringMember("text", "caf\xC3\xA9 \"x\"");
    object.addBooleanMember("on", true);
    object.addBooleanMember("off", false);
    object.addIntegerMember("negative", -1);
    object.addLongLongIntMember("long", 1099511627776);
    object.addUnsignedLongLongMember("all", 18446744073709551615U);
    object.addObjectMember("inner", objectOf(R"({"a":1})"));
    object.addArrayMember("list", { objectOf(R"({"b":2})"), objectOf("{}") });

    EXPECT_EQ("{\"text\":\"caf\xC3\xA9 \\\"x\\\"\",\"on\":true,\"off\":false,\"negative\":-1,"
              "\"long\":1099511627776,\"all\":-1,\"inner\":{\"a\":1},\"list\":[{\"b\":2},{}]}",
        textOf(object));
}

TEST_F(AlarmJsonObjectTest, AnEmptyListIsAnEmptyArray)
{
    AlarmJsonObject object = objectOf("{}");

    object.addStringMember("msgId", "alarm-list-rsp");
    object.addArrayMember("list", {});

    EXPECT_EQ(R"({"msgId":"alarm-list-rsp","list":[]})", textOf(object));
}

TEST_F(AlarmJsonObjectTest, AMemberOfTheSameNameIsReplaced)
{
    AlarmJsonObject object = objectOf("{}");

    object.addStringMember("a", "old");
    object.addIntegerMember("a", 1);

    EXPECT_EQ(R"({"a":1})", textOf(object));
}

TEST_F(AlarmJsonObjectTest, ARemovedMemberIsGone)
{
    AlarmJsonObject object = objectOf(R"({"a":1,"b":2})");

    object.removeMember("a");
    object.removeMember("absent");

    EXPECT_EQ(R"({"b":2})", textOf(object));
}

TEST_F(AlarmJsonObjectTest, NothingIsAddedAsNull)
{
    AlarmJsonObject object = objectOf("{}");

    object.addObjectMember("inner", AlarmJsonObject());
    object.addArrayMember("list", { AlarmJsonObject() });

    EXPECT_EQ(R"({"inner":null,"list":[null]})", textOf(object));
}

TEST_F(AlarmJsonObjectTest, TheMessageReplacesTheOutput)
{
    AlarmJsonObject object = objectOf("{}");
    std::string text = "preset";

    object.getJsonMessage(text);

    EXPECT_EQ("{}", text);
}
