#include "AlarmIcuDataModel.h"

#include "I18nFixture.h"

#include <cstring>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
using Kind = I18nHandle::Kind;
const long kTime = 1700000000;

class AlarmIcuDataModelTest : public I18nTest {
protected:
    AlarmIcuDataModelTest()
    {
        i18nDouble().patterns = { { "hhmm", "h:mm a" }, { "a", "never asked for" } };
        i18nDouble().texts = { { "h:mm a", "7:13 AM" }, { "a", "AM" } };
    }

    bool format(const char* skeleton = "hhmm", const char* zone = "Europe/Berlin")
    {
        return AlarmIcuDataModel::getFormattedDateString(
            kTime, out, sizeof out - 1, nullptr, skeleton, zone);
    }

    void expectFailure(const char* message)
    {
        strcpy(out, "before");
        EXPECT_FALSE(format());
        EXPECT_STREQ("before", out);
        EXPECT_THAT(dlogDouble().criticals(), ElementsAre(message));
        EXPECT_EQ(dlogDouble().lines.size(), dlogDouble().criticals().size());
        EXPECT_THAT(dlogDouble().lines.front().text,
            testing::StartsWith("AlarmIcuDataModel.cpp: getFormattedDateString("));
    }

    static size_t alive(Kind kind)
    {
        size_t count = 0;
        for (const auto& handle : i18nDouble().alive)
            count += handle->kind == kind ? 1 : 0;
        return count;
    }

    char out[65] = {};
};
} // namespace

TEST_F(AlarmIcuDataModelTest, ASkeletonIsShownInTheRegionsBestPatternAndTheZone)
{
    EXPECT_TRUE(format());

    EXPECT_STREQ("7:13 AM", out);
    EXPECT_THAT(i18nDouble().skeletons, ElementsAre("hhmm"));
    EXPECT_THAT(i18nDouble().formattedAt, ElementsAre(1700000000000.0));
    EXPECT_EQ("de_DE", i18nDouble().lastOf(Kind::Generator)->locale);
    EXPECT_EQ("de_DE", i18nDouble().lastOf(Kind::Format)->locale);
    EXPECT_EQ("h:mm a", i18nDouble().lastOf(Kind::Format)->pattern);
    EXPECT_EQ("Europe/Berlin", i18nDouble().lastOf(Kind::Format)->zone);
    EXPECT_THAT(i18nDouble().alive, IsEmpty());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmIcuDataModelTest, AGivenLocaleIsUsedInPlaceOfTheRegion)
{
    char locale[] = "ko_KR";

    EXPECT_TRUE(AlarmIcuDataModel::getFormattedDateString(
        kTime, out, sizeof out - 1, locale, "hhmm", nullptr));

    EXPECT_EQ("ko_KR", i18nDouble().lastOf(Kind::Generator)->locale);
    EXPECT_EQ("ko_KR", i18nDouble().lastOf(Kind::Format)->locale);
    EXPECT_EQ("de_DE", i18nDouble().defaultLocale);
}

TEST_F(AlarmIcuDataModelTest, ANullZoneIsTheDefaultZone)
{
    EXPECT_TRUE(format("hhmm", nullptr));

    EXPECT_EQ(std::nullopt, i18nDouble().lastOf(Kind::Format)->zone);
}

TEST_F(AlarmIcuDataModelTest, TheMarkersSkeletonIsItsOwnPattern)
{
    EXPECT_TRUE(format("a"));

    EXPECT_STREQ("AM", out);
    EXPECT_THAT(i18nDouble().skeletons, IsEmpty());
    EXPECT_EQ("a", i18nDouble().lastOf(Kind::Format)->pattern);
}

TEST_F(AlarmIcuDataModelTest, ASkeletonThatBeginsWithTheMarkersIsMatched)
{
    i18nDouble().patterns["ahmm"] = "h:mm a";

    EXPECT_TRUE(format("ahmm"));

    EXPECT_STREQ("7:13 AM", out);
}

