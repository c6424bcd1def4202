#include "I18nText.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unicode/uloc.h>
#include <utils_i18n.h>
#include <vector>

namespace {

const char* const kLocales[]
    = { "en_US", "en_GB", "de_DE", "fr_FR", "es_ES", "pt_BR", "ru_RU", "pl_PL", "ar_EG", "he_IL",
          "fa_IR", "ur_PK", "hi_IN", "ko_KR", "ja_JP", "zh_CN", "th_TH", "bo_CN" };
const char16_t* const kSkeletons[] = { u"hhmm", u"HHmm", u"EMMMd", u"EMdyyyy" };
const char16_t* const kZones[]
    = { u"Asia/Seoul", u"Europe/Berlin", u"America/New_York", u"Asia/Kathmandu", u"No/Zone" };
const double kInstants[] = { 0, 1e12, 1.7e12, 1711846800000, -86400000 };

std::u16string withWideSpaces(std::u16string text)
{
    std::replace(text.begin(), text.end(), u'\u202F', u' ');
    return text;
}

std::u16string icuPattern(const char* locale, const std::u16string& skeleton)
{
    UErrorCode status = U_ZERO_ERROR;
    UDateTimePatternGenerator* generator = udatpg_open(locale, &status);
    UChar pattern[64] = {};
    udatpg_getBestPattern(
        generator, skeleton.c_str(), static_cast<int32_t>(skeleton.size()), pattern, 64, &status);
    udatpg_close(generator);
    EXPECT_TRUE(U_SUCCESS(status));
    return pattern;
}

std::u16string icuText(
    const char* locale, const char16_t* zone, const std::u16string& pattern, double instant)
{
    UErrorCode status = U_ZERO_ERROR;
    UDateFormat* format
        = udat_open(UDAT_PATTERN, UDAT_PATTERN, locale, zone, -1, pattern.c_str(), -1, &status);
    UChar text[64] = {};
    udat_format(format, instant, text, 64, nullptr, &status);
    udat_close(format);
    EXPECT_TRUE(U_SUCCESS(status));
    return text;
}

class Generator {
public:
    explicit Generator(const char* locale)
    {
        EXPECT_EQ(I18N_ERROR_NONE, i18n_udatepg_create(locale, &handle));
    }
    ~Generator() { EXPECT_EQ(I18N_ERROR_NONE, i18n_udatepg_destroy(handle)); }

    std::u16string best(const std::u16string& skeleton)
    {
        i18n_uchar pattern[64] = {};
        int32_t length = 0;
        EXPECT_EQ(I18N_ERROR_NONE,
            i18n_udatepg_get_best_pattern(handle, units(skeleton).c_str(),
                static_cast<int32_t>(skeleton.size()), pattern, 64, &length));
        EXPECT_EQ(textOf(pattern).size(), static_cast<size_t>(length));
        return textOf(pattern);
    }

    i18n_udatepg_h handle = nullptr;
};

class Format {
public:
    Format(const char* locale, const char16_t* zone, const std::u16string& pattern)
    {
        EXPECT_EQ(I18N_ERROR_NONE,
            i18n_udate_create(I18N_UDATE_PATTERN, I18N_UDATE_PATTERN, locale,
                zone ? units(zone).c_str() : nullptr, -1, units(pattern).c_str(), -1, &handle));
    }
    ~Format() { EXPECT_EQ(I18N_ERROR_NONE, i18n_udate_destroy(handle)); }

    std::u16string text(double instant)
    {
        i18n_uchar text[64] = {};
        int32_t length = 0;
        EXPECT_EQ(
            I18N_ERROR_NONE, i18n_udate_format_date(handle, instant, text, 64, nullptr, &length));
        EXPECT_EQ(textOf(text).size(), static_cast<size_t>(length));
        return textOf(text);
    }

    i18n_udate_format_h handle = nullptr;
};

void expectTextsOfIcu(const char* locale)
{
    SCOPED_TRACE(locale);
    for (const char16_t* skeleton : kSkeletons) {
        const std::u16string pattern = Generator(locale).best(skeleton);
        EXPECT_EQ(withWideSpaces(icuPattern(locale, skeleton)), pattern);
        for (const char16_t* zone : kZones) {
            for (const double instant : kInstants) {
                EXPECT_EQ(withWideSpaces(icuText(locale, zone, pattern, instant)),
                    Format(locale, zone, pattern).text(instant));
            }
        }
    }
    EXPECT_EQ(
        icuText(locale, u"UTC", u"a", 1e12), Format(locale, u"UTC", u"a").text(1e12)); // the marker
}

} // namespace

