#include "PhoneMessage.h"

#include "DlogDouble.h"
#include "Refusal.h"

#include <gmock/gmock.h>

using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Why a message of the phone is refused; "" for one that is not.
std::string refusalOf(const std::string& text) { return refusalOf(text, readPhoneMessage); }

std::string nested(size_t depth)
{
    return R"({"a":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
}

/// An update with one alarm, in which the first from is replaced by to.
std::string update(const std::string& from = "", const std::string& to = "")
{
    std::string text = R"({"msgId":"alarm-mobile-update-ind","sequence":2,"list":[)"
                       R"({"uuid":"u3","title":"New","alarm_time":730,"alerttime":0,)"
                       R"("created_time":1,"modified_time":1,"enable":true,)"
                       R"("repeat_type":286331157,"is_deleted":false}]})";
    const size_t at = text.find(from);
    return at == std::string::npos ? "" : text.replace(at, from.size(), to);
}

std::string updateOfMany(size_t count)
{
    std::string list;
    for (size_t i = 0; i < count; ++i) {
        list += (i > 0 ? "," : "") + std::string(R"({"uuid":"u)") + std::to_string(i)
            + R"(","modified_time":1,"is_deleted":true})";
    }
    return R"({"msgId":"alarm-mobile-update-ind","sequence":2,"list":[)" + list + "]}";
}

/// A table of refused texts.
class PhoneMessageTest : public testing::TestWithParam<RefusedCase> {
protected:
    PhoneMessageTest() { dlogDouble() = {}; }

    static void expectRefused() { EXPECT_EQ(GetParam().reason, refusalOf(GetParam().text)); }
};

const auto nameOf = [](const auto& row) { return row.param.name; };

} // namespace

class NotJsonTest : public PhoneMessageTest {};

TEST_P(NotJsonTest, IsRefusedWithThePositionOfTheFault) { expectRefused(); }

INSTANTIATE_TEST_SUITE_P(Table, NotJsonTest,
    testing::Values(RefusedCase{ "Empty", "", "it is not one JSON object" },
        RefusedCase{ "Blanks", " \t\r\n", "it is not one JSON object" },
        RefusedCase{ "Word", "garbage", "it is not one JSON object" },
        RefusedCase{ "Literal", "false", "it is not one JSON object" },
        RefusedCase{ "Number", "7", "it is not one JSON object" },
        RefusedCase{ "Array", "[1,2]", "it is not one JSON object" },
        RefusedCase{ "OtherBytes", "\xff\xfe", "it is not one JSON object" },
        RefusedCase{ "ByteOrderMark", "\xef\xbb\xbf{}", "it is not one JSON object" },
        RefusedCase{ "Open", R"({"a":1)", "it is not JSON at byte 7" },
        RefusedCase{ "OpenText", R"({"a)", "it is not JSON at byte 4" },
        RefusedCase{ "SecondObject", "{} {}", "it is not JSON at byte 4" },
        RefusedCase{ "CommaBehind", "{},", "it is not JSON at byte 3" },
        RefusedCase{ "CommaInObject", R"({"a":1,})", "it is not JSON at byte 8" },
        RefusedCase{ "CommaInArray", R"({"a":[1,]})", "it is not JSON at byte 9" },
        RefusedCase{ "WrongEnd", R"({"a":[1}})", "it is not JSON at byte 8" },
        RefusedCase{ "BareName", "{a:1}", "it is not JSON at byte 2" },
        RefusedCase{ "WrongLiteral", R"({"a":talse})", "it is not JSON at byte 7" },
        RefusedCase{ "NotANumber", R"({"a":NaN})", "it is not JSON at byte 6" },
        RefusedCase{ "Infinity", R"({"a":-Infinity})", "it is not JSON at byte 7" },
        RefusedCase{ "SingleQuotes", R"({"a":'b'})", "it is not JSON at byte 6" },
        RefusedCase{ "Comment", R"({/*"*/"a":1/*"*/})", "it is not JSON at byte 2" },
        RefusedCase{ "CommentBehind", "{} // }", "it is not JSON at byte 4" },
        RefusedCase{ "BrokenEscape", R"({"a":"\q"})", "it is not JSON at byte 8" },
        RefusedCase{ "ShortEscape", R"({"a":"\u12"})", "it is not JSON at byte 11" },
        RefusedCase{ "Tab", "{\"a\":\"b\tc\"}", "it is not JSON at byte 8" },
        RefusedCase{ "ZeroByteInText", std::string(R"({"a":"b)") + '\0' + R"("})",
            "it is not JSON at byte 8" },
        RefusedCase{ "ZeroByteBehind", std::string("{}") + '\0' + "{", "it is not JSON at byte 3" },
        RefusedCase{ "NotUtf8", "{\"a\":\"b\xff\"}", "it is not JSON at byte 8" },
        RefusedCase{ "CutUtf8", "{\"a\":\"\xe2\x82\"}", "it is not JSON at byte 9" },
        RefusedCase{ "LongUtf8", "{\"a\":\"\xc0\xaf\"}", "it is not JSON at byte 7" },
        RefusedCase{ "SurrogateInUtf8", "{\"a\":\"\xed\xa0\x80\"}", "it is not JSON at byte 8" },
        RefusedCase{ "FirstSurrogate", R"({"a":"x\ud800y"})", "it is not JSON at byte 14" },
        RefusedCase{ "SecondSurrogate", R"({"a":"\udc00"})", "it is not JSON at byte 12" },
        RefusedCase{ "BlankInNumber", R"({"a":- 5})", "it is not JSON at byte 7" },
        RefusedCase{ "Minus", R"({"a":-})", "it is not JSON at byte 7" },
        RefusedCase{ "Plus", R"({"a":+5})", "it is not JSON at byte 6" },
        RefusedCase{ "LeadingZero", R"({"a":01})", "it is not JSON at byte 7" },
        RefusedCase{ "LeadingZeroOfNegative", R"({"a":-01})", "it is not JSON at byte 8" },
        RefusedCase{ "Hexadecimal", R"({"a":0x2da})", "it is not JSON at byte 7" },
        RefusedCase{ "NoFraction", R"({"a":1.})", "it is not JSON at byte 8" },
        RefusedCase{ "OnlyFraction", R"({"a":.5})", "it is not JSON at byte 6" },
        RefusedCase{ "NoExponent", R"({"a":1e})", "it is not JSON at byte 8" },
        RefusedCase{ "NoSignedExponent", R"({"a":1e+})", "it is not JSON at byte 9" },
        RefusedCase{ "NumberAndLiteral", R"({"a":1true})", "it is not JSON at byte 10" }),
    nameOf);

