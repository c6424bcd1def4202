#include "I18nText.h"

#include <gtest/gtest.h>
#include <string>
#include <unicode/ucal.h>
#include <unicode/uloc.h>
#include <unicode/unum.h>
#include <utils_i18n.h>

namespace {

const int kInvalid = I18N_ERROR_INVALID_PARAMETER;

/// Gives the default locale back.
class I18nTest : public testing::Test {
protected:
    void TearDown() override { i18n_ulocale_set_default(_before.c_str()); }

private:
    const std::string _before = uloc_getDefault();
};

class Calendar {
public:
    explicit Calendar(const char16_t* zone, const char* locale = "en_US",
        i18n_ucalendar_type_e type = I18N_UCALENDAR_GREGORIAN)
    {
        EXPECT_EQ(I18N_ERROR_NONE,
            i18n_ucalendar_create(zone ? units(zone).c_str() : nullptr, -1, locale, type, &handle));
    }
    ~Calendar() { EXPECT_EQ(I18N_ERROR_NONE, i18n_ucalendar_destroy(handle)); }

    int32_t get(int field)
    {
        int32_t value = kUntouched;
        EXPECT_EQ(I18N_ERROR_NONE,
            i18n_ucalendar_get(handle, static_cast<i18n_ucalendar_date_fields_e>(field), &value));
        return value;
    }

    i18n_ucalendar_h handle = nullptr;
};

std::u16string number(const char* locale, int32_t value)
{
    i18n_unumber_format_h format = nullptr;
    EXPECT_EQ(I18N_ERROR_NONE,
        i18n_unumber_create(I18N_UNUMBER_DECIMAL, nullptr, -1, locale, nullptr, &format));
    i18n_uchar text[32] = {};
    const int32_t length = i18n_unumber_format(format, value, text, 32, nullptr);
    EXPECT_EQ(textOf(text).size(), static_cast<size_t>(length));
    EXPECT_EQ(I18N_ERROR_NONE, i18n_unumber_destroy(format));
    return textOf(text);
}

std::u16string icuNumber(const char* locale, int32_t value)
{
    UErrorCode status = U_ZERO_ERROR;
    UNumberFormat* format = unum_open(UNUM_DECIMAL, nullptr, 0, locale, nullptr, &status);
    UChar text[32] = {};
    unum_format(format, value, text, 32, nullptr, &status);
    unum_close(format);
    EXPECT_TRUE(U_SUCCESS(status));
    return text;
}

} // namespace

TEST_F(I18nTest, TheDefaultLocaleIsIcus)
{
    for (const char* locale : { "ko_KR", "en_GB", "zh_Hant_TW", "sr_Latn", "" }) {
        EXPECT_EQ(I18N_ERROR_NONE, i18n_ulocale_set_default(locale));
        EXPECT_STREQ(locale, uloc_getDefault());
        const char* read = nullptr;
        EXPECT_EQ(I18N_ERROR_NONE, i18n_ulocale_get_default(&read));
        EXPECT_STREQ(locale, read);
    }
}

TEST_F(I18nTest, ABadDefaultLocaleChangesNothing)
{
    i18n_ulocale_set_default("ko_KR");

    EXPECT_EQ(kInvalid, i18n_ulocale_set_default(nullptr));
    EXPECT_EQ(kInvalid, i18n_ulocale_set_default(std::string(300, 'a').c_str()));
    EXPECT_EQ(kInvalid, i18n_ulocale_set_default("en_US@a=b;c"));
    EXPECT_EQ(kInvalid, i18n_ulocale_get_default(nullptr));
    EXPECT_STREQ("ko_KR", uloc_getDefault());
}

TEST_F(I18nTest, TextGoesToUtf16AndBack)
{
    for (const char* text : { "", "Asia/Seoul", "żółw", "알람", "⏰ 𝄞 😀" }) {
        i18n_uchar wide[32];
        char narrow[32];
        EXPECT_EQ(wide, i18n_ustring_copy_ua_n(wide, text, 32));
        EXPECT_EQ(narrow, i18n_ustring_copy_au_n(narrow, wide, 32));
        EXPECT_STREQ(text, narrow);
    }
    i18n_uchar wide[8];
    EXPECT_EQ(u"⏰😀", textOf(i18n_ustring_copy_ua_n(wide, "⏰😀", 8)));
}

