#include "AlarmContextualManager.h"
#include "CardFixture.h"

#include <json-glib/json-glib.h>
#include <limits>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

namespace {
bool nodesFail = false;
bool objectsFail = false;
int nodes = 0; // made and not freed
} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
JsonNode* __real_json_node_new(JsonNodeType type);
void __real_json_node_free(JsonNode* node);
JsonObject* __real_json_object_new();

JsonNode* __wrap_json_node_new(JsonNodeType type)
{
    if (nodesFail)
        return nullptr;
    ++nodes;
    return __real_json_node_new(type);
}

void __wrap_json_node_free(JsonNode* node)
{
    --nodes;
    __real_json_node_free(node);
}

JsonObject* __wrap_json_object_new() { return objectsFail ? nullptr : __real_json_object_new(); }
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {
const char* const kTitle = "WDS_ORVSUG_HEADER_UPCOMING_ALARM_ABB";
const char* const kTurnOff = "WDS_ORVSUG_BUTTON_TURN_OFF_ABB4";
const char* const kOperation = "http://tizen.org/appcontrol/operation/default";

class CardJsonTest : public CardTest {
protected:
    CardJsonTest()
    {
        nodesFail = false;
        objectsFail = false;
        i18nDouble().patterns
            = { { "hhmm", "h:mm a" }, { "HHmm", "H:mm" }, { "EMMMd", "E d MMM" } };
        i18nDouble().texts = { { "h:mm a", "7:30 AM" }, { "H:mm", "07:30" }, { "a", "AM" },
            { "E d MMM", "Tue 14 May" } };
        gettextDouble().texts = { { kTitle, "Upcoming alarm" }, { kTurnOff, "Turn off" } };
    }

    ~CardJsonTest() override { EXPECT_EQ(0, nodes); }

    /// The text of the member whose name occurs nowhere else in the card; it has no escapes.
    std::string member(const std::string& name)
    {
        const std::string json = postedJson();
        const std::string begin = '"' + name + "\":\"";
        const size_t at = json.find(begin);
        if (at == std::string::npos)
            return "(none)";
        const size_t from = at + begin.size();
        return json.substr(from, json.find('"', from) - from);
    }
};

struct CardCase {
    const char* name;
    const char* region;
    int clock; ///< 1 = 12 hours
    int firstDay;
    int id;
    int start; ///< after now, in seconds
    int days; ///< of the week; 0: rings once
    /// What platform and catalogue have: pattern texts, marker and translations.
    std::map<std::string, std::string> dates;
    std::map<std::string, std::string> words;
    const char* json;
};
class CardTableTest : public CardJsonTest, public testing::WithParamInterface<CardCase> {};

std::map<std::string, std::string> wordsOf(
    const char* title, const char* turnOff, const std::vector<std::string>& letters)
{
    const std::vector<const char*> days = { "S_M_SUNDAY", "M_M_MONDAY", "T_M_TUESDAY",
        "W_M_WEDNESDAY", "T_M_THURSDAY", "F_M_FRIDAY", "S_M_SATURDAY" };
    std::map<std::string, std::string> words = { { kTitle, title }, { kTurnOff, turnOff } };
    for (size_t day = 0; day < letters.size(); ++day)
        words[std::string("WDS_ALM_BUTTON_") + days[day] + "_ABB"] = letters[day];
    return words;
}
} // namespace

TEST_P(CardTableTest, DescriptionIsTheSameByteForByte)
{
    const CardCase& row = GetParam();
    vconfDouble().texts[kRegion] = std::string(row.region) + ".UTF-8";
    vconfDouble().ints["db/menu_widget/regionformat_time1224"] = row.clock;
    i18nDouble().firstDay = row.firstDay;
    i18nDouble().texts = row.dates;
    gettextDouble().texts = row.words;
    alarm.id = row.id;
    alarm.stime = kNow + row.start;
    alarm.repeat_once = row.days == 0 ? 1 : 0;
    alarm.repeatWeekly = row.days;

    EXPECT_EQ(row.json, postedJson());
    EXPECT_EQ(row.region, i18nDouble().lastOf(I18nHandle::Kind::Format)->locale);
}

