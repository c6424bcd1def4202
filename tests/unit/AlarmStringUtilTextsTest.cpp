#include "AlarmStringUtil.h"
#include "AppCommonDouble.h"
#include "ClockDouble.h"
#include "GettextDouble.h"
#include "I18nFixture.h"
#include "ThemeDouble.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
using Kind = I18nHandle::Kind;
const char* const kTimeFormat = "db/menu_widget/regionformat_time1224";
const int kStart = 1715664600; // Tue 2024-05-14 07:30 in Berlin

class AlarmTextsTest : public I18nTest {
protected:
    AlarmTextsTest()
    {
        appCommonDouble() = {};
        appCommonDouble().resourcePath = "/app/res/";
        clockDouble() = {};
        clockDouble().now = timeval{ kStart - 3600, 0 };
        gettextDouble() = {};
        themeDouble() = {};
        i18nDouble().patterns = { { "hhmm", "h:mm a" }, { "HHmm", "H:mm" }, { "EMMMd", "E d MMM" },
            { "EMdyyyy", "E d/M/yyyy" } };
        i18nDouble().texts = { { "h:mm a", "07:30 AM" }, { "H:mm", "07:30" }, { "a", "AM" },
            { "E d MMM", "Tue 14 May" }, { "E d/M/yyyy", "Tue 14/5/2024" } };
        alarm.hour = 7;
        alarm.min = 30;
        alarm.stime = kStart;
        alarm.timezone = "Europe/Berlin";
        alarm.enable = 1;
    }

    std::string timeText() const
    {
        std::string text = "before";
        AlarmStringUtil::getAlarmTimeString(alarm, text);
        return text;
    }

    std::string dateText(bool markup) const
    {
        std::string text = "before";
        AlarmStringUtil::getAlarmDateRepeatString(alarm, text, markup);
        return text;
    }

    std::string part(int position, bool markup) const
    {
        char* text = AlarmStringUtil::_setAlarmRepeatPartText(alarm, position, markup);
        std::string result = text;
        free(text);
        return result;
    }

    void repeatOn(int days)
    {
        alarm.repeat_once = 0;
        alarm.repeatWeekly = days;
    }

    static void setRegion(const std::string& region) { vconfDouble().texts[kRegion] = region; }

    static void setLetters()
    {
        gettextDouble().texts = {
            { "WDS_ALM_BUTTON_S_M_SUNDAY_ABB", "So" },
            { "WDS_ALM_BUTTON_M_M_MONDAY_ABB", "Mo" },
            { "WDS_ALM_BUTTON_T_M_TUESDAY_ABB", "Di" },
            { "WDS_ALM_BUTTON_W_M_WEDNESDAY_ABB", "Mi" },
            { "WDS_ALM_BUTTON_T_M_THURSDAY_ABB", "Do" },
            { "WDS_ALM_BUTTON_F_M_FRIDAY_ABB", "Fr" },
            { "WDS_ALM_BUTTON_S_M_SATURDAY_ABB", "Sa" },
        };
    }

    AlarmDbData alarm;
};
} // namespace

TEST_F(AlarmTextsTest, TimeIsInTheTwelveHourFormatByDefault)
{
    EXPECT_EQ("07\u223630 AM", timeText());

    EXPECT_THAT(vconfDouble().asked, testing::Contains(kTimeFormat));
    EXPECT_THAT(i18nDouble().skeletons, ElementsAre("hhmm"));
    EXPECT_THAT(i18nDouble().formattedAt, ElementsAre(kStart * 1000.0, kStart * 1000.0));
    EXPECT_EQ("Europe/Berlin", i18nDouble().lastOf(Kind::Format)->zone);
}

TEST_F(AlarmTextsTest, OneMeansTwelveHoursAndAnythingElseTwentyFour)
{
    vconfDouble().ints[kTimeFormat] = 1;
    EXPECT_EQ("07\u223630 AM", timeText());

    for (const int format : { 2, 0, -1, 24 }) {
        vconfDouble().ints[kTimeFormat] = format;
        EXPECT_EQ("07\u223630", timeText());
    }
    EXPECT_EQ("HHmm", i18nDouble().skeletons.back());
}

TEST_F(AlarmTextsTest, MarkerStandsWhereTheLocaleHasIt)
{
    i18nDouble().texts["h:mm a"] = "AM 07:30";
    EXPECT_EQ("AM 07\u223630", timeText());

    i18nDouble().texts["h:mm a"] = "AM07:30";
    EXPECT_EQ("AM 07\u223630", timeText());
}

TEST_F(AlarmTextsTest, EveryMarkerAndBlankIsTakenOutOfTheTime)
{
    i18nDouble().texts["h:mm a"] = "07 : 30 AM AM";

    EXPECT_EQ("07\u223630 AM", timeText());
}

