#include "AlarmStringUtil.h"

#include "AppCommonDouble.h"
#include "GettextDouble.h"
#include "I18nFixture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <glib.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
using Kind = I18nHandle::Kind;
bool isDecoderBroken = false;

const char* const kDays = "PLURAL_ZERO_ALM_TPOP_PD_DAYS";
const char* const kHours = "PLURAL_ZERO_ALM_TPOP_PD_HRS";
const char* const kMinutes = "PLURAL_ZERO_ALM_TPOP_PD_MINS";
const char* const kWrapper = "WDS_ALM_TPOP_ALARM_SET_FOR_PS_FROM_NOW_ABB";

class AlarmStringUtilTest : public I18nTest {
protected:
    AlarmStringUtilTest()
    {
        appCommonDouble() = {};
        gettextDouble() = {};
        gettextDouble().texts[kWrapper] = "Set for %s from now";
        gettextDouble().plurals = {
            { kDays, { { 1, "a day" }, { 2, "%d days" } } },
            { kHours, { { 1, "an hour" }, { 2, "%d hrs" } } },
            { kMinutes, { { 1, "a minute" }, { 2, "%d mins" } } },
        };
    }

    static std::string toast(int days, int hours, int minutes)
    {
        std::string text = "before";
        AlarmStringUtil::generateAlertOffsetToastPopupText(days, hours, minutes, text);
        return text;
    }

    static std::string number(int n)
    {
        char* text = AlarmStringUtil::changeNumberToString(n);
        std::string result = text ? text : "(null)";
        free(text);
        return result;
    }
};
} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
guchar* __real_g_base64_decode(const gchar* text, gsize* size);
guchar* __wrap_g_base64_decode(const gchar* text, gsize* size)
{
    return isDecoderBroken ? nullptr : __real_g_base64_decode(text, size);
}
}
// NOLINTEND(bugprone-reserved-identifier)

TEST_F(AlarmStringUtilTest, UpperCaseReplacesTheTextInItsPlace)
{
    char text[256] = "Grüße, ўра";

    AlarmStringUtil::changeStringToUpper(text);

    EXPECT_STREQ("GRÜSSE, ЎРА", text);
}

TEST_F(AlarmStringUtilTest, UpperCaseOfNothingIsNothing)
{
    char text[256] = "";

    AlarmStringUtil::changeStringToUpper(text);

    EXPECT_STREQ("", text);
}

TEST_F(AlarmStringUtilTest, UpperCaseEndsWithin256Bytes)
{
    for (const size_t size : { 254, 255, 256, 257, 300 }) {
        SCOPED_TRACE(size);
        std::string text(size, 'x');

        AlarmStringUtil::changeStringToUpper(text.data());

        EXPECT_EQ(std::string(std::min<size_t>(size, 255), 'X'), text.c_str());
        EXPECT_EQ(std::string(size - std::min<size_t>(size, 256), 'x'),
            text.substr(std::min<size_t>(size, 256)));
    }
}

TEST_F(AlarmStringUtilTest, UpperCaseThatIsLongerThanTheTextLeavesWhatStandsBehind256Bytes)
{
    std::array<char, 260> text = {};
    const std::string lower = std::string(253, 'x') + "\u0149"; // its upper case has three bytes
    std::copy(lower.begin(), lower.end(), text.begin());
    std::fill(text.begin() + 256, text.end(), '#');

    AlarmStringUtil::changeStringToUpper(text.data());

    EXPECT_EQ(std::string(253, 'X') + "\u02BC", text.data());
    EXPECT_EQ("####", std::string(text.begin() + 256, text.end()));
}

TEST_F(AlarmStringUtilTest, UpperCaseEndsWithAWholeCharacter)
{
    std::string text(102, 'x');
    for (int i = 0; i < 95; ++i)
        text += "\u00FC"; // one of them takes the 255th and the 256th byte

    AlarmStringUtil::changeStringToUpper(text.data());

    EXPECT_EQ(254u, strlen(text.c_str()));
    EXPECT_STREQ("\u00DC", text.c_str() + 252);
}