INSTANTIATE_TEST_SUITE_P(Table, CardTableTest,
    testing::Values(
        CardCase{ "EnglishOnce", "en_US", 1, 1, 7, 3600, 0,
            { { "h:mm a", "7:30 AM" }, { "a", "AM" }, { "E d MMM", "Tue, May 14" } },
            wordsOf("Upcoming alarm", "Turn off", {}),
            R"({"main_version":"5","uid":"AlarmUpcoming","time":"1715661000",)"
            R"("app_info":{"app_id":"com.velmora.alarm-service",)"
            R"("img_path":"/app/shared/res/b_rich_noti_icon_alarm.png"},)"
            R"("contents_info":{"priority":"0","duration":"3600","type":"custom_type",)"
            R"("custom_type":{"title":"Upcoming alarm",)"
            R"("body":"<linegap=-9><font_size=40><b><color=#000000ff>7∶30 AM)"
            R"(</color></b></br></font_size></linegap>)"
            R"(<font font_size=26><color=#4f4f4f99>Tue, May 14</color></font>",)"
            R"("clicked":"__APP_SVC_OP_TYPE__=http://tizen.org/appcontrol/operation/default)"
            R"(&__APP_SVC_PKG_NAME__=com.velmora.alarm-assist)"
            R"(&caller=contextual&operation=edit_alarm&alarm_id=7",)"
            R"("template":"template_1","contents_list":[{"type":"button",)"
            R"("uid":"AlarmUpcomingButton","text":"Turn off",)"
            R"("button_clicked":"__APP_SVC_OP_TYPE__=)"
            R"(http://tizen.org/appcontrol/operation/default)"
            R"(&__APP_SVC_PKG_NAME__=com.velmora.alarm-service)"
            R"(&context=turnOffContext&alarm_id=7"}]}}})" },
        CardCase{ "GermanPastWeekly", "de_DE", 2, 2, 12, -90, 2 | 32, { { "H:mm", "07:30" } },
            wordsOf("Nächster Wecker", "Ausschalten", { "S", "M", "D", "M", "D", "F", "S" }),
            R"({"main_version":"5","uid":"AlarmUpcoming","time":"1715661000",)"
            R"("app_info":{"app_id":"com.velmora.alarm-service",)"
            R"("img_path":"/app/shared/res/b_rich_noti_icon_alarm.png"},)"
            R"("contents_info":{"priority":"0","duration":"-90","type":"custom_type",)"
            R"("custom_type":{"title":"Nächster Wecker",)"
            R"("body":"<linegap=-9><font_size=40><b><color=#000000ff>07∶30)"
            R"(</color></b></br></font_size></linegap>)"
            R"(<font font_size=26><color=#623a9eff>M</color> <color=#4f4f4f99>D</color> )"
            R"(<color=#4f4f4f99>M</color> <color=#4f4f4f99>D</color> )"
            R"(<color=#623a9eff>F</color> <color=#4f4f4f99>S</color> )"
            R"(<color=#4f4f4f99>S</color></font>",)"
            R"("clicked":"__APP_SVC_OP_TYPE__=http://tizen.org/appcontrol/operation/default)"
            R"(&__APP_SVC_PKG_NAME__=com.velmora.alarm-assist)"
            R"(&caller=contextual&operation=edit_alarm&alarm_id=12",)"
            R"("template":"template_1","contents_list":[{"type":"button",)"
            R"("uid":"AlarmUpcomingButton","text":"Ausschalten",)"
            R"("button_clicked":"__APP_SVC_OP_TYPE__=)"
            R"(http://tizen.org/appcontrol/operation/default)"
            R"(&__APP_SVC_PKG_NAME__=com.velmora.alarm-service)"
            R"(&context=turnOffContext&alarm_id=12"}]}}})" },
        CardCase{ "KoreanMarkerFirst", "ko_KR", 1, 1, std::numeric_limits<int>::max(), 0, 0,
            { { "h:mm a", "오전 7:30" }, { "a", "오전" }, { "E d MMM", "5월 14일 (화)" } },
            wordsOf("다음 알람", "끄기", {}),
            R"({"main_version":"5","uid":"AlarmUpcoming","time":"1715661000",)"
            R"("app_info":{"app_id":"com.velmora.alarm-service",)"
            R"("img_path":"/app/shared/res/b_rich_noti_icon_alarm.png"},)"
            R"("contents_info":{"priority":"0","duration":"0","type":"custom_type",)"
            R"("custom_type":{"title":"다음 알람",)"
            R"("body":"<linegap=-9><font_size=40><b><color=#000000ff>오전 7∶30)"
            R"(</color></b></br></font_size></linegap>)"
            R"(<font font_size=26><color=#4f4f4f99>5월 14일 (화)</color></font>",)"
            R"("clicked":"__APP_SVC_OP_TYPE__=http://tizen.org/appcontrol/operation/default)"
            R"(&__APP_SVC_PKG_NAME__=com.velmora.alarm-assist)"
            R"(&caller=contextual&operation=edit_alarm&alarm_id=2147483647",)"
            R"("template":"template_1","contents_list":[{"type":"button",)"
            R"("uid":"AlarmUpcomingButton","text":"끄기",)"
            R"("button_clicked":"__APP_SVC_OP_TYPE__=)"
            R"(http://tizen.org/appcontrol/operation/default)"
            R"(&__APP_SVC_PKG_NAME__=com.velmora.alarm-service)"
            R"(&context=turnOffContext&alarm_id=2147483647"}]}}})" },
        CardCase{ "ArabicEveryDay", "ar_EG", 1, 7, -1, 3599, 127,
            { { "h:mm a", "٧:٣٠ ص" }, { "a", "ص" } },
            wordsOf("المنبه القادم", "إيقاف", { "ح", "ن", "ث", "ر", "خ", "ج", "س" }),
            R"({"main_version":"5","uid":"AlarmUpcoming","time":"1715661000",)"
            R"("app_info":{"app_id":"com.velmora.alarm-service",)"
            R"("img_path":"/app/shared/res/b_rich_noti_icon_alarm.png"},)"
            R"("contents_info":{"priority":"0","duration":"3599","type":"custom_type",)"
            R"("custom_type":{"title":"المنبه القادم",)"
            R"("body":"<linegap=-9><font_size=40><b><color=#000000ff>٧:٣٠ ص)"
            R"(</color></b></br></font_size></linegap>)"
            R"(<font font_size=26><color=#623a9eff>س</color> <color=#623a9eff>ح</color> )"
            R"(<color=#623a9eff>ن</color> <color=#623a9eff>ث</color> )"
            R"(<color=#623a9eff>ر</color> <color=#623a9eff>خ</color> )"
            R"(<color=#623a9eff>ج</color></font>",)"
            R"("clicked":"__APP_SVC_OP_TYPE__=http://tizen.org/appcontrol/operation/default)"
            R"(&__APP_SVC_PKG_NAME__=com.velmora.alarm-assist)"
            R"(&caller=contextual&operation=edit_alarm&alarm_id=-1",)"
            R"("template":"template_1","contents_list":[{"type":"button",)"
            R"("uid":"AlarmUpcomingButton","text":"إيقاف",)"
            R"("button_clicked":"__APP_SVC_OP_TYPE__=)"
            R"(http://tizen.org/appcontrol/operation/default)"
            R"(&__APP_SVC_PKG_NAME__=com.velmora.alarm-service)"
            R"(&context=turnOffContext&alarm_id=-1"}]}}})" }),
    [](const auto& row) { return row.param.name; });

