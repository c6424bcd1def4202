#include "VoiceRequest.h"

#include "DlogDouble.h"
#include "Refusal.h"

#include <gmock/gmock.h>

namespace {

using Operation = VoiceRequest::Operation;

std::string refusalOf(const std::string& text) { return refusalOf(text, readVoiceRequest); }

/// A request for a new alarm at 07:30, with more members.
std::string add(const std::string& more)
{
    return R"({"operation":"add","time":"07:30")" + (more.empty() ? "" : "," + more) + "}";
}

class RefusedRequestTest : public testing::TestWithParam<RefusedCase> {
protected:
    RefusedRequestTest() { dlogDouble() = {}; }
};

struct RepeatCase {
    const char* name;
    const char* repeat;
    bool isTaken;
    bool once;
    int weekdays;
};
class RequestRepeatTest : public testing::TestWithParam<RepeatCase> {};

struct DateCase {
    const char* name;
    const char* date;
    int year, month, day; // 0: it is none
};
class RequestDateTest : public testing::TestWithParam<DateCase> {};

const auto nameOf = [](const auto& row) { return row.param.name; };

} // namespace

TEST_P(RefusedRequestTest, IsToldWhatIsWrong)
{
    EXPECT_EQ(GetParam().reason, refusalOf(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(NoRequest, RefusedRequestTest,
    testing::Values(RefusedCase{ "Empty", "", "it is not one JSON object" },
        RefusedCase{ "Word", "wake me", "it is not one JSON object" },
        RefusedCase{ "Array", R"([{"operation":"open"}])", "it is not one JSON object" },
        RefusedCase{ "Cut", R"({"operation":"open")", "it is not JSON at byte 20" },
        RefusedCase{ "NoUtf8", "{\"operation\":\"\xff\"}", "it is not JSON at byte 15" },
        RefusedCase{
            "Two", R"({"operation":"open"}{"operation":"open"})", "it is not JSON at byte 21" },
        RefusedCase{ "OperationTwice", R"({"operation":"open","operation":"list"})",
            R"(the member "operation" comes twice)" },
        RefusedCase{ "Deep", R"({"operation":)" + std::string(600, '['), "it is nested too deep" },
        RefusedCase{ "Longest", std::string((16 << 10) - 2, ' ') + "{}", "there is no operation" },
        RefusedCase{
            "TooLong", std::string((16 << 10) - 1, ' ') + "{}", "it is longer than 16384 bytes" },
        RefusedCase{ "Huge", std::string(1 << 20, '['), "it is longer than 16384 bytes" },
        RefusedCase{ "NoOperation", R"({"time":"07:30"})", "there is no operation" },
        RefusedCase{ "OperationAsNumber", R"({"operation":1})", "operation is of another type" },
        RefusedCase{ "OtherOperation", R"({"operation":"remove"})",
            R"(unknown operation "remove"; operations are open, add, list)" },
        RefusedCase{ "OtherCase", R"({"operation":"Open"})",
            R"(unknown operation "Open"; operations are open, add, list)" },
        RefusedCase{ "LineInOperation", R"({"operation":"a\nb"})",
            "unknown operation \"a\xef\xbf\xbd"
            "b\"; operations are open, add, list" }),
    nameOf);

INSTANTIATE_TEST_SUITE_P(OtherMembers, RefusedRequestTest,
    testing::Values(RefusedCase{ "TimeToOpen", R"({"operation":"open","time":"07:30"})",
                        R"(open has no use for the member "time")" },
        RefusedCase{ "AlertToOpen", R"({"operation":"open","withAlert":true})",
            R"(open has no use for the member "withAlert")" },
        RefusedCase{ "IdToAdd", add(R"("id":1)"), R"(add has no use for the member "id")" },
        RefusedCase{
            "Misspelt", add(R"("repat":"1")"), R"(add has no use for the member "repat")" },
        RefusedCase{ "OtherCase", add(R"("Name":"x")"), R"(add has no use for the member "Name")" },
        RefusedCase{ "TimeToList", R"({"operation":"list","time":"07:30"})",
            R"(list has no use for the member "time")" },
        RefusedCase{ "AlarmToList", R"({"operation":"list","withAlarm":true})",
            R"(list has no use for the member "withAlarm")" }),
    nameOf);

INSTANTIATE_TEST_SUITE_P(OtherValues, RefusedRequestTest,
    testing::Values(RefusedCase{ "NoTime", R"({"operation":"add"})", "there is no time" },
        RefusedCase{
            "TimeAsNumber", R"({"operation":"add","time":730})", "time is of another type" },
        RefusedCase{ "Hour24", R"({"operation":"add","time":"24:00"})",
            R"("24:00" is not a time of day; 00:00 to 23:59 is)" },
        RefusedCase{ "Seconds", R"({"operation":"add","time":"07:30:00"})",
            R"("07:30:00" is not a time of day; 00:00 to 23:59 is)" },
        RefusedCase{ "DateAsNumber", add(R"("date":20261123)"), "date is of another type" },
        RefusedCase{ "NullDate", add(R"("date":null)"), "date is of another type" },
        RefusedCase{ "DateOfARepeatingAlarm", add(R"("date":"2026-11-23","repeat":"2")"),
            "an alarm that repeats has no date" },
        RefusedCase{ "RepeatAsArray", add(R"("repeat":[2,3])"), "repeat is of another type" },
        RefusedCase{ "NameAsNumber", add(R"("name":7)"), "name is of another type" },
        RefusedCase{ "NameOfTwoLines", add(R"("name":"a\nb")"),
            "a name is UTF-8 text on one line, without control characters or marks that reorder "
            "it" },
        RefusedCase{
            "SnoozeAsText", add(R"("snoozeDuration":"5")"), "snoozeDuration is of another type" },
        RefusedCase{ "SnoozeWithAFraction", add(R"("snoozeDuration":5.0)"),
            "snoozeDuration is of another type" },
        RefusedCase{ "SnoozeOfTenMinutes", add(R"("snoozeDuration":10)"),
            "snoozeDuration is 5 minutes, or 0 for an alarm that cannot be snoozed" },
        RefusedCase{ "SnoozeOf64Bits", add(R"("snoozeDuration":4294967296)"),
            "snoozeDuration is 5 minutes, or 0 for an alarm that cannot be snoozed" },
        RefusedCase{ "SnoozeBeyond64Bits", add(R"("snoozeDuration":18446744073709551616)"),
            R"(the number "18446744073709551616" is out of range)" },
        RefusedCase{ "FlagAsNumber", add(R"("withAlarm":1)"), "withAlarm is of another type" },
        RefusedCase{ "FlagAsText", add(R"("withAlert":"yes")"), "withAlert is of another type" },
        RefusedCase{ "IdAsText", R"({"operation":"list","id":"1"})", "id is of another type" },
        RefusedCase{
            "IdWithAFraction", R"({"operation":"list","id":1.5})", "id is of another type" },
        RefusedCase{ "NoId", R"({"operation":"list","id":0})", "id is out of range" },
        RefusedCase{ "NegativeId", R"({"operation":"list","id":-1})", "id is out of range" },
        RefusedCase{
            "IdOf32Bits", R"({"operation":"list","id":2147483648})", "id is out of range" }),
    nameOf);

TEST_P(RequestRepeatTest, IsReadOrRefused)
{
    const RepeatCase& row = GetParam();
    const std::string text = add(std::string(R"("repeat":")") + row.repeat + "\"");
    if (!row.isTaken) {
        EXPECT_EQ("\"" + std::string(row.repeat)
                + "\" is not repeat days; they are 0 for once, or some of 1, Sunday, to 7, "
                  "Saturday, with commas between",
            refusalOf(text));
        return;
    }
    const VoiceRequest request = readVoiceRequest(text);

    EXPECT_EQ(row.once, request.days.once);
    EXPECT_EQ(row.weekdays, request.days.weekdays);
}

INSTANTIATE_TEST_SUITE_P(Table, RequestRepeatTest,
    testing::Values(RepeatCase{ "Once", "0", true, true, 0 },
        RepeatCase{ "Sunday", "1", true, false, 1 }, RepeatCase{ "Saturday", "7", true, false, 64 },
        RepeatCase{ "WorkingDays", "2,3,4,5,6", true, false, 62 },
        RepeatCase{ "EveryDay", "1,2,3,4,5,6,7", true, false, 127 },
        RepeatCase{ "AnyOrder", "7, 1", true, false, 65 },
        RepeatCase{ "WithoutCommas", "23", true, false, 6 },
        RepeatCase{ "Empty", "", false, {}, {} }, RepeatCase{ "NoDay", ", ,", false, {}, {} },
        RepeatCase{ "OnceAndADay", "0,2", false, {}, {} },
        RepeatCase{ "OnceTwice", "0,0", false, {}, {} },
        RepeatCase{ "DayTwice", "1,1", false, {}, {} },
        RepeatCase{ "DayTwiceAmongOthers", "2,7,2", false, {}, {} },
        RepeatCase{ "SaturdayTwice", "7,7", false, {}, {} },
        RepeatCase{ "ManyTimes", "11111111", false, {}, {} },
        RepeatCase{ "NoSuchDay", "8", false, {}, {} },
        RepeatCase{ "NoSuchDayAmongDays", "2,8", false, {}, {} },
        RepeatCase{ "Names", "mon,2", false, {}, {} }),
    nameOf);

TEST_P(RequestDateTest, IsReadOrRefused)
{
    const DateCase& row = GetParam();
    const std::string text = add(std::string(R"("date":")") + row.date + "\"");
    if (row.year == 0) {
        EXPECT_EQ("\"" + std::string(row.date)
                + "\" is not a date; one such as 2026-11-23 is, up to the year 2037",
            refusalOf(text));
        return;
    }
    const VoiceRequest request = readVoiceRequest(text);

    ASSERT_TRUE(request.date);
    EXPECT_EQ(row.year, request.date->tm_year + 1900);
    EXPECT_EQ(row.month, request.date->tm_mon + 1);
    EXPECT_EQ(row.day, request.date->tm_mday);
}

INSTANTIATE_TEST_SUITE_P(Table, RequestDateTest,
    testing::Values(DateCase{ "Any", "2026-11-23", 2026, 11, 23 },
        DateCase{ "First", "1970-01-01", 1970, 1, 1 },
        DateCase{ "Last", "2037-12-31", 2037, 12, 31 },
        DateCase{ "LeapDay", "2028-02-29", 2028, 2, 29 },
        DateCase{ "NoLeapDay", "2026-02-29", 0, 0, 0 },
        DateCase{ "NoSuchDay", "2026-11-31", 0, 0, 0 },
        DateCase{ "DayZero", "2026-11-00", 0, 0, 0 },
        DateCase{ "MonthZero", "2026-00-10", 0, 0, 0 },
        DateCase{ "Month13", "2026-13-01", 0, 0, 0 }, DateCase{ "Early", "1969-12-31", 0, 0, 0 },
        DateCase{ "Late", "2038-01-01", 0, 0, 0 }, DateCase{ "Empty", "", 0, 0, 0 },
        DateCase{ "Word", "tomorrow", 0, 0, 0 }, DateCase{ "OtherOrder", "23-11-2026", 0, 0, 0 },
        DateCase{ "OtherMarks", "2026/11/23", 0, 0, 0 },
        DateCase{ "ShortMonth", "2026-1-23", 0, 0, 0 },
        DateCase{ "ShortMonthLongDay", "2026-1-023", 0, 0, 0 },
        DateCase{ "ShortDayAndMore", "2026-11-2-", 0, 0, 0 },
        DateCase{ "NegativeMonth", "2026--1-23", 0, 0, 0 },
        DateCase{ "NegativeDay", "2026-11--3", 0, 0, 0 },
        DateCase{ "Blank", "2026-11- 3", 0, 0, 0 }, DateCase{ "Plus", "2026-11-+3", 0, 0, 0 },
        DateCase{ "LongDay", "2026-11-234", 0, 0, 0 },
        DateCase{ "WithATime", "2026-11-23T07:30", 0, 0, 0 }),
    nameOf);

TEST(VoiceRequestTest, OpenIsAllThatIsNeeded)
{
    const VoiceRequest request = readVoiceRequest(R"( {"operation":"open"} )");

    EXPECT_EQ(Operation::Open, request.operation);
    EXPECT_FALSE(request.withAlert);
}

TEST(VoiceRequestTest, NewAlarmRingsOnceUnlessItIsToldOtherwise)
{
    const VoiceRequest request = readVoiceRequest(add(""));

    EXPECT_EQ(Operation::Add, request.operation);
    EXPECT_EQ(7, request.time.hour);
    EXPECT_EQ(30, request.time.minute);
    EXPECT_FALSE(request.date);
    EXPECT_TRUE(request.days.once);
    EXPECT_EQ(0, request.days.weekdays);
    EXPECT_EQ("", request.name);
    EXPECT_TRUE(request.mayBeSnoozed);
    EXPECT_TRUE(request.withAlarm);
    EXPECT_FALSE(request.withAlert);
}

TEST(VoiceRequestTest, NewAlarmIsReadWhole)
{
    const VoiceRequest request
        = readVoiceRequest(R"({"withAlert":true,"withAlarm":false,"snoozeDuration":0,)"
                           R"("name":"\u00fcber \"x\"","date":"2026-11-23","repeat":"0",)"
                           R"("time":"23:59","operation":"add"})");

    EXPECT_EQ(23, request.time.hour);
    EXPECT_EQ(59, request.time.minute);
    ASSERT_TRUE(request.date);
    EXPECT_EQ(23, request.date->tm_mday);
    EXPECT_TRUE(request.days.once);
    EXPECT_EQ("\u00FC"
              "ber \"x\"",
        request.name);
    EXPECT_FALSE(request.mayBeSnoozed);
    EXPECT_FALSE(request.withAlarm);
    EXPECT_TRUE(request.withAlert);
}

TEST(VoiceRequestTest, SnoozeOfFiveMinutesIsTheWatchsOwn)
{
    EXPECT_TRUE(readVoiceRequest(add(R"("snoozeDuration":5)")).mayBeSnoozed);
}

TEST(VoiceRequestTest, NameMayFillTheRequest)
{
    const std::string name((16 << 10) - add(R"("name":"")").size(), 'x');

    EXPECT_EQ(name, readVoiceRequest(add(R"("name":")" + name + "\"")).name);
    EXPECT_EQ("it is longer than 16384 bytes", refusalOf(add(R"("name":")" + name + "x\"")));
}

TEST(VoiceRequestTest, HourMayHaveOneDigit)
{
    EXPECT_EQ(7, readVoiceRequest(R"({"operation":"add","time":"7:30"})").time.hour);
}

TEST(VoiceRequestTest, ListIsOfAllAlarmsOrOfOne)
{
    const VoiceRequest all = readVoiceRequest(R"({"operation":"list"})");
    EXPECT_EQ(Operation::List, all.operation);
    EXPECT_FALSE(all.id);
    EXPECT_FALSE(all.withAlert);

    const VoiceRequest one
        = readVoiceRequest(R"({"operation":"list","id":2147483647,"withAlert":true})");
    EXPECT_EQ(2147483647, one.id);
    EXPECT_TRUE(one.withAlert);
}
