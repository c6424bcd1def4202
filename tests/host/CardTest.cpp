#include "host/daemon/Card.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char* const kPoster = "com.velmora.test-poster";

host::Notification notificationOf(const std::string& json)
{
    host::Notification notification;
    notification.application = kPoster;
    notification.texts[NOTIFICATION_TEXT_TYPE_EXTENSION] = { json, "" };
    return notification;
}

std::string custom(const std::string& members)
{
    return R"({"contents_info":{"custom_type":{)" + members + "}}}";
}

struct MarkupCase {
    const char* name;
    std::string markup;
    const char* text;
};

class CardMarkupTest : public testing::TestWithParam<MarkupCase> {};

TEST_P(CardMarkupTest, IsShownAsPlainText)
{
    EXPECT_EQ(GetParam().text, host::plainText(GetParam().markup));
}

INSTANTIATE_TEST_SUITE_P(Table, CardMarkupTest,
    testing::Values(MarkupCase{ "Nothing", "", "" }, MarkupCase{ "Plain", "7:30 AM", "7:30 AM" },
        MarkupCase{ "Upcoming",
            "<linegap=-9><font_size=40><b><color=#000000ff>7:30 AM</color></b></br></font_size>"
            "</linegap><color=#ff0000ff>Sun</color>, 22 Nov",
            "7:30 AM\nSun, 22 Nov" },
        MarkupCase{ "Breaks", "a<br>b<br/>c</br>e", "a\nb\nc\ne" },
        MarkupCase{ "Entities", "&lt;b&gt; &amp;amp; &quot;x&quot; &apos;", "<b> &amp; \"x\" '" },
        MarkupCase{ "NoBreakSpace", "a&nbsp;b", "a\u00A0b" },
        MarkupCase{ "UnknownEntity", "a &b; & c&#39;", "a &b; & c&#39;" },
        MarkupCase{ "EntityCutOff", "a &am", "a &am" },
        MarkupCase{ "TagCutOff", "a <b>b <c", "a b <c" },
        MarkupCase{ "LoneBrackets", "1 < 2", "1 < 2" }, MarkupCase{ "End", "a > b", "a > b" },
        MarkupCase{ "Nested", "<a<b>c", "c" }, MarkupCase{ "OtherScript", "<b>오전</b>", "오전" }),
    [](const auto& row) { return row.param.name; });

struct ShadeCase {
    const char* name;
    std::string markup;
    const char* text;
    const char* desktop;
};

class CardShadeTest : public testing::TestWithParam<ShadeCase> {};

TEST_P(CardShadeTest, IsShownByDotsOrBoldLetters)
{
    EXPECT_EQ(GetParam().text, host::plainText(GetParam().markup));
    EXPECT_EQ(GetParam().desktop, host::desktopMarkup(GetParam().markup));
}

INSTANTIATE_TEST_SUITE_P(Table, CardShadeTest,
    testing::Values(ShadeCase{ "Days",
                        "<b><color=#000000ff>7:30 AM</color></b></br><color=#623a9eff>S</color> "
                        "<color=#4f4f4f99>Mo</color> <color=#4f4f4f99>T</color>",
                        "7:30 AM\nS \u00B7 \u00B7", "7:30 AM\n<b>S</b> Mo T" },
        ShadeCase{
            "EveryDay", "<color=#623a9eff>S</color> <color=#623a9eFF>M</color>", "S M", "S M" },
        ShadeCase{ "Date", "<color=#000000ff>7:30</color><br><color=#4f4f4f99>Sun & Mon</color>",
            "7:30\nSun & Mon", "7:30\nSun &amp; Mon" },
        ShadeCase{ "NoAlphaIsOpaque", "<color=#623a9e>&lt;</color><color=#4f4f4ff0>b</color>",
            "<\u00B7", "<b>&lt;</b>b" },
        ShadeCase{ "UncolouredStays", "a <color=#623a9eff>b</color> <color=#4f4f4f99>c",
            "a b \u00B7", "a <b>b</b> c" },
        ShadeCase{ "OverABreak", "<color=#4f4f4f99>a</br>b</color><color=#623a9eff>c</color>",
            "a\n\u00B7c", "a\nb<b>c</b>" },
        ShadeCase{
            "EmptyIsNothing", "<color=#4f4f4f99></color><color=#623a9eff>c</color>", "c", "c" },
        ShadeCase{ "NoDotForNothing",
            "<color=#4f4f4f99></color><color=#623a9eff>c</color><color=#4f4f4f99>d</color>",
            "c\u00B7", "<b>c</b>d" },
        ShadeCase{
            "NamesAreNoShades", "<color=red>a</color><color=#4f4f4f99>b</color>", "ab", "ab" }),
    [](const auto& row) { return row.param.name; });