TEST_F(AlarmStringUtilTest, UpperCaseMayBeLongerThanTheText)
{
    std::array<char, 256> text = {};
    std::string upper;
    for (size_t i = 0; i < 50; ++i) {
        std::copy_n("\u0390", 2, text.begin() + 2 * i);
        upper += "\u0399\u0308\u0301"; // six bytes
    }

    AlarmStringUtil::changeStringToUpper(text.data());

    EXPECT_EQ(upper.substr(0, 254), text.data());
}

TEST_F(AlarmStringUtilTest, WhatIsNoTextKeepsItsCase)
{
    std::array<char, 8> text = { 'a', 'b', '\xC3' };

    AlarmStringUtil::changeStringToUpper(text.data());
    AlarmStringUtil::changeStringToUpper(nullptr);

    EXPECT_STREQ("ab\xC3", text.data());
}

TEST_F(AlarmStringUtilTest, NumbersAreInTheRegionsDigits)
{
    i18nDouble().numbers["-42"] = "\u061C-\u0664\u0662";

    EXPECT_EQ("\u061C-\u0664\u0662", number(-42));

    EXPECT_EQ("de_DE", i18nDouble().lastOf(Kind::Number)->locale);
    EXPECT_EQ(I18N_UNUMBER_DECIMAL, i18nDouble().lastOf(Kind::Number)->type);
    EXPECT_THAT(i18nDouble().alive, IsEmpty());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmStringUtilTest, NumbersHaveAtMost19Units)
{
    std::string digits;
    for (int i = 0; i < 20; ++i)
        digits += "\u0967";
    i18nDouble().numbers["1"] = digits;
    EXPECT_EQ(digits.substr(0, 19UL * 3), number(1));

    i18nDouble().numbers["1"] = digits.substr(0, 19UL * 3);
    EXPECT_EQ(digits.substr(0, 19UL * 3), number(1));
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmStringUtilTest, ANumberDoesNotEndInsideADigit)
{
    for (const char* digit : { "\U00011137", "\U0001D7D8" }) {
        std::string digits;
        for (int i = 0; i < 10; ++i)
            digits += digit; // two units each, of which the 19th is half a digit
        i18nDouble().numbers["1"] = digits;

        EXPECT_EQ(digits.substr(0, 9UL * 4), number(1));
    }
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmStringUtilTest, ANumberOfMoreUnitsThanItsBufferIsLoggedAndEmpty)
{
    i18nDouble().numbers["1"] = std::string(21, '1');

    EXPECT_EQ("", number(1));

    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("Failed to perform i18n_unumber_format()"));
}

TEST_F(AlarmStringUtilTest, NumbersTake32BytesOfTheRegion)
{
    vconfDouble().texts[kRegion] = std::string(30, 'x') + ".UTF-8";
    number(1);
    EXPECT_EQ(std::string(30, 'x') + ".U", i18nDouble().lastOf(Kind::Number)->locale);

    vconfDouble().texts[kRegion] = std::string(26, 'x') + ".UTF-8";
    number(1);
    EXPECT_EQ(std::string(26, 'x'), i18nDouble().lastOf(Kind::Number)->locale);
}

TEST_F(AlarmStringUtilTest, NumbersNeedARegion)
{
    vconfDouble().texts.clear();

    EXPECT_EQ(nullptr, AlarmStringUtil::changeNumberToString(1));

    EXPECT_THAT(i18nDouble().made, IsEmpty());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmStringUtilTest, ANumberThatCannotBeFormattedIsLoggedAndEmpty)
{
    i18nDouble().numbers["1"] = "";

    EXPECT_EQ("", number(1));

    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("Failed to perform i18n_unumber_format()"));
}

TEST_F(AlarmStringUtilTest, AMissingNumberFormatterIsLoggedAndEmpty)
{
    i18nDouble().numberCode = I18N_ERROR_UNKNOWN;

    EXPECT_EQ("", number(1));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre(
            "Failed to perform i18n_unumber_create()", "Failed to perform i18n_unumber_format()"));
}