TEST(I18nDateTest, TextsAreThoseOfIcu)
{
    for (int round = 0; round < 2; ++round) {
        for (const char* locale : kLocales)
            expectTextsOfIcu(locale);
    }
}

TEST(I18nDateTest, SpacesAreWide)
{
    EXPECT_EQ(u"h:mm\u202Fa", icuPattern("en_US", u"hmm"));
    EXPECT_EQ(u"h:mm a", Generator("en_US").best(u"hmm"));
    EXPECT_EQ(u"1:46 AM", Format("en_US", u"UTC", u"h:mm\u202Fa").text(1e12));
}

TEST(I18nDateTest, NamedStylesAreThoseOfIcu)
{
    for (int time = I18N_UDATE_NONE; time <= I18N_UDATE_SHORT; ++time) {
        for (int date = I18N_UDATE_NONE; date <= I18N_UDATE_SHORT; ++date) {
            UErrorCode status = U_ZERO_ERROR;
            UDateFormat* direct = udat_open(static_cast<UDateFormatStyle>(time),
                static_cast<UDateFormatStyle>(date), "de_DE", u"Asia/Seoul", -1, nullptr, 0,
                &status);
            UChar wanted[128] = {};
            udat_format(direct, 1e12, wanted, 128, nullptr, &status);
            udat_close(direct);
            ASSERT_TRUE(U_SUCCESS(status));

            i18n_udate_format_h format = nullptr;
            ASSERT_EQ(I18N_ERROR_NONE,
                i18n_udate_create(static_cast<i18n_udate_format_style_e>(time),
                    static_cast<i18n_udate_format_style_e>(date), "de_DE",
                    units(u"Asia/Seoul").c_str(), 10, nullptr, -1, &format));
            i18n_uchar text[128] = {};
            int32_t length = 0;
            EXPECT_EQ(
                I18N_ERROR_NONE, i18n_udate_format_date(format, 1e12, text, 128, nullptr, &length));
            EXPECT_EQ(withWideSpaces(wanted), textOf(text));
            i18n_udate_destroy(format);
        }
    }
}

TEST(I18nDateTest, NoLocaleIsTheDefaultOneOfTheMoment)
{
    const std::string before = uloc_getDefault();
    for (const char* locale : { "ko_KR", "en_GB", "ko_KR" }) {
        ASSERT_EQ(I18N_ERROR_NONE, i18n_ulocale_set_default(locale));
        EXPECT_EQ(withWideSpaces(icuPattern(locale, u"hhmm")), Generator(nullptr).best(u"hhmm"));
        EXPECT_EQ(icuText(locale, u"UTC", u"EEEE a", 1e12),
            Format(nullptr, u"UTC", u"EEEE a").text(1e12));
    }
    i18n_ulocale_set_default(before.c_str());
}

// ICU then has the default one's.
TEST(I18nDateTest, ALocaleThatIcuDoesNotHaveFollowsTheDefaultOne)
{
    const std::string before = uloc_getDefault();
    for (const char* locale : { "ko_KR", "en_GB", "ar_EG", "ko_KR" }) {
        ASSERT_EQ(I18N_ERROR_NONE, i18n_ulocale_set_default(locale));
        EXPECT_EQ(icuPattern("zz_ZZ", u"EMdyyyy"), Generator("zz_ZZ").best(u"EMdyyyy"));
        EXPECT_EQ(icuText("zz_ZZ", u"UTC", u"EEEE a", 1e12),
            Format("zz_ZZ", u"UTC", u"EEEE a").text(1e12));
    }
    i18n_ulocale_set_default(before.c_str());
}

TEST(I18nDateTest, NoZoneIsIcusDefaultOneOfTheMoment)
{
    (void)Format("en_US", nullptr, u"HH:mm");
    UErrorCode status = U_ZERO_ERROR;
    UChar before[64] = {};
    ucal_getDefaultTimeZone(before, 64, &status);
    for (const char16_t* zone : { u"Asia/Seoul", u"Europe/Berlin", u"Asia/Seoul" }) {
        ucal_setDefaultTimeZone(zone, &status);
        EXPECT_EQ(icuText("en_US", zone, u"HH:mm", 0), Format("en_US", nullptr, u"HH:mm").text(0));
    }
    ucal_setDefaultTimeZone(before, &status);
    EXPECT_TRUE(U_SUCCESS(status));
}