TEST_F(AlarmTextsTest, ATimeWithoutAMarkerHasItFirst)
{
    i18nDouble().texts["h:mm a"] = "07:30";

    EXPECT_EQ("AM 07\u223630", timeText());
}

struct SeparatorCase {
    const char* name;
    const char* region;
    const char* twelve;
    const char* twentyFour;
};
class SeparatorTest : public AlarmTextsTest, public testing::WithParamInterface<SeparatorCase> {};

TEST_P(SeparatorTest, IsTheRatioButInFourLanguagesKeepsTheColon)
{
    setRegion(GetParam().region);
    i18nDouble().texts["h:mm a"] = "07:30-1 AM";
    i18nDouble().texts["H:mm"] = "07:30-1";

    EXPECT_EQ(GetParam().twelve, timeText());
    vconfDouble().ints[kTimeFormat] = 2;
    EXPECT_EQ(GetParam().twentyFour, timeText());
}

INSTANTIATE_TEST_SUITE_P(Table, SeparatorTest,
    testing::Values(SeparatorCase{ "Arabic", "ar_EG.UTF-8", "07:30\u22361 AM", "07:30\u22361" },
        SeparatorCase{ "Hebrew", "he_IL.UTF-8", "07:30\u22361 AM", "07:30\u22361" },
        SeparatorCase{ "Persian", "fa_IR.UTF-8", "07:30\u22361 AM", "07:30\u22361" },
        SeparatorCase{ "Urdu", "ur_PK.UTF-8", "07:30\u22361 AM", "07:30\u22361" },
        SeparatorCase{ "ArabicLanguage", "ar", "07:30\u22361 AM", "07:30\u22361" },
        SeparatorCase{ "German", "de_DE", "07\u223630\u22361 AM", "07\u223630\u22361" },
        SeparatorCase{ "Korean", "ko_KR", "07\u223630\u22361 AM", "07\u223630\u22361" },
        SeparatorCase{ "NotArabicInside", "de_ar", "07\u223630\u22361 AM", "07\u223630\u22361" }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmTextsTest, TimeIsThatOfACorrectedStart)
{
    alarm.hour = 2;
    alarm.stime = 1711848600; // 02:30 was skipped on 2024-03-31

    timeText();

    EXPECT_EQ((1711848600 + 23 * 3600) * 1000.0, i18nDouble().formattedAt.front());
    EXPECT_EQ(nullptr, getenv("TZ"));
}

TEST_F(AlarmTextsTest, TimeWithoutARegionHasNoText)
{
    vconfDouble().texts.clear();

    EXPECT_EQ(" ", timeText());

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("Alarm time match case. Return orignal startTime",
            "vconf_get_str() failed : region format", "get region format failed",
            "get region format failed"));
}

TEST_F(AlarmTextsTest, AFormattedTimeEndsInside32BytesBeforeItsMarkerIsLookedFor)
{
    // 33 bytes with the marker, of which only eight of nine characters are in the 32.
    std::string marker;
    for (int i = 0; i < 9; ++i)
        marker += "\u0CAA";
    i18nDouble().texts["a"] = marker;
    i18nDouble().texts["h:mm a"] = "07:30 " + marker;

    EXPECT_EQ(marker + " 07\u223630" + marker.substr(0, 24), timeText());
}

TEST_F(AlarmTextsTest, ATimeMayEndInItsLastByteButIsNotCutInsideACharacter)
{
    vconfDouble().ints[kTimeFormat] = 2;
    i18nDouble().texts["H:mm"] = std::string(30, '1') + "\u00E4"; // the bytes 31 and 32
    EXPECT_EQ(std::string(30, '1') + "\u00E4", timeText());

    i18nDouble().texts["H:mm"] = std::string(31, '1') + "\u00E4";
    EXPECT_EQ(std::string(31, '1'), timeText());
}

TEST_F(AlarmTextsTest, AReplacedTimeEndsInside32Bytes)
{
    vconfDouble().ints[kTimeFormat] = 2;
    i18nDouble().texts["H:mm"] = std::string(20, ':');

    std::string ratios;
    for (int i = 0; i < 10; ++i)
        ratios += "\u2236";
    EXPECT_EQ(ratios, timeText());
}