struct ReplaceCase {
    const char* name;
    const char *src, *from, *to, *result;
};
class ReplaceTest : public testing::TestWithParam<ReplaceCase> {};

TEST_P(ReplaceTest, ReplacesEveryOccurrenceOnce)
{
    const ReplaceCase& c = GetParam();
    EXPECT_EQ(c.result, AlarmStringUtil::replaceString(c.src, c.from, c.to));
}

INSTANTIATE_TEST_SUITE_P(Table, ReplaceTest,
    testing::Values(ReplaceCase{ "All", "a-b-c", "-", "+", "a+b+c" },
        ReplaceCase{ "None", "abc", "-", "+", "abc" },
        ReplaceCase{ "ScansOnAfterTheInserted", "a-b", "-", "--", "a--b" },
        ReplaceCase{ "DoesNotJoin", "aabb", "ab", "", "ab" },
        ReplaceCase{ "NotOverlapping", "aaa", "aa", "b", "ba" },
        ReplaceCase{ "Longer", "%d of %d", "%d", "-1", "-1 of -1" },
        ReplaceCase{ "Whole", "abc", "abc", "", "" }, ReplaceCase{ "Empty", "", "a", "b", "" },
        ReplaceCase{ "NothingToReplace", "abc", "", "b", "abc" }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmStringUtilTest, ToastTellsDaysHoursAndMinutes)
{
    EXPECT_EQ("Set for 2 days 2 hrs 2 mins from now", toast(2, 2, 2));

    EXPECT_THAT(gettextDouble().counts, ElementsAre(2u, 2u, 2u));
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("day[2 days]", "day & hour[2 days 2 hrs]",
            "day & hour & min[2 days 2 hrs 2 mins]",
            "text in = Set for 2 days 2 hrs 2 mins from now"));
}

struct ToastCase {
    const char* name;
    int days, hours, minutes;
    const char* phrase;
};
class ToastTest : public AlarmStringUtilTest, public testing::WithParamInterface<ToastCase> {};

TEST_P(ToastTest, LeavesOutWhatIsNotAboveZero)
{
    const ToastCase& c = GetParam();
    EXPECT_EQ(std::string("Set for ") + c.phrase + " from now", toast(c.days, c.hours, c.minutes));
}

INSTANTIATE_TEST_SUITE_P(Table, ToastTest,
    testing::Values(ToastCase{ "Days", 2, 0, 0, "2 days" }, ToastCase{ "Hours", 0, 2, 0, "2 hrs" },
        ToastCase{ "Minutes", 0, 0, 2, "2 mins" },
        ToastCase{ "DaysAndHours", 2, 2, 0, "2 days 2 hrs" },
        ToastCase{ "DaysAndMinutes", 2, 0, 2, "2 days 2 mins" },
        ToastCase{ "HoursAndMinutes", 0, 2, 2, "2 hrs 2 mins" },
        ToastCase{ "OneOfEach", 1, 1, 1, "a day an hour a minute" },
        ToastCase{ "Nothing", 0, 0, 0, "" }, ToastCase{ "Negative", -1, -2, 2, "2 mins" }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmStringUtilTest, ToastOfNothingIsTheWrapperAlone)
{
    EXPECT_EQ("Set for  from now", toast(0, 0, 0));

    EXPECT_THAT(gettextDouble().counts, IsEmpty());
    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("text in = Set for  from now"));
}

TEST_F(AlarmStringUtilTest, ToastCountsInTheRegionsDigits)
{
    i18nDouble().numbers["2"] = "\u0662";

    EXPECT_EQ("Set for \u0662 hrs from now", toast(0, 2, 0));
}