TEST(I18nDateTest, AnOpenHandleOutlivesWhatComesLater)
{
    Format format("en_US", u"UTC", u"HH:mm");
    Generator generator("en_US");
    for (int i = 0; i < 200; ++i) {
        const std::u16string other = u"HH:mm'"
            + std::u16string(1, static_cast<char16_t>('a' + i % 26))
            + std::u16string(static_cast<size_t>(i / 26), u'x') + u"'";
        (void)Format("en_US", u"UTC", other).text(0);
    }

    EXPECT_EQ(u"01:46", format.text(1e12));
    EXPECT_EQ(u"HH:mm", generator.best(u"HHmm"));
}

TEST(I18nDateTest, ASkeletonEndsAtItsTerminator)
{
    Generator generator("en_GB");
    i18n_uchar skeleton[32] = { 'H', 'H', 'm', 'm' };
    i18n_uchar pattern[32] = {};
    int32_t length = 0;

    EXPECT_EQ(I18N_ERROR_NONE,
        i18n_udatepg_get_best_pattern(generator.handle, skeleton, 32, pattern, 32, &length));
    EXPECT_EQ(u"HH:mm", textOf(pattern));
    EXPECT_EQ(I18N_ERROR_NONE,
        i18n_udatepg_get_best_pattern(generator.handle, skeleton, -1, pattern, 32, &length));
    EXPECT_EQ(5, length);
}

TEST(I18nDateTest, APatternThatJustFitsIsNotTerminated)
{
    Generator generator("en_GB");
    i18n_uchar pattern[6] = { 'x', 'x', 'x', 'x', 'x', 'x' };
    int32_t length = kUntouched;
    const auto skeleton = units(u"HHmm");

    EXPECT_EQ(I18N_ERROR_BUFFER_OVERFLOW,
        i18n_udatepg_get_best_pattern(generator.handle, skeleton.c_str(), 4, pattern, 4, &length));
    EXPECT_EQ('x', pattern[0]);
    EXPECT_EQ(kUntouched, length);

    EXPECT_EQ(I18N_ERROR_NONE,
        i18n_udatepg_get_best_pattern(generator.handle, skeleton.c_str(), 4, pattern, 5, &length));
    EXPECT_EQ(5, length);
    EXPECT_EQ('x', pattern[5]);
}

TEST(I18nDateTest, GeneratorsNeedTheirArguments)
{
    Generator generator("en_US");
    i18n_udatepg_h handle = &handle;
    i18n_uchar pattern[8] = { 'x' };
    int32_t length = kUntouched;
    const auto skeleton = units(u"HHmm");
    const int invalid = I18N_ERROR_INVALID_PARAMETER;
    const auto best = i18n_udatepg_get_best_pattern;

    EXPECT_EQ(invalid, i18n_udatepg_create("en_US", nullptr));
    EXPECT_EQ(invalid, i18n_udatepg_create(std::string(300, 'a').c_str(), &handle));
    EXPECT_EQ(&handle, handle);
    EXPECT_EQ(invalid, i18n_udatepg_destroy(nullptr));
    EXPECT_EQ(invalid, best(nullptr, skeleton.c_str(), 4, pattern, 8, &length));
    EXPECT_EQ(invalid, best(generator.handle, nullptr, 4, pattern, 8, &length));
    EXPECT_EQ(invalid, best(generator.handle, skeleton.c_str(), -2, pattern, 8, &length));
    EXPECT_EQ(invalid, best(generator.handle, skeleton.c_str(), 4, nullptr, 8, &length));
    EXPECT_EQ(invalid, best(generator.handle, skeleton.c_str(), 4, pattern, -1, &length));
    EXPECT_EQ(invalid, best(generator.handle, skeleton.c_str(), 4, pattern, 8, nullptr));
    EXPECT_EQ('x', pattern[0]);
    EXPECT_EQ(kUntouched, length);
}