TEST_F(CardJsonTest, TapIsTheRequestThatOpensTheAlarmOfThisRowForEditing)
{
    EXPECT_THAT(decodedEntries(member("clicked")),
        ElementsAre(Pair("__APP_SVC_OP_TYPE__", kOperation),
            Pair("__APP_SVC_PKG_NAME__", "com.velmora.alarm-assist"), Pair("caller", "contextual"),
            Pair("operation", "edit_alarm"), Pair("alarm_id", "7")));
}

TEST_F(CardJsonTest, ButtonIsTheRequestThatTurnsTheAlarmOfThisRowOff)
{
    EXPECT_THAT(decodedEntries(member("button_clicked")),
        ElementsAre(Pair("__APP_SVC_OP_TYPE__", kOperation),
            Pair("__APP_SVC_PKG_NAME__", "com.velmora.alarm-service"),
            Pair("context", "turnOffContext"), Pair("alarm_id", "7")));
}

TEST_F(CardJsonTest, RequestsOfTheCardAreEncodedAndNotSent)
{
    postedJson();

    EXPECT_EQ(2, appControlDouble().created);
    EXPECT_THAT(appControlDouble().sent, IsEmpty());
}

TEST_F(CardJsonTest, RequestThatCannotBeMadeOrEncodedIsEmpty)
{
    const auto expectEmptyRequests = [this] {
        EXPECT_EQ("", member("clicked"));
        EXPECT_EQ("", member("button_clicked"));
        EXPECT_THAT(cardLog(), IsEmpty());
    };
    appControlDouble().createResult = APP_CONTROL_ERROR_OUT_OF_MEMORY;
    expectEmptyRequests();

    appControlDouble() = {};
    appControlDouble().toBundleResult = APP_CONTROL_ERROR_INVALID_PARAMETER;
    expectEmptyRequests();

    appControlDouble() = {};
    bundleDouble().encodeResult = BUNDLE_ERROR_OUT_OF_MEMORY;
    expectEmptyRequests();
}

TEST_F(CardJsonTest, DurationIsTheTimeFromNowToTheAlarm)
{
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    const std::vector<std::pair<int, const char*>> rows = { { kNow, "0" }, { kNow + 1, "1" },
        { kNow - 1, "-1" }, { 0, "-1715661000" }, { most, "431822647" }, { least, "-3863144648" } };
    for (const auto& [start, duration] : rows) {
        alarm.stime = start;
        EXPECT_EQ(duration, member("duration"));
    }
}