TEST_F(AlarmTextsTest, DateOfThisYearIsWithoutIt)
{
    EXPECT_EQ("Tue 14 May", dateText(false));

    EXPECT_THAT(i18nDouble().skeletons, ElementsAre("EMMMd"));
    EXPECT_THAT(i18nDouble().formattedAt, ElementsAre(kStart * 1000.0));
    EXPECT_EQ("Europe/Berlin", i18nDouble().lastOf(Kind::Format)->zone);
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmTextsTest, DateOfAnotherYearTellsIt)
{
    for (const long year : { 2023, 2025, 2014 }) {
        clockDouble().now = timeval{ kStart + (year - 2024) * 366 * 24 * 3600, 0 };
        EXPECT_EQ("Tue 14/5/2024", dateText(false));
    }
}

TEST_F(AlarmTextsTest, YearsChangeWithTheProcesssZone)
{
    alarm.stime = 1704065400; // 2023-12-31 23:30 UTC
    clockDouble().now = timeval{ 1704067200, 0 };
    EXPECT_EQ("Tue 14/5/2024", dateText(false));

    setZone("Europe/Berlin");
    EXPECT_EQ("Tue 14 May", dateText(false));
}

TEST_F(AlarmTextsTest, DateInMarkupIsOfTheUnselectedColour)
{
    EXPECT_EQ("<font font_size=26><color=#4f4f4f99>Tue 14 May</color></font>", dateText(true));
}

TEST_F(AlarmTextsTest, DateEndsAt512Bytes)
{
    // 64 units are all that a date has.
    std::string date;
    for (int i = 0; i < 64; ++i)
        date += "\u0F11";
    i18nDouble().texts["E d MMM"] = date;

    EXPECT_EQ(date, dateText(false));
}

TEST_F(AlarmTextsTest, ADateThatCannotBeFormattedIsEmpty)
{
    i18nDouble().formatDateCode = I18N_ERROR_UNKNOWN;

    EXPECT_EQ("", dateText(false));
    EXPECT_EQ("<font font_size=26><color=#4f4f4f99></color></font>", dateText(true));
}

TEST_F(AlarmTextsTest, WeekdayRowInMarkupIsOneText)
{
    setLetters();
    repeatOn(2 | 64);

    EXPECT_EQ("<font font_size=26><color=#4f4f4f99>So</color> <color=#623a9eff>Mo</color> "
              "<color=#4f4f4f99>Di</color> <color=#4f4f4f99>Mi</color> "
              "<color=#4f4f4f99>Do</color> <color=#4f4f4f99>Fr</color> "
              "<color=#623a9eff>Sa</color></font>",
        dateText(true));
    EXPECT_EQ(7u, gettextDouble().bound.size());
    EXPECT_EQ("alarm-merid /app/res/locale", gettextDouble().bound.front());
    EXPECT_THAT(themeDouble().asked, IsEmpty());
}

TEST_F(AlarmTextsTest, FirstPositionOpensTheFontInBothColours)
{
    setLetters();
    repeatOn(1);
    EXPECT_EQ("<font font_size=26><color=#623a9eff>So</color> ", part(0, true));

    repeatOn(126);
    EXPECT_EQ("<font font_size=26><color=#4f4f4f99>So</color> ", part(0, true));
}

TEST_F(AlarmTextsTest, WeekdayRowBeginsWithTheLocalesFirstDay)
{
    setLetters();
    repeatOn(2);
    i18nDouble().firstDay = 2;
    EXPECT_EQ("<font font_size=26><color=#623a9eff>Mo</color> ", part(0, true));
    EXPECT_EQ("<color=#4f4f4f99>So</color></font>", part(6, true));

    i18nDouble().firstDay = 7;
    EXPECT_EQ("<font font_size=26><color=#4f4f4f99>Sa</color> ", part(0, true));
    EXPECT_EQ("<color=#623a9eff>Mo</color> ", part(2, true));
    EXPECT_EQ("<color=#4f4f4f99>Fr</color></font>", part(6, true));
}

TEST_F(AlarmTextsTest, PositionsBeyondTheRowGoRoundTheWeek)
{
    setLetters();
    i18nDouble().firstDay = 2;
    repeatOn(1);
    EXPECT_EQ("<color=#623a9eff>So</color> ", part(-1, true));
    EXPECT_EQ("<color=#4f4f4f99>Mo</color> ", part(7, true));
    EXPECT_EQ("<color=#623a9eff>So</color> ", part(-2147483647, true));
    EXPECT_EQ("<color=#4f4f4f99>Di</color> ", part(2147483647, true));
}

TEST_F(AlarmTextsTest, AnUnknownFirstDayIsSunday)
{
    setLetters();
    i18nDouble().attributeCode = I18N_ERROR_UNKNOWN;
    repeatOn(1);

    EXPECT_EQ("<font font_size=26><color=#623a9eff>So</color> ", part(0, true));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("i18n_ucalendar_get_attribute failed.",
            "get first day failed, it will set automatically 1"));
}