TEST_F(AlarmIcuDataModelTest, EveryTextMakesTheRegionTheDefaultLocale)
{
    EXPECT_TRUE(format());
    EXPECT_EQ("de_DE", i18nDouble().defaultLocale);

    vconfDouble().texts[kRegion] = "ko_KR.UTF-8@modifier";
    EXPECT_TRUE(format());
    EXPECT_EQ("ko_KR", i18nDouble().defaultLocale);

    vconfDouble().texts[kRegion] = "ja_JP";
    EXPECT_TRUE(format());
    EXPECT_EQ("ja_JP", i18nDouble().defaultLocale);
}

TEST_F(AlarmIcuDataModelTest, TheTextIsCutAtTheLengthOfTheOutput)
{
    i18nDouble().texts["h:mm a"] = "7:13 AM";
    memset(out, '#', 8);

    EXPECT_TRUE(
        AlarmIcuDataModel::getFormattedDateString(kTime, out, 4, nullptr, "hhmm", "Europe/Berlin"));

    EXPECT_STREQ("7:13####", out);
}

TEST_F(AlarmIcuDataModelTest, ZonePatternAndSkeletonEndAtTheirBuffers)
{
    const std::string longText(100, 'M');
    i18nDouble().patterns[std::string(32, 'M')] = std::string(32, 'y');
    i18nDouble().texts[std::string(32, 'y')] = std::string(64, 'x');

    EXPECT_TRUE(format(longText.c_str(), longText.c_str()));

    EXPECT_EQ(std::string(64, 'x'), out);
    EXPECT_THAT(i18nDouble().skeletons, ElementsAre(std::string(32, 'M')));
    EXPECT_EQ(std::string(64, 'M'), i18nDouble().lastOf(Kind::Format)->zone);
}

TEST_F(AlarmIcuDataModelTest, ATextOfMoreThan64UnitsIsAnError)
{
    i18nDouble().texts["h:mm a"] = std::string(65, 'x');

    const std::string error = std::to_string(I18N_ERROR_BUFFER_OVERFLOW);
    expectFailure(("Get i18n_udate_format_date error [" + error + "]").c_str());
}

TEST_F(AlarmIcuDataModelTest, ATextNeedsAnOutputAndASkeleton)
{
    EXPECT_FALSE(
        AlarmIcuDataModel::getFormattedDateString(kTime, nullptr, 8, nullptr, nullptr, nullptr));
    EXPECT_FALSE(
        AlarmIcuDataModel::getFormattedDateString(kTime, out, 8, nullptr, nullptr, nullptr));

    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("str nullptr", "pattern nullptr"));
    EXPECT_THAT(vconfDouble().asked, IsEmpty());
}

TEST_F(AlarmIcuDataModelTest, ATextNeedsARegion)
{
    vconfDouble().texts.clear();

    expectFailure("get region format failed");
}

TEST_F(AlarmIcuDataModelTest, ARefusedDefaultLocaleIsToldWithItsCode)
{
    i18nDouble().setDefaultCode = -22;

    expectFailure("Set default locale de_DE error [-22]");
}

TEST_F(AlarmIcuDataModelTest, AnUnknownDefaultLocaleIsToldWithItsCode)
{
    i18nDouble().getDefaultCode = -5;

    expectFailure("Get default locale error [-5]");
}

TEST_F(AlarmIcuDataModelTest, TheDefaultLocaleCountsForTextsWithoutALocaleOnly)
{
    i18nDouble().getDefaultCode = -5;
    char locale[] = "ko_KR";

    EXPECT_TRUE(AlarmIcuDataModel::getFormattedDateString(
        kTime, out, sizeof out - 1, locale, "hhmm", nullptr));
}

TEST_F(AlarmIcuDataModelTest, ANullDefaultLocaleIsTold)
{
    i18nDouble().setDefaultCode = I18N_ERROR_NONE;
    i18nDouble().loseDefaultLocale = true;

    expectFailure("locale nullptr");

    i18nDouble().loseDefaultLocale = false;
}

TEST_F(AlarmIcuDataModelTest, WithoutAFormatterTheGeneratorWaitsForTheNextCall)
{
    i18nDouble().formatCode = I18N_ERROR_UNKNOWN;

    expectFailure("i18n_udate_create failed");
    EXPECT_EQ(1u, alive(Kind::Generator));

    i18nDouble().formatCode = I18N_ERROR_NONE;
    EXPECT_TRUE(format());
    EXPECT_EQ(0u, alive(Kind::Generator));
}