TEST_F(I18nTest, ACutIsBetweenCharacters)
{
    i18n_uchar wide[4] = { 'x', 'x', 'x', 'x' };
    i18n_ustring_copy_ua_n(wide, "a😀b", 2);
    EXPECT_EQ('a', wide[0]);
    EXPECT_EQ(0, wide[1]);
    EXPECT_EQ('x', wide[2]);
    i18n_ustring_copy_ua_n(wide, "a😀b", 3);
    EXPECT_EQ(0xD83D, wide[1]);
    EXPECT_EQ(0xDE00, wide[2]);
    EXPECT_EQ('x', wide[3]);

    char narrow[8] = "xxxxxxx";
    i18n_ustring_copy_au_n(narrow, units(u"a알b").c_str(), 3);
    EXPECT_STREQ("a", narrow);
    EXPECT_EQ('x', narrow[3]);
    i18n_ustring_copy_au_n(narrow, units(u"a알b").c_str(), 4);
    EXPECT_STREQ("a알xxx", narrow);
    i18n_ustring_copy_au_n(narrow, units(u"b").c_str(), 0);
    EXPECT_STREQ("a알xxx", narrow);
}

TEST_F(I18nTest, IllFormedTextIsReplaced)
{
    i18n_uchar wide[8];
    EXPECT_EQ(u"a\uFFFDb",
        textOf(i18n_ustring_copy_ua_n(wide,
            "a\xFF"
            "b",
            8)));
    const i18n_uchar lone[] = { 'a', 0xD83D, 'b', 0xDE00, 0 };
    char narrow[16];
    EXPECT_STREQ("a\xEF\xBF\xBD"
                 "b\xEF\xBF\xBD",
        i18n_ustring_copy_au_n(narrow, lone, 16));
}

TEST_F(I18nTest, TextNeedsItsArguments)
{
    i18n_uchar wide[2] = {};
    char narrow[2] = {};
    EXPECT_EQ(nullptr, i18n_ustring_copy_ua_n(nullptr, "a", 1));
    EXPECT_EQ(nullptr, i18n_ustring_copy_ua_n(wide, nullptr, 1));
    EXPECT_EQ(nullptr, i18n_ustring_copy_au_n(nullptr, wide, 1));
    EXPECT_EQ(nullptr, i18n_ustring_copy_au_n(narrow, nullptr, 1));
}

TEST_F(I18nTest, CalendarsAreThoseOfIcu)
{
    for (const char* locale : { "en_US", "de_DE", "ar_EG", "fa_IR", "th_TH", "ja_JP", "he_IL" }) {
        for (const auto type : { I18N_UCALENDAR_TRADITIONAL, I18N_UCALENDAR_GREGORIAN }) {
            for (const char16_t* zone : { u"Asia/Seoul", u"America/New_York", u"No/Zone" }) {
                for (const double instant : { 0.0, 1e12, 1711846800123.0 }) {
                    UErrorCode status = U_ZERO_ERROR;
                    UCalendar* direct
                        = ucal_open(zone, -1, locale, static_cast<UCalendarType>(type), &status);
                    ucal_setMillis(direct, instant, &status);
                    Calendar calendar(zone, locale, type);
                    EXPECT_EQ(
                        I18N_ERROR_NONE, i18n_ucalendar_set_milliseconds(calendar.handle, instant));
                    for (int field = 0; field <= I18N_UCALENDAR_DST_OFFSET; ++field) {
                        EXPECT_EQ(
                            ucal_get(direct, static_cast<UCalendarDateFields>(field), &status),
                            calendar.get(field))
                            << locale << " " << field;
                    }
                    for (int attribute = 0; attribute <= 2; ++attribute) {
                        int32_t value = kUntouched;
                        EXPECT_EQ(I18N_ERROR_NONE,
                            i18n_ucalendar_get_attribute(calendar.handle,
                                static_cast<i18n_ucalendar_attribute_e>(attribute), &value));
                        EXPECT_EQ(
                            ucal_getAttribute(direct, static_cast<UCalendarAttribute>(attribute)),
                            value);
                    }
                    EXPECT_TRUE(U_SUCCESS(status));
                    ucal_close(direct);
                }
            }
        }
    }
}

TEST_F(I18nTest, TheFirstWeekdayFollowsTheDefaultLocale)
{
    const std::pair<const char*, int> rows[]
        = { { "en_US", 1 }, { "de_DE", 2 }, { "ar_EG", 7 }, { "ko_KR", 1 }, { "de_DE", 2 } };
    for (const auto& [locale, first] : rows) {
        i18n_ulocale_set_default(locale);
        Calendar calendar(nullptr, nullptr, I18N_UCALENDAR_DEFAULT);
        int32_t day = 0;
        i18n_ucalendar_get_attribute(calendar.handle, I18N_UCALENDAR_FIRST_DAY_OF_WEEK, &day);
        EXPECT_EQ(first, day) << locale;
    }
}