TEST_F(AlarmStringUtilTest, ToastCountsAsTheUnitedStatesWithoutARegion)
{
    vconfDouble().texts.clear();
    gettextDouble().plurals[kDays][1000] = "%d days";
    i18nDouble().numbers["1000"] = "1,000";

    EXPECT_EQ("Set for 1,000 days from now", toast(1000, 0, 0));

    EXPECT_EQ("en_US", i18nDouble().lastOf(Kind::Number)->locale);
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("vconf_get_str() failed : region format", "day[1,000 days]",
            "text in = Set for 1,000 days from now"));
}

TEST_F(AlarmStringUtilTest, ATranslationMayPutTheNumberAnywhereOrTwice)
{
    gettextDouble().plurals[kDays][2] = "nach %d";
    EXPECT_EQ("Set for nach 2 from now", toast(2, 0, 0));

    gettextDouble().plurals[kDays][2] = "%d (%d)";
    EXPECT_EQ("Set for 2 (2) from now", toast(2, 0, 0));
}

TEST_F(AlarmStringUtilTest, EveryMinusOneOfATranslationIsTheNumber)
{
    gettextDouble().plurals[kDays][2] = "%d days (-1, -12)";

    EXPECT_EQ("Set for 2 days (2, 22) from now", toast(2, 0, 0));
}

TEST_F(AlarmStringUtilTest, APieceWithoutATextHasItsPlace)
{
    gettextDouble().plurals[kHours][2] = "";
    EXPECT_EQ("Set for 2 days  2 mins from now", toast(2, 2, 2));

    gettextDouble().plurals[kDays][2] = "";
    EXPECT_EQ("Set for   2 mins from now", toast(2, 2, 2));
    EXPECT_EQ("Set for  2 mins from now", toast(2, 0, 2));
}

TEST_F(AlarmStringUtilTest, OtherConversionsOfATranslationStayAsTheyAre)
{
    gettextDouble().plurals[kDays][2] = "%d days 100% %n";
    gettextDouble().texts[kWrapper] = "50% of %s %d";
    EXPECT_EQ("50% of 2 days 100% %n %d", toast(2, 0, 0));
    gettextDouble().texts[kWrapper] = "50% of %s";

    gettextDouble().plurals[kDays][2] = "%n%n";
    EXPECT_EQ("50% of %n%n", toast(2, 0, 0));
}

// A number's text is printed with a number first, and then with its digits.
TEST_F(AlarmStringUtilTest, TwoPercentSignsAreOneInEachPrint)
{
    gettextDouble().texts[kWrapper] = "50%% of %s, %%s%%";
    gettextDouble().plurals[kDays][2] = "%d days at 100%%, %%d";
    EXPECT_EQ("50% of 2 days at 100%, %d, %s%", toast(2, 0, 0));

    gettextDouble().texts[kWrapper] = "%s %";
    gettextDouble().plurals[kDays][2] = "%d %%%%";
    EXPECT_EQ("2 % %", toast(2, 0, 0));
}

TEST_F(AlarmStringUtilTest, ATranslationWithoutANumberIsShownAsItIs)
{
    gettextDouble().plurals[kDays][1] = "100%% of a day";
    gettextDouble().texts[kWrapper] = "%s";

    EXPECT_EQ("100%% of a day", toast(1, 0, 0));
}

TEST_F(AlarmStringUtilTest, ANumberThatCannotBeFormattedLeavesItsPlaceEmpty)
{
    i18nDouble().numbers["2"] = "";

    EXPECT_EQ("Set for  hrs from now", toast(0, 2, 0));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("Failed to perform i18n_unumber_format()", "day & hour[ hrs]",
            "text in = Set for  hrs from now"));
}

TEST_F(AlarmStringUtilTest, AWrapperWithoutAPlaceIsShownAlone)
{
    gettextDouble().texts[kWrapper] = "Soon";

    EXPECT_EQ("Soon", toast(2, 0, 0));
}