TEST_F(AlarmIcuDataModelTest, AFailedFormatIsToldWithItsCodeAndReleased)
{
    i18nDouble().formatDateCode = -61;

    expectFailure("Get i18n_udate_format_date error [-61]");

    EXPECT_EQ(0u, alive(Kind::Format));
    EXPECT_EQ(1u, alive(Kind::Generator));
}

TEST_F(AlarmIcuDataModelTest, AnEmptyTextIsAFailure)
{
    i18nDouble().texts.clear();

    expectFailure("formattedLength = 0");

    EXPECT_EQ(0u, alive(Kind::Format));
    EXPECT_EQ(1u, alive(Kind::Generator));
}

TEST_F(AlarmIcuDataModelTest, WithoutAGeneratorOrAPatternTheTextIsEmpty)
{
    i18nDouble().generatorCode = I18N_ERROR_UNKNOWN;
    expectFailure("formattedLength = 0");

    dlogDouble() = {};
    i18nDouble().generatorCode = I18N_ERROR_NONE;
    i18nDouble().bestPatternCode = I18N_ERROR_BUFFER_OVERFLOW;
    expectFailure("formattedLength = 0");
}

TEST_F(AlarmIcuDataModelTest, MarkerStandsFirstWhereTheTimeBeginsWithIt)
{
    char time[] = "AM 7:13";

    EXPECT_TRUE(AlarmIcuDataModel::getFormattedAmpmString(kTime, time, out, 0, "Asia/Seoul"));

    EXPECT_STREQ("AM", out);
    EXPECT_EQ("Asia/Seoul", i18nDouble().lastOf(Kind::Format)->zone);
    EXPECT_THAT(i18nDouble().formattedAt, ElementsAre(1700000000000.0));
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmIcuDataModelTest, MarkerStandsLastWhereTheTimeHoldsItLater)
{
    char behind[] = "7:13 AM";
    char inside[] = "7 AM 13";

    EXPECT_FALSE(AlarmIcuDataModel::getFormattedAmpmString(kTime, behind, out, 32, nullptr));
    EXPECT_FALSE(AlarmIcuDataModel::getFormattedAmpmString(kTime, inside, out, 32, nullptr));

    EXPECT_STREQ("AM", out);
}

TEST_F(AlarmIcuDataModelTest, MarkerCountsAsFirstInATimeWithoutIt)
{
    char time[] = "19:13";

    EXPECT_TRUE(AlarmIcuDataModel::getFormattedAmpmString(kTime, time, out, 32, nullptr));
}

TEST_F(AlarmIcuDataModelTest, AMarkerThatCannotBeMadeIsEmptyAndFirst)
{
    i18nDouble().texts.clear();
    strcpy(out, "before");
    char time[] = "7:13 AM";

    EXPECT_TRUE(AlarmIcuDataModel::getFormattedAmpmString(kTime, time, out, 32, nullptr));

    EXPECT_STREQ("", out);
    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("formattedLength = 0"));
}

TEST_F(AlarmIcuDataModelTest, ALongMarkerEndsInsideItsBufferWithAWholeCharacter)
{
    std::string marker;
    for (int i = 0; i < 20; ++i)
        marker += "\u0CAA";
    i18nDouble().texts["a"] = marker;
    memset(out, '#', sizeof out - 1);
    char time[] = "7:13";

    EXPECT_TRUE(AlarmIcuDataModel::getFormattedAmpmString(kTime, time, out, 64, nullptr));

    EXPECT_EQ(marker.substr(0, 30), out);
    EXPECT_EQ('#', out[32]);
}

TEST_F(AlarmIcuDataModelTest, AMarkerOf32BytesLeavesItsLastCharacterToTheEndOfTheText)
{
    i18nDouble().texts["a"] = std::string(30, 'x') + "\u00E4"; // the bytes 31 and 32
    memset(out, '#', sizeof out - 1);
    char time[] = "7:13";

    EXPECT_TRUE(AlarmIcuDataModel::getFormattedAmpmString(kTime, time, out, 64, nullptr));

    EXPECT_EQ(std::string(30, 'x'), out);
    EXPECT_EQ('#', out[32]);
}