class OtherJsonTest : public PhoneMessageTest {};

TEST_P(OtherJsonTest, IsRefused) { expectRefused(); }

INSTANTIATE_TEST_SUITE_P(Table, OtherJsonTest,
    testing::Values(RefusedCase{ "MillionsOfBrackets", R"({"a":)" + std::string(8000000, '['),
                        "it is nested too deep" },
        RefusedCase{ "DepthOf513", nested(512), "it is nested too deep" },
        RefusedCase{ "DepthOf512", nested(511), "there is no msgId" },
        RefusedCase{ "EveryKindOfNumber",
            R"({"a":[0,-0,-5,1.50,-0.5e-3,1E+5,2e10 ,9223372036854775807,-9223372036854775808]})",
            "there is no msgId" },
        RefusedCase{ "EveryKindOfValue", R"( {"a" : [null, true, {}, [], "\ud83d\ude00\n" ] } )",
            "there is no msgId" },
        RefusedCase{ "NumberAbove64Bits", R"({"a":9223372036854775808})",
            R"(the number "9223372036854775808" is out of range)" },
        RefusedCase{ "NumberOf20Digits", R"({"a":18446744073709551617})",
            R"(the number "18446744073709551617" is out of range)" },
        RefusedCase{ "NumberBelow64Bits", R"({"a":-9223372036854775809})",
            R"(the number "-9223372036854775809" is out of range)" },
        RefusedCase{ "PowerOfTen", R"({"a":1e19})", R"(the number "1e19" is out of range)" },
        RefusedCase{ "Endless", R"({"a":1e999})", R"(the number "1e999" is out of range)" },
        RefusedCase{ "ZeroCharacter", R"({"a":"b\u0000c"})",
            "the text \"b\xef\xbf\xbd"
            "c\" has a zero character" },
        RefusedCase{ "ZeroCharacterInName", R"({"msgId\u0000":1})",
            "the text \"msgId\xef\xbf\xbd\" has a zero character" },
        RefusedCase{
            "MemberTwice", R"({"a":{"b":1,"c":2,"b":1}})", R"(the member "b" comes twice)" }),
    nameOf);

class OtherMessageTest : public PhoneMessageTest {};

TEST_P(OtherMessageTest, IsRefused) { expectRefused(); }