TEST_F(CardJsonTest, TimesAreOfOneReadingOfTheClock)
{
    postedJson();

    // One more for the notification's own time, and one for the date's year.
    EXPECT_EQ(3, clockDouble().timesAsked);
}

TEST_F(CardJsonTest, NothingThatOthersHaveWrittenIsInTheCard)
{
    alarm.name = "\",\"uid\":\"forged\"}\xFF";
    alarm.uuid = alarm.name;
    alarm.tone = alarm.name;

    EXPECT_THAT(postedJson(), Not(HasSubstr("forged")));
}

TEST_F(CardJsonTest, TranslationsAreEscapedAsTexts)
{
    gettextDouble().texts = { { kTitle, "a \"b\" \\ c\n" }, { kTurnOff, "\"}]" } };

    EXPECT_THAT(postedJson(), HasSubstr(R"("title":"a \"b\" \\ c\n","body")"));
    EXPECT_THAT(postedJson(), HasSubstr(R"("text":"\"}]","button_clicked")"));
}

TEST_F(CardJsonTest, TextsWithoutATranslationAreTheirMessageIds)
{
    gettextDouble().texts.clear();

    EXPECT_EQ(kTitle, member("title"));
    EXPECT_EQ(kTurnOff, member("text"));
}

TEST_F(CardJsonTest, TextDomainIsBoundBeforeTheFirstTextOfAnAlarmThatRingsOnce)
{
    postedJson();

    EXPECT_THAT(gettextDouble().bound, ElementsAre("alarm-merid /app/res/locale"));
}

TEST_F(CardJsonTest, WhatIsNotUtf8IsReplaced)
{
    gettextDouble().texts = { { kTitle,
                                  "N\xE4"
                                  "chster" },
        { kTurnOff, "\xFF" } };
    appCommonDouble().sharedResourcePath = "/\xC3/";

    EXPECT_EQ("N\uFFFD"
              "chster",
        member("title"));
    EXPECT_EQ("\uFFFD", member("text"));
    EXPECT_EQ("/\uFFFD/b_rich_noti_icon_alarm.png", member("img_path"));
}

TEST_F(CardJsonTest, IconIsLeftOutWithoutASharedFolder)
{
    appCommonDouble().sharedResourcePath.reset();

    EXPECT_THAT(postedJson(),
        HasSubstr(R"("app_info":{"app_id":"com.velmora.alarm-service"},"contents_info")"));
}

TEST_F(CardJsonTest, PathOfTheIconHasAtMost4096BytesAndNoPartOfACharacter)
{
    const std::string icon = "b_rich_noti_icon_alarm.png";
    const size_t room = 4096 - icon.size();

    appCommonDouble().sharedResourcePath = std::string(room, '/');
    EXPECT_EQ(std::string(room, '/') + icon, member("img_path"));

    appCommonDouble().sharedResourcePath = std::string(room + 1, '/');
    EXPECT_EQ(std::string(room + 1, '/') + icon.substr(0, icon.size() - 1), member("img_path"));

    appCommonDouble().sharedResourcePath = std::string(4095, '/') + "ä/";
    EXPECT_EQ(std::string(4095, '/'), member("img_path"));

    // Three bytes take the place of each of these.
    appCommonDouble().sharedResourcePath = std::string(2000, '\xFF');
    std::string replaced;
    for (int i = 0; i < 4096 / 3; ++i)
        replaced += "\uFFFD";
    EXPECT_EQ(replaced, member("img_path"));
}

TEST_F(CardJsonTest, CardWithoutMemoryForANodeHasAnEmptyDescription)
{
    nodesFail = true;

    EXPECT_EQ("", postedJson());

    EXPECT_THAT(cardLog(), ElementsAre("_getUpcomingJson: json_node_new fail"));
    EXPECT_EQ(0, appControlDouble().created);
}

TEST_F(CardJsonTest, CardWithoutMemoryForAnObjectHasAnEmptyDescription)
{
    objectsFail = true;

    EXPECT_EQ("", postedJson());

    EXPECT_THAT(cardLog(), ElementsAre("_getUpcomingJson: json_object_new fail"));
    EXPECT_EQ(0, appControlDouble().created);
}

TEST_F(CardJsonTest, TextsAreMadeAnewForEachCard)
{
    const std::string before = postedJson();
    gettextDouble().texts[kTitle] = "Nächster Wecker";
    clockDouble().now = timeval{ kNow + 60, 0 };

    EXPECT_EQ("Nächster Wecker", member("title"));
    EXPECT_EQ("1715661060", member("time"));
    EXPECT_EQ("3540", member("duration"));
    EXPECT_THAT(before, HasSubstr(R"("time":"1715661000")"));
}