TEST_F(AlarmIcuDataModelTest, MarkerNeedsATime)
{
    EXPECT_FALSE(AlarmIcuDataModel::getFormattedAmpmString(kTime, nullptr, out, 32, nullptr));

    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("timeStr is nullptr"));
}

struct RegionCase {
    const char* name;
    const char* setting;
    const char* region;
};
class RegionTest : public I18nTest, public testing::WithParamInterface<RegionCase> {};

TEST_P(RegionTest, IsTheSettingUpToItsEncoding)
{
    vconfDouble().texts[kRegion] = GetParam().setting;

    char* region = AlarmIcuDataModel::getCurrentRegionFormat();

    EXPECT_STREQ(GetParam().region, region);
    free(region);
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, RegionTest,
    testing::Values(RegionCase{ "Encoded", "en_GB.UTF-8", "en_GB" },
        RegionCase{ "Bare", "en_GB", "en_GB" },
        RegionCase{ "MoreBehind", "sr_RS.UTF-8@latin", "sr_RS" },
        RegionCase{ "OtherEncoding", "en_GB.utf8", "en_GB.utf8" },
        RegionCase{ "OnlyEncoding", ".UTF-8", "" }, RegionCase{ "Empty", "", "" },
        RegionCase{ "Twice", "a.UTF-8.UTF-8", "a" }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmIcuDataModelTest, ARegionEndsAt512Bytes)
{
    vconfDouble().texts[kRegion] = std::string(600, 'x') + ".UTF-8";

    char* region = AlarmIcuDataModel::getCurrentRegionFormat();

    EXPECT_EQ(std::string(512, 'x'), region);
    free(region);
}

TEST_F(AlarmIcuDataModelTest, WithoutASettingTheRegionIsTheUnitedStates)
{
    vconfDouble().texts.clear();

    char* region = AlarmIcuDataModel::getCurrentRegionFormat();

    EXPECT_STREQ("en_US", region);
    free(region);
    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("vconf_get_str() failed : region format"));
}

TEST_F(AlarmIcuDataModelTest, FirstWeekdayIsThatOfTheDefaultLocalesCalendar)
{
    for (const int day : { 1, 2, 7 }) {
        i18nDouble().firstDay = day;
        EXPECT_EQ(day, AlarmIcuDataModel::getFirstDayOfWeek());
    }

    const I18nHandle* calendar = i18nDouble().lastOf(Kind::Calendar);
    EXPECT_EQ(std::nullopt, calendar->zone);
    EXPECT_EQ("C", calendar->locale);
    EXPECT_EQ(I18N_UCALENDAR_DEFAULT, calendar->type);
    EXPECT_THAT(i18nDouble().alive, IsEmpty());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmIcuDataModelTest, FirstWeekdayDoesNotNeedTheDefaultLocalesName)
{
    i18nDouble().getDefaultCode = I18N_ERROR_UNKNOWN;
    i18nDouble().firstDay = 2;

    EXPECT_EQ(2, AlarmIcuDataModel::getFirstDayOfWeek());

    EXPECT_EQ("(default)", i18nDouble().lastOf(Kind::Calendar)->locale);
    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("i18n_ulocale_get_default() is failed!!!"));
}

TEST_F(AlarmIcuDataModelTest, FirstWeekdayNeedsACalendar)
{
    i18nDouble().calendarCode = I18N_ERROR_UNKNOWN;

    EXPECT_EQ(-1, AlarmIcuDataModel::getFirstDayOfWeek());

    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("i18n_ucalendar_create failed."));
}

TEST_F(AlarmIcuDataModelTest, FirstWeekdayNeedsItsAttribute)
{
    i18nDouble().attributeCode = I18N_ERROR_UNKNOWN;

    EXPECT_EQ(-1, AlarmIcuDataModel::getFirstDayOfWeek());

    EXPECT_THAT(i18nDouble().alive, IsEmpty());
    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("i18n_ucalendar_get_attribute failed."));
}