INSTANTIATE_TEST_SUITE_P(Table, OtherMessageTest,
    testing::Values(RefusedCase{ "NoKind", R"({"list":[]})", "there is no msgId" },
        RefusedCase{ "KindOfAnotherType", R"({"msgId":5})", "msgId is of another type" },
        RefusedCase{ "UnknownKind", R"({"msgId":"alarm-nonsense-req"})",
            R"(unknown msgId "alarm-nonsense-req")" },
        RefusedCase{ "EmptyKind", R"({"msgId":""})", R"(unknown msgId "")" },
        RefusedCase{ "KindOfTheWatch", R"({"msgId":"alarm-list-req"})",
            "alarm-list-req is not for the phone to send" },
        RefusedCase{
            "NoPhone", R"({"msgId":"alarm-sequence-req","sequence":1})", "there is no phone" },
        RefusedCase{ "PhoneZero", R"({"msgId":"alarm-sequence-req","phone":0,"sequence":1})",
            "phone is out of range" },
        RefusedCase{
            "NoSequence", R"({"msgId":"alarm-sequence-req","phone":1})", "there is no sequence" },
        RefusedCase{ "NegativeSequence",
            R"({"msgId":"alarm-sequence-req","phone":1,"sequence":-1})",
            "sequence is out of range" },
        RefusedCase{ "SequenceOf32Bits",
            R"({"msgId":"alarm-sequence-req","phone":1,"sequence":2147483648})",
            "sequence is out of range" },
        RefusedCase{ "NoNumber", R"({"msgId":"alarm-list-rsp","sequence":1,"list":[]})",
            "there is no number" },
        RefusedCase{
            "NoList", R"({"msgId":"alarm-mobile-update-ind","sequence":2})", "there is no list" },
        RefusedCase{ "ListOfAnotherType",
            R"({"msgId":"alarm-mobile-update-ind","sequence":2,"list":{}})",
            "list is of another type" },
        RefusedCase{ "NumberInList",
            R"({"msgId":"alarm-mobile-update-ind","sequence":2,"list":[5]})",
            "list has an element that is no object" },
        RefusedCase{ "LongList", updateOfMany(1001), "list has more than 1000 alarms" }),
    nameOf);

class OtherAlarmTest : public PhoneMessageTest {};

TEST_P(OtherAlarmTest, IsRefused) { expectRefused(); }

INSTANTIATE_TEST_SUITE_P(Table, OtherAlarmTest,
    testing::Values(RefusedCase{ "NoUuid", update(R"("uuid":"u3",)"), "there is no uuid" },
        RefusedCase{ "UuidOfAnotherType", update(R"("u3")", "3"), "uuid is of another type" },
        RefusedCase{ "EmptyUuid", update(R"("u3")", R"("")"), "a uuid is empty or no plain text" },
        RefusedCase{
            "UuidWithATab", update(R"("u3")", R"("a\tb")"), "a uuid is empty or no plain text" },
        RefusedCase{
            "LongUuid", update("u3", std::string(65, 'u')), "uuid is longer than 64 bytes" },
        RefusedCase{ "UuidTwice", update("]}", R"(,{"uuid":"u3"}]})"), "the uuid u3 comes twice" },
        RefusedCase{ "TitleOfAnotherType", update(R"("New")", "true"), "title is of another type" },
        RefusedCase{
            "LongTitle", update("New", std::string(1001, 'x')), "title is longer than 1000 bytes" },
        RefusedCase{ "NoTime", update(R"("alarm_time":730,)"), "there is no alarm_time" },
        RefusedCase{ "TimeAsText", update("730", R"("730")"), "alarm_time is of another type" },
        RefusedCase{ "TimeWithAFraction", update("730", "7.5"), "alarm_time is of another type" },
        RefusedCase{ "NegativeTime", update("730", "-1"), "alarm_time is out of range" },
        RefusedCase{ "Minute60", update("730", "760"), "alarm_time is out of range" },
        RefusedCase{ "Hour24", update("730", "2400"), "alarm_time is out of range" },
        RefusedCase{ "TimeOf40Bits", update("730", "1099511627776"), "alarm_time is out of range" },
        RefusedCase{ "AlertMinus2", update(R"("alerttime":0)", R"("alerttime":-2)"),
            "alerttime is out of range" },
        RefusedCase{ "AlertBeyondARow", update(R"("alerttime":0)", R"("alerttime":2147397247001)"),
            "alerttime is out of range" },
        RefusedCase{ "NegativeCreation", update(R"("created_time":1)", R"("created_time":-1)"),
            "created_time is out of range" },
        RefusedCase{ "CreationAsText", update(R"("created_time":1)", R"("created_time":"1")"),
            "created_time is of another type" },
        RefusedCase{ "CreationInTheYear10000",
            update(R"("created_time":1)", R"("created_time":253402300800000)"),
            "created_time is out of range" },
        RefusedCase{
            "NoModification", update(R"("modified_time":1,)"), "there is no modified_time" },
        RefusedCase{ "NegativeModification",
            update(R"("modified_time":1)", R"("modified_time":-1)"),
            "modified_time is out of range" },
        RefusedCase{ "EnableAsNumber", update(R"("enable":true)", R"("enable":1)"),
            "enable is of another type" },
        RefusedCase{ "NoEnable", update(R"("enable":true,)"), "there is no enable" },
        RefusedCase{ "NegativeRepeat", update("286331157", "-5"), "repeat_type is out of range" },
        RefusedCase{
            "RepeatOf32Bits", update("286331157", "4294967296"), "repeat_type is out of range" },
        RefusedCase{
            "RepeatAsText", update("286331157", R"("daily")"), "repeat_type is of another type" },
        RefusedCase{ "DeletedAsNumber", update(R"("is_deleted":false)", R"("is_deleted":0)"),
            "is_deleted is of another type" },
        RefusedCase{
            "NumberBehind", update("]}", ",7]}"), "list has an element that is no object" }),
    nameOf);