TEST_F(I18nTest, ANewCalendarShowsTheTime)
{
    for (int round = 0; round < 2; ++round) {
        const UDate before = ucal_getNow();
        Calendar calendar(u"UTC");
        double shown = 0;
        EXPECT_EQ(I18N_ERROR_NONE, i18n_ucalendar_get_milliseconds(calendar.handle, &shown));
        EXPECT_LE(before, shown);
        EXPECT_GE(ucal_getNow(), shown);
        i18n_ucalendar_set_milliseconds(calendar.handle, 0); // not the next one's
    }
}

TEST_F(I18nTest, AWallTimeIsSetWithoutMilliseconds)
{
    Calendar calendar(u"Asia/Seoul");
    double shown = 0;
    i18n_ucalendar_set_milliseconds(calendar.handle, 1e12 + 999);

    EXPECT_EQ(
        I18N_ERROR_NONE, i18n_ucalendar_set_date_time(calendar.handle, 2024, 1, 29, 7, 30, 15));
    EXPECT_EQ(I18N_ERROR_NONE, i18n_ucalendar_get_milliseconds(calendar.handle, &shown));
    EXPECT_EQ(1709159415000.0, shown);
    EXPECT_EQ(29, calendar.get(I18N_UCALENDAR_DATE));
}

TEST_F(I18nTest, CalendarsNeedTheirArguments)
{
    Calendar calendar(u"UTC");
    const auto zone = units(u"UTC");
    i18n_ucalendar_h handle = &handle;
    int32_t value = kUntouched;
    double instant = kUntouched;
    const auto gregorian = I18N_UCALENDAR_GREGORIAN;

    EXPECT_EQ(kInvalid, i18n_ucalendar_create(zone.c_str(), -1, "en", gregorian, nullptr));
    EXPECT_EQ(kInvalid, i18n_ucalendar_create(zone.c_str(), -2, "en", gregorian, &handle));
    EXPECT_EQ(kInvalid,
        i18n_ucalendar_create(zone.c_str(), -1, std::string(300, 'a').c_str(), gregorian, &handle));
    EXPECT_EQ(kInvalid,
        i18n_ucalendar_create(
            zone.c_str(), -1, "en", static_cast<i18n_ucalendar_type_e>(9), &handle));
    EXPECT_EQ(&handle, handle);
    EXPECT_EQ(kInvalid, i18n_ucalendar_destroy(nullptr));
    EXPECT_EQ(kInvalid, i18n_ucalendar_get(nullptr, I18N_UCALENDAR_YEAR, &value));
    EXPECT_EQ(kInvalid, i18n_ucalendar_get(calendar.handle, I18N_UCALENDAR_YEAR, nullptr));
    for (const int field : { -1, 17, 99 }) {
        EXPECT_EQ(kInvalid,
            i18n_ucalendar_get(
                calendar.handle, static_cast<i18n_ucalendar_date_fields_e>(field), &value));
    }
    const auto first = I18N_UCALENDAR_FIRST_DAY_OF_WEEK;
    EXPECT_EQ(kInvalid, i18n_ucalendar_get_attribute(nullptr, first, &value));
    EXPECT_EQ(kInvalid, i18n_ucalendar_get_attribute(calendar.handle, first, nullptr));
    for (const int attribute : { -1, 3 }) {
        EXPECT_EQ(kInvalid,
            i18n_ucalendar_get_attribute(
                calendar.handle, static_cast<i18n_ucalendar_attribute_e>(attribute), &value));
    }
    EXPECT_EQ(kInvalid, i18n_ucalendar_set_date_time(nullptr, 2024, 0, 1, 0, 0, 0));
    EXPECT_EQ(kInvalid, i18n_ucalendar_set_milliseconds(nullptr, 0));
    EXPECT_EQ(kInvalid, i18n_ucalendar_get_milliseconds(nullptr, &instant));
    EXPECT_EQ(kInvalid, i18n_ucalendar_get_milliseconds(calendar.handle, nullptr));
    EXPECT_EQ(kUntouched, value);
    EXPECT_EQ(kUntouched, instant);
}