TEST_F(AlarmStringUtilTest, ACountsTextEndsWithAWholeCharacterInside256Bytes)
{
    std::string filler;
    for (int i = 0; i < 126; ++i)
        filler += "\u00E4";
    gettextDouble().texts[kWrapper] = "%s";

    // "-1", of which the number is one byte, and the end of the text take three of the 256.
    gettextDouble().plurals[kDays][2] = "%dx" + filler + "\u00E4";
    EXPECT_EQ("2x" + filler, toast(2, 0, 0));

    gettextDouble().plurals[kDays][2] = "%d" + filler + "\u00E4\u00E4";
    EXPECT_EQ("2" + filler, toast(2, 0, 0));
}

TEST_F(AlarmStringUtilTest, AToastEndsWithAWholeCharacterInside256Bytes)
{
    std::string filler;
    for (int i = 0; i < 90; ++i)
        filler += "\u0E01"; // three bytes
    gettextDouble().texts[kWrapper] = filler;
    EXPECT_EQ(filler.substr(0, 255), toast(0, 0, 0));

    // The 256th byte is the one that ends the text.
    gettextDouble().texts[kWrapper] = "x" + filler;
    EXPECT_EQ("x" + filler.substr(0, 252), toast(0, 0, 0));
}

TEST_F(AlarmStringUtilTest, TheTextDomainIsBoundToTheApplicationsCatalogues)
{
    appCommonDouble().resourcePath = "/app/res/";

    AlarmStringUtil::_initTextDomain();

    EXPECT_THAT(gettextDouble().bound, ElementsAre("alarm-merid /app/res/locale"));
}

TEST_F(AlarmStringUtilTest, TheCataloguesPathEndsAt4096Bytes)
{
    appCommonDouble().resourcePath = std::string(5000, 'x');

    AlarmStringUtil::_initTextDomain();

    EXPECT_THAT(gettextDouble().bound, ElementsAre("alarm-merid " + std::string(4096, 'x')));
}

TEST_F(AlarmStringUtilTest, TheTextDomainIsNotBoundWithoutResources)
{
    AlarmStringUtil::_initTextDomain();

    EXPECT_THAT(gettextDouble().bound, IsEmpty());
}

TEST_F(AlarmStringUtilTest, ATextHoldsItsPattern)
{
    EXPECT_TRUE(AlarmStringUtil::_checkNumberFormat("in %d days", "%d"));
    EXPECT_FALSE(AlarmStringUtil::_checkNumberFormat("in a day", "%d"));
    EXPECT_TRUE(AlarmStringUtil::_checkNumberFormat("in a day", ""));
    EXPECT_THAT(dlogDouble().lines, IsEmpty());

    EXPECT_FALSE(AlarmStringUtil::_checkNumberFormat(nullptr, "%d"));
    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("str1 is nullptr !!"));
    EXPECT_FALSE(AlarmStringUtil::_checkNumberFormat("in %d days", nullptr));
}

TEST_F(AlarmStringUtilTest, Base64IsDecodedToItsBytes)
{
    EXPECT_EQ("Guten Morgen", AlarmStringUtil::base64Decode("R3V0ZW4gTW9yZ2Vu"));
    EXPECT_EQ(std::string("a\0b", 3), AlarmStringUtil::base64Decode("YQBi"));
    EXPECT_EQ("", AlarmStringUtil::base64Decode(""));
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmStringUtilTest, WhatIsNotBase64IsSkipped)
{
    EXPECT_EQ("Guten Morgen", AlarmStringUtil::base64Decode(" R3V0*ZW4g\nTW9yZ2Vu!"));
    EXPECT_EQ("", AlarmStringUtil::base64Decode("***"));
    EXPECT_EQ("abc", AlarmStringUtil::base64Decode("YWJjZ"));
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmStringUtilTest, AFailedDecoderIsAWarningAndAnEmptyText)
{
    isDecoderBroken = true;
    EXPECT_EQ("", AlarmStringUtil::base64Decode("YQBi"));
    isDecoderBroken = false;

    EXPECT_THAT(dlogDouble().messages(DLOG_WARN), ElementsAre("base64 decoding failed"));
    EXPECT_EQ(1u, dlogDouble().lines.size());
}