TEST(I18nDateTest, FormatsNeedTheirArguments)
{
    const auto zone = units(u"UTC");
    const auto pattern = units(u"HH:mm");
    const auto byPattern = I18N_UDATE_PATTERN;
    const int invalid = I18N_ERROR_INVALID_PARAMETER;
    const auto create
        = [&](i18n_udate_format_style_e time, i18n_udate_format_style_e date, const char* locale,
              int32_t zoneLength, const i18n_uchar* letters, int32_t length) {
              i18n_udate_format_h handle = &handle;
              const int code = i18n_udate_create(
                  time, date, locale, zone.c_str(), zoneLength, letters, length, &handle);
              EXPECT_EQ(&handle, handle);
              return code;
          };

    EXPECT_EQ(invalid, create(byPattern, byPattern, "en_US", -2, pattern.c_str(), -1));
    EXPECT_EQ(invalid, create(byPattern, byPattern, "en_US", -1, pattern.c_str(), -2));
    EXPECT_EQ(invalid, create(byPattern, byPattern, "en_US", -1, nullptr, -1));
    EXPECT_EQ(invalid, create(I18N_UDATE_FULL, byPattern, "en_US", -1, pattern.c_str(), -1));
    const auto unknown = static_cast<i18n_udate_format_style_e>(99);
    EXPECT_EQ(invalid, create(unknown, I18N_UDATE_FULL, "en_US", -1, nullptr, 0));
    EXPECT_EQ(invalid, create(byPattern, unknown, "en_US", -1, pattern.c_str(), -1));
    EXPECT_EQ(invalid,
        create(byPattern, byPattern, std::string(300, 'a').c_str(), -1, pattern.c_str(), -1));
    EXPECT_EQ(invalid,
        i18n_udate_create(byPattern, byPattern, "en_US", nullptr, 0, pattern.c_str(), -1, nullptr));
    EXPECT_EQ(invalid, i18n_udate_destroy(nullptr));
}

TEST(I18nDateTest, AFormattedTextSaysWhatItNeeds)
{
    Format format("en_GB", u"UTC", u"HH:mm");
    i18n_uchar text[6] = { 'x', 'x', 'x', 'x', 'x', 'x' };
    int32_t length = 0;

    EXPECT_EQ(I18N_ERROR_BUFFER_OVERFLOW,
        i18n_udate_format_date(format.handle, 0, text, 4, nullptr, &length));
    EXPECT_EQ(5, length);
    EXPECT_EQ('x', text[0]);
    EXPECT_EQ(I18N_ERROR_BUFFER_OVERFLOW,
        i18n_udate_format_date(format.handle, 0, nullptr, 0, nullptr, &length));
    EXPECT_EQ(I18N_ERROR_NONE, i18n_udate_format_date(format.handle, 0, text, 5, nullptr, &length));
    EXPECT_EQ('x', text[5]);
    EXPECT_EQ(I18N_ERROR_NONE, i18n_udate_format_date(format.handle, 0, text, 6, nullptr, &length));
    EXPECT_EQ(u"00:00", textOf(text));

    length = kUntouched;
    const int invalid = I18N_ERROR_INVALID_PARAMETER;
    EXPECT_EQ(invalid, i18n_udate_format_date(nullptr, 0, text, 6, nullptr, &length));
    EXPECT_EQ(invalid, i18n_udate_format_date(format.handle, 0, nullptr, 6, nullptr, &length));
    EXPECT_EQ(invalid, i18n_udate_format_date(format.handle, 0, text, -1, nullptr, &length));
    EXPECT_EQ(invalid, i18n_udate_format_date(format.handle, 0, text, 6, nullptr, nullptr));
    EXPECT_EQ(kUntouched, length);
}

TEST(I18nDateTest, ATextLongerThanUsualIsWhole)
{
    const std::u16string words(150, u'w');
    Format format("en_GB", u"UTC", u"'" + words + u"'HH");
    i18n_uchar text[200] = {};
    int32_t length = 0;

    EXPECT_EQ(
        I18N_ERROR_NONE, i18n_udate_format_date(format.handle, 0, text, 200, nullptr, &length));
    EXPECT_EQ(words + u"00", textOf(text));
}

TEST(I18nDateTest, AFieldIsFound)
{
    Format format("en_GB", u"UTC", u"HH:mm");
    i18n_uchar text[16] = {};
    int32_t length = 0;
    i18n_ufield_position_s minute = { UDAT_MINUTE_FIELD, 0, 0 };

    EXPECT_EQ(
        I18N_ERROR_NONE, i18n_udate_format_date(format.handle, 0, text, 16, &minute, &length));
    EXPECT_EQ(3, minute.begin_index);
    EXPECT_EQ(5, minute.end_index);
}

TEST(I18nDateTest, ThreadsFormatSideBySide)
{
    std::vector<std::thread> threads;
    std::vector<std::u16string> results(4);
    for (size_t thread = 0; thread < results.size(); ++thread) {
        threads.emplace_back([&results, thread] {
            for (int round = 0; round < 100; ++round) {
                const char* locale = kLocales[(thread + static_cast<size_t>(round)) % 4];
                (void)Format(locale, u"Asia/Seoul", Generator(locale).best(u"EMMMd")).text(1e12);
            }
            results[thread] = Format("ko_KR", u"Asia/Seoul", u"a hh:mm").text(1e12);
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    for (const std::u16string& result : results)
        EXPECT_EQ(u"오전 10:46", result);
}