TEST_F(I18nTest, NumbersAreThoseOfIcu)
{
    for (const char* locale : { "en_US", "en_GB", "de_DE", "fr_FR", "ar_EG", "fa_IR", "ur_PK",
             "he_IL", "hi_IN", "bo_CN", "ko_KR", "ja_JP", "my_MM" }) {
        for (const int32_t value : { 0, 7, -1, 59, 1234567, INT32_MIN, INT32_MAX })
            EXPECT_EQ(icuNumber(locale, value), number(locale, value)) << locale;
    }
    EXPECT_EQ(u"٣", number("ar_EG", 3));
    for (const char* locale : { "fa_IR", "de_DE", "fa_IR" }) {
        i18n_ulocale_set_default(locale);
        EXPECT_EQ(icuNumber(locale, 1234), number(nullptr, 1234));
    }
}

TEST_F(I18nTest, ANumberFollowsItsPattern)
{
    i18n_unumber_format_h format = nullptr;
    i18n_uparse_error_s error = { 1, 2, { 3 }, { 4 } };
    ASSERT_EQ(I18N_ERROR_NONE,
        i18n_unumber_create(
            I18N_UNUMBER_PATTERN_DECIMAL, units(u"000").c_str(), -1, "en_US", &error, &format));
    i18n_uchar text[4] = { 'x', 'x', 'x', 'x' };
    i18n_ufield_position_s integer = { UNUM_INTEGER_FIELD, 0, 0 };

    EXPECT_EQ(3, i18n_unumber_format(format, 7, text, 2, nullptr));
    EXPECT_EQ('x', text[0]);
    EXPECT_EQ(3, i18n_unumber_format(format, 7, nullptr, 0, nullptr));
    EXPECT_EQ(3, i18n_unumber_format(format, 7, text, 3, nullptr));
    EXPECT_EQ('x', text[3]);
    EXPECT_EQ(3, i18n_unumber_format(format, 7, text, 4, &integer));
    EXPECT_EQ(u"007", textOf(text));
    EXPECT_EQ(3, integer.end_index);
    EXPECT_EQ(2, error.offset);
    i18n_unumber_destroy(format);
}

TEST_F(I18nTest, NumbersNeedTheirArguments)
{
    i18n_unumber_format_h handle = &handle;
    const auto pattern = units(u"000");
    const auto byPattern = I18N_UNUMBER_PATTERN_DECIMAL;
    const auto create = i18n_unumber_create;
    i18n_uchar text[4] = {};

    EXPECT_EQ(kInvalid, create(I18N_UNUMBER_DECIMAL, nullptr, -1, "en", nullptr, nullptr));
    EXPECT_EQ(kInvalid, create(byPattern, nullptr, -1, "en", nullptr, &handle));
    EXPECT_EQ(kInvalid, create(byPattern, pattern.c_str(), -2, "en", nullptr, &handle));
    EXPECT_EQ(kInvalid,
        create(static_cast<i18n_unumber_format_style_e>(99), nullptr, -1, "en", nullptr, &handle));
    EXPECT_EQ(kInvalid,
        create(I18N_UNUMBER_DECIMAL, nullptr, -1, std::string(300, 'a').c_str(), nullptr, &handle));
    i18n_uparse_error_s error = { kUntouched, kUntouched, { 'x' }, { 'x' } };
    EXPECT_EQ(
        I18N_ERROR_UNKNOWN, create(byPattern, units(u"0.0.0").c_str(), -1, "en", &error, &handle));
    UParseError icu = {};
    UErrorCode status = U_ZERO_ERROR;
    unum_close(unum_open(UNUM_PATTERN_DECIMAL, u"0.0.0", -1, "en", &icu, &status));
    EXPECT_EQ(icu.line, error.line);
    EXPECT_EQ(icu.offset, error.offset);
    EXPECT_EQ(std::u16string(icu.preContext), textOf(error.pre_context));
    EXPECT_EQ(std::u16string(icu.postContext), textOf(error.post_context));
    EXPECT_EQ(&handle, handle);
    EXPECT_EQ(kInvalid, i18n_unumber_destroy(nullptr));

    ASSERT_EQ(I18N_ERROR_NONE, create(I18N_UNUMBER_DECIMAL, nullptr, -1, "en", nullptr, &handle));
    EXPECT_EQ(kInvalid, i18n_unumber_format(nullptr, 1, text, 4, nullptr));
    EXPECT_EQ(kInvalid, i18n_unumber_format(handle, 1, nullptr, 4, nullptr));
    EXPECT_EQ(kInvalid, i18n_unumber_format(handle, 1, text, -1, nullptr));
    i18n_unumber_destroy(handle);
}