struct CardCase {
    const char* name;
    std::string json;
    const char* title;
    const char* body;
    const char* icon;
    const char* request;
    std::vector<std::string> buttons; ///< text=request
};

class CardJsonTest : public testing::TestWithParam<CardCase> {};

TEST_P(CardJsonTest, IsShownWithWhatItHas)
{
    const CardCase& c = GetParam();
    const host::Card card = host::cardOf(notificationOf(c.json));

    EXPECT_EQ(c.title, card.title);
    EXPECT_EQ(c.body, card.body);
    EXPECT_EQ(c.icon, card.icon);
    EXPECT_EQ(c.request, card.request);
    std::vector<std::string> buttons;
    for (const host::Card::Button& button : card.buttons)
        buttons.push_back(button.text + "=" + button.request);
    EXPECT_EQ(c.buttons, buttons);
}

INSTANTIATE_TEST_SUITE_P(Table, CardJsonTest,
    testing::Values(
        CardCase{ "Whole",
            R"({"main_version":"5","app_info":{"app_id":"x","img_path":"/a/icon.png"},)"
            R"("contents_info":{"type":"custom_type","custom_type":{"title":"Upcoming alarm",)"
            R"("body":"<b>7:30</b></br>Sun","clicked":"TAP","template":"template_1",)"
            R"("contents_list":[{"type":"button","uid":"B","text":"Turn off",)"
            R"("button_clicked":"OFF"}]}}})",
            "Upcoming alarm", "7:30\nSun", "/a/icon.png", "TAP", { "Turn off=OFF" } },
        CardCase{ "Buttons",
            custom(R"("contents_list":[{"type":"button","text":"A"},{"type":"text","text":"B"},7,)"
                   R"({"type":"button","button_clicked":"C"},{"text":"D"}])"),
            kPoster, "", "", "", { "A=", "=C" } },
        CardCase{ "Empty", "{}", kPoster, "", "", "", {} },
        CardCase{ "NoTexts", custom(R"("title":7,"body":["x"],"clicked":null)"), kPoster, "", "",
            "", {} },
        CardCase{ "OtherShapes",
            R"({"app_info":"x","contents_info":[{"custom_type":{"title":"x"}}]})", kPoster, "", "",
            "", {} },
        CardCase{ "ListIsNoArray", custom(R"("contents_list":{"0":{"type":"button"}})"), kPoster,
            "", "", "", {} },
        CardCase{ "Escapes", custom(R"("title":"a\u00e9\ud83d\ude00\n")"), "a\u00e9\U0001F600\n",
            "", "", "", {} }),
    [](const auto& row) { return row.param.name; });

TEST(CardTest, HasTenButtonsAtMost)
{
    std::string list = R"({"type":"button"})";
    for (int i = 1; i < 11; ++i)
        list += R"(,{"type":"button"})";
    const std::string json = custom("\"contents_list\":[" + list + "]");
    EXPECT_EQ(10u, host::cardOf(notificationOf(json)).buttons.size());
}

TEST(CardTest, TextsThatAreNoCardLeaveTheOrdinaryOnes)
{
    const std::string deep(65536, '[');
    std::string nested;
    for (int i = 0; i < 10000; ++i)
        nested += R"({"contents_info":)";
    for (const std::string& text : { std::string("nonsense"), std::string(), std::string("7"),
             std::string("[]"), deep, nested, custom("\"title\":\"\xff\xfe\""),
             custom(R"("title":"\ud800")"), std::string(3, '\0') }) {
        SCOPED_TRACE(text.substr(0, 20));
        host::Notification notification = notificationOf(text);
        notification.texts[NOTIFICATION_TEXT_TYPE_TITLE] = { "Title", "" };
        notification.texts[NOTIFICATION_TEXT_TYPE_CONTENT] = { "<b>Content", "" };

        const host::Card card = host::cardOf(notification);

        EXPECT_EQ("Title", card.title);
        EXPECT_EQ("<b>Content", card.body);
        EXPECT_EQ("&lt;b&gt;Content", card.markup);
        EXPECT_EQ("", card.request);
        EXPECT_THAT(card.buttons, IsEmpty());
    }
}

TEST(CardTest, DeepNestingAndLongMarkupAreReadInTime)
{
    const std::string deep
        = custom("\"title\":\"Deep\",\"x\":" + std::string(30000, '[') + std::string(30000, ']'));
    EXPECT_EQ("Deep", host::cardOf(notificationOf(deep)).title);

    for (const char* part : { "&", "<", "<b", "&lt" }) {
        std::string markup;
        while (markup.size() < 4000000)
            markup += part;
        EXPECT_EQ(markup, host::plainText(markup)) << part;
    }
}

} // namespace