TEST_F(AlarmTextsTest, WeekdayRowWithoutMarkupHasTheThemesColours)
{
    setLetters();
    themeDouble().colors = { { "AT014", { 79, 79, 79, 153 } }, { "AT015", { 98, 58, 158, 255 } },
        { "AT014D", { 0, 1, 2, 3 } }, { "AT015D", { 16, 17, 18, 19 } } };
    repeatOn(1);

    EXPECT_EQ("<color=#623a9eff>So</color> <color=#4f4f4f99>Mo</color> "
              "<color=#4f4f4f99>Di</color> <color=#4f4f4f99>Mi</color> "
              "<color=#4f4f4f99>Do</color> <color=#4f4f4f99>Fr</color> "
              "<color=#4f4f4f99>Sa</color>",
        dateText(false));
    EXPECT_THAT(themeDouble().asked,
        ElementsAre("AT015", "AT014", "AT014", "AT014", "AT014", "AT014", "AT014"));
    EXPECT_THAT(gettextDouble().bound, IsEmpty());

    alarm.enable = 0;
    EXPECT_EQ("<color=#10111213>So</color> ", part(0, false));
    EXPECT_EQ("<color=#00010203>Mo</color> ", part(1, false));
    EXPECT_EQ("<color=#00010203>Sa</color>", part(6, false));
}

TEST_F(AlarmTextsTest, AColourThatTheThemeDoesNotHaveIsTransparentBlack)
{
    setLetters();
    repeatOn(1);

    EXPECT_EQ("<color=#00000000>So</color> ", part(0, false));
}

struct DayCase {
    const char* name;
    int bit, position;
};
class WeekdayTest : public AlarmTextsTest, public testing::WithParamInterface<DayCase> {};

TEST_P(WeekdayTest, IsSelectedByItsBitAlone)
{
    for (int position = 0; position < 7; ++position) {
        repeatOn(GetParam().bit);
        const bool selected = part(position, true).find("623a9eff") != std::string::npos;
        EXPECT_EQ(position == GetParam().position, selected) << position;
    }
}

INSTANTIATE_TEST_SUITE_P(Table, WeekdayTest,
    testing::Values(DayCase{ "Sunday", 1, 0 }, DayCase{ "Monday", 2, 1 },
        DayCase{ "Tuesday", 4, 2 }, DayCase{ "Wednesday", 8, 3 }, DayCase{ "Thursday", 16, 4 },
        DayCase{ "Friday", 32, 5 }, DayCase{ "Saturday", 64, 6 }),
    [](const auto& row) { return row.param.name; });

struct SizeCase {
    const char* name;
    const char* region;
    const char* tag;
};
class RowSizeTest : public AlarmTextsTest, public testing::WithParamInterface<SizeCase> {};

TEST_P(RowSizeTest, IsOpenedInFrontOfTheRowAndStaysOpen)
{
    setRegion(GetParam().region);
    repeatOn(1);

    const std::string row = dateText(true);

    EXPECT_EQ(GetParam().tag, row.substr(0, row.find("<font font_size=26>")));
    EXPECT_EQ(std::string::npos, row.find("</font_size>"));
}

INSTANTIATE_TEST_SUITE_P(Table, RowSizeTest,
    testing::Values(SizeCase{ "Tamil", "ta_IN.UTF-8", "<font_size=20>" },
        SizeCase{ "Kannada", "kn_IN.UTF-8", "<font_size=18>" },
        SizeCase{ "Tibetan", "bo_CN.UTF-8", "<font_size=10>" },
        SizeCase{ "German", "de_DE.UTF-8", "" }, SizeCase{ "TamilInside", "de_ta", "" }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmTextsTest, DateHasNoSizeOfItsOwn)
{
    setRegion("ta_IN.UTF-8");

    EXPECT_EQ("Tue 14 May", dateText(false));
}

TEST_F(AlarmTextsTest, WeekdayRowEndsWithAWholeCharacterInside1024Bytes)
{
    std::string letter;
    for (int i = 0; i < 50; ++i)
        letter += "\u0F11";
    setLetters();
    for (auto& text : gettextDouble().texts)
        text.second = letter;
    repeatOn(127);

    const std::string row = dateText(true);
    std::string whole = "<font font_size=26>";
    for (int i = 0; i < 6; ++i)
        whole += "<color=#623a9eff>" + letter + "</color> ";
    whole += "<color=#623a9eff>" + letter;

    EXPECT_EQ(whole.substr(0, 1024), row);

    // A byte less before it: the last letter has two of its three.
    gettextDouble().texts["WDS_ALM_BUTTON_S_M_SUNDAY_ABB"] = letter.substr(3) + "xx";
    EXPECT_EQ(1023u, dateText(true).size());
}