namespace {

class TakenMessageTest : public testing::Test {
protected:
    TakenMessageTest() { dlogDouble() = {}; }

    static std::vector<AlarmDbData> alarmsOf(const std::string& text)
    {
        return readPhoneAlarms(text, readPhoneMessage(text));
    }
};

} // namespace

TEST_F(TakenMessageTest, HelloTellsPhoneAndSequence)
{
    const PhoneMessage message
        = readPhoneMessage(R"({"msgId":"alarm-first-connection-req","phone":7,"sequence":0})");

    EXPECT_EQ(AlarmMessage::FirstConnectionReq, message.type);
    EXPECT_EQ(7, message.phone);
    EXPECT_EQ(0, message.sequence);
    EXPECT_EQ(0U, message.listed);
}

TEST_F(TakenMessageTest, AnswerTellsItsNumber)
{
    const PhoneMessage message = readPhoneMessage(
        R"({"msgId":"alarm-watch-update-ack","number":2147483647,"sequence":2147483647})");

    EXPECT_EQ(AlarmMessage::WatchUpdateAck, message.type);
    EXPECT_EQ(2147483647, message.number);
    EXPECT_EQ(2147483647, message.sequence);
}

TEST_F(TakenMessageTest, AlarmIsAPhoneAlarm)
{
    const std::vector<AlarmDbData> alarms = alarmsOf(update());

    ASSERT_THAT(alarms, SizeIs(1));
    EXPECT_EQ(1, alarms[0].deviceType);
    EXPECT_EQ("u3", alarms[0].uuid);
    EXPECT_EQ("New", alarms[0].name);
    EXPECT_EQ(7, alarms[0].hour);
    EXPECT_EQ(30, alarms[0].min);
    EXPECT_EQ(1, alarms[0].enable);
}

TEST_F(TakenMessageTest, WeeklyAlarmOnNoDayIsOff)
{
    EXPECT_EQ(0, alarmsOf(update("286331157", "5")).at(0).enable);
}

TEST_F(TakenMessageTest, OfADeletedAlarmNothingElseCounts)
{
    EXPECT_EQ("",
        refusalOf(R"({"msgId":"alarm-mobile-update-ind","sequence":2,"list":[)"
                  R"({"uuid":"u3","modified_time":1,"is_deleted":true,)"
                  R"("alarm_time":"never"}]})"));
}

TEST_F(TakenMessageTest, ListHasUpTo1000Alarms)
{
    EXPECT_THAT(alarmsOf(updateOfMany(1000)), SizeIs(1000));
}

TEST_F(TakenMessageTest, ListWithoutAlarmsIsOne)
{
    EXPECT_THAT(
        alarmsOf(R"({"msgId":"alarm-list-rsp","number":1,"sequence":0,"list":[]})"), IsEmpty());
}

TEST_F(TakenMessageTest, LastTimesAreTaken)
{
    EXPECT_EQ("", refusalOf(update(R"("alerttime":0)", R"("alerttime":2147397247000)")));
    EXPECT_EQ("", refusalOf(update(R"("alerttime":0)", R"("alerttime":-1)")));
    EXPECT_EQ("", refusalOf(update(R"("created_time":1)", R"("created_time":253402300799999)")));
    EXPECT_EQ("", refusalOf(update("730", "2359")));
}
