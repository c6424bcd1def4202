#include "Command.h"
#include "HostSession.h"
#include "IcuTexts.h"
#include "TempDir.h"

#include <AlarmDbData.h>
#include <AlarmIcuDataModel.h>
#include <AlarmStringUtil.h>
#include <app_common.h>
#include <array>
#include <clocale>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <libintl.h>
#include <utils_i18n.h>

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

const char* const kZone = "Europe/Berlin";

std::string taken(char* text)
{
    std::string result = text;
    free(text);
    return result;
}

bool isPicture(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::array<char, 8> begin = {};
    stream.read(begin.data(), begin.size());
    return std::string(begin.data(), begin.size()) == "\x89PNG\r\n\x1A\n";
}

class AlarmTextTest : public testing::Test {
protected:
    AlarmTextTest() { setenv("ALARM_HOST_LOG", "S", 1); }

    void setLocale(const std::string& locale)
    {
        session.setKey("db/menu_widget/regionformat", locale + ".UTF-8");
        session.setKey("db/menu_widget/language", locale + ".UTF-8");
        setenv("LANGUAGE", (locale + ":en").c_str(), 1);
        setlocale(LC_ALL, "C.UTF-8");
        AlarmStringUtil::_initTextDomain();
    }

    void setClock(int hours) { session.setKey("db/menu_widget/regionformat_time1224", hours / 12); }

    static AlarmDbData alarmAt(time_t start, const char* zone = kZone)
    {
        setenv("TZ", zone, 1);
        tzset();
        tm local = {};
        localtime_r(&start, &local);
        unsetenv("TZ");
        tzset();
        AlarmDbData alarm;
        alarm.stime = static_cast<int>(start);
        alarm.timezone = zone;
        alarm.hour = local.tm_hour;
        alarm.min = local.tm_min;
        return alarm;
    }

    static std::string timeText(const AlarmDbData& alarm)
    {
        std::string text;
        AlarmStringUtil::getAlarmTimeString(alarm, text);
        return text;
    }

    static std::string daysText(const AlarmDbData& alarm, bool markup = false)
    {
        std::string text;
        AlarmStringUtil::getAlarmDateRepeatString(alarm, text, markup);
        return text;
    }

    static std::string defaultLocale()
    {
        const char* locale = nullptr;
        i18n_ulocale_get_default(&locale);
        return locale;
    }

    HostSession session;
};

class LocaleTest : public AlarmTextTest, public testing::WithParamInterface<const char*> {};

} // namespace

TEST_P(LocaleTest, TimesAreThoseOfIcu)
{
    const std::string locale = GetParam();
    setLocale(locale);
    // Every hour of a day, at minutes that are not round.
    for (int hour = 0; hour < 24; ++hour) {
        const time_t start = 1715637600 + hour * 61 * 60;
        setClock(12);
        EXPECT_EQ(direct::timeText(locale, kZone, start, true), timeText(alarmAt(start)));
        setClock(24);
        EXPECT_EQ(direct::timeText(locale, kZone, start, false), timeText(alarmAt(start)));
    }
}

TEST_P(LocaleTest, DatesAreThoseOfIcu)
{
    const std::string locale = GetParam();
    setLocale(locale);
    const time_t now = time(nullptr);
    for (int month = 0; month < 12; ++month) {
        const time_t start = now + month * 30L * 24 * 3600;
        tm today = {};
        tm local = {};
        localtime_r(&now, &today);
        localtime_r(&start, &local);
        const std::string date
            = direct::dateText(locale, kZone, start, local.tm_year != today.tm_year);

        EXPECT_EQ(date, daysText(alarmAt(start)));
        EXPECT_EQ("<font font_size=26><color=#4f4f4f99>" + date + "</color></font>",
            daysText(alarmAt(start), true));
    }
}

TEST_P(LocaleTest, NumbersAreThoseOfIcu)
{
    const std::string locale = GetParam();
    setLocale(locale);
    for (const int n : { 0, 1, 2, 11, 59, 1234567, -1, 2147483647, -2147483647 - 1 })
        EXPECT_EQ(direct::number(locale, n), taken(AlarmStringUtil::changeNumberToString(n)));
}

TEST_P(LocaleTest, WeekdaysBeginWithTheFirstOfIcu)
{
    const std::string locale = GetParam();
    setLocale(locale);
    daysText(alarmAt(1715664600)); // the region becomes the default locale
    const int first = direct::firstWeekday(locale);
    EXPECT_EQ(first, AlarmIcuDataModel::getFirstDayOfWeek());

    AlarmDbData alarm = alarmAt(1715664600);
    alarm.repeat_once = 0;
    for (int position = 0; position < 7; ++position) {
        alarm.repeatWeekly = 1 << ((first - 1 + position) % 7);
        for (int at = 0; at < 7; ++at) {
            const std::string part
                = taken(AlarmStringUtil::_setAlarmRepeatPartText(alarm, at, true));
            EXPECT_EQ(at == position, part.find("623a9eff") != std::string::npos);
        }
    }
}

TEST_P(LocaleTest, TheRegionIsLeftAsTheDefaultLocale)
{
    const std::string locale = GetParam();
    setLocale("en_US");
    timeText(alarmAt(1715664600));
    EXPECT_EQ("en_US", direct::defaultLocale());

    setLocale(locale);
    timeText(alarmAt(1715664600));

    EXPECT_EQ(locale, direct::defaultLocale());
    EXPECT_EQ(locale, defaultLocale());
}

INSTANTIATE_TEST_SUITE_P(Table, LocaleTest,
    testing::Values("en_US", "en_GB", "de_DE", "fr_FR", "es_ES", "pt_BR", "ru_RU", "pl_PL", "ar_EG",
        "ar_SA", "fa_IR", "he_IL", "ur_PK", "ko_KR", "ja_JP", "zh_CN", "hi_IN", "ta_IN", "bo_CN",
        "da_DK", "bg_BG"),
    [](const auto& row) { return std::string(row.param); });

TEST_F(AlarmTextTest, TextsAreAsTheirReadersKnowThem)
{
    setLocale("en_US");
    EXPECT_EQ("7\u223630 AM", timeText(alarmAt(1715664600)));
    setLocale("ko_KR");
    EXPECT_EQ("오전 7\u223630", timeText(alarmAt(1715664600)));
    setLocale("ar_EG");
    EXPECT_EQ("٧:٣٠ ص", timeText(alarmAt(1715664600)));
    EXPECT_EQ("\u0664\u0662", taken(AlarmStringUtil::changeNumberToString(42)));
    setLocale("fa_IR");
    EXPECT_EQ("۷:۳۰ قبل\u200Cازظهر", timeText(alarmAt(1715664600)));
    setClock(24);
    setLocale("de_DE");
    EXPECT_EQ("07\u223630", timeText(alarmAt(1715664600)));
}

// Its digits are of two units each, and a number has room for 19.
TEST_F(AlarmTextTest, ANumberOfManyUnitsEndsWithAWholeDigit)
{
    setLocale("ccp_BD");
    EXPECT_EQ(
        direct::number("ccp_BD", 12345678), taken(AlarmStringUtil::changeNumberToString(12345678)));

    const std::string twentyUnits = direct::number("ccp_BD", -12345678);
    EXPECT_EQ(twentyUnits.substr(0, twentyUnits.size() - 4),
        taken(AlarmStringUtil::changeNumberToString(-12345678)));
    EXPECT_EQ("", taken(AlarmStringUtil::changeNumberToString(2147483647)));
}

TEST_F(AlarmTextTest, ACountWithoutARegionIsWrittenAsInTheUnitedStates)
{
    setLocale("de_DE");
    ASSERT_EQ(0, runCommand({ "hostctl", "key", "unset", "db/menu_widget/regionformat" }).status);

    std::string toast;
    AlarmStringUtil::generateAlertOffsetToastPopupText(1000, 0, 0, toast);

    EXPECT_EQ("Der Wecker klingelt in 1,000 Tagen.", toast);
}

TEST_F(AlarmTextTest, FirstWeekdayIsSundayMondayOrSaturday)
{
    for (const auto& [locale, day] :
        { std::pair("en_US", 1), std::pair("de_DE", 2), std::pair("ar_EG", 7) }) {
        i18n_ulocale_set_default(locale);
        EXPECT_EQ(day, AlarmIcuDataModel::getFirstDayOfWeek()) << locale;
    }
}

// Of a time, 32 bytes are looked at. With the morning's marker it has 33, with the evening's less.
TEST_F(AlarmTextTest, ATimeThatIsLongerThanItsBufferKeepsItsMarkersBeginning)
{
    setLocale("kn_IN");
    const std::string marker = direct::formatted("kn_IN", kZone, 1715664600, "a");
    ASSERT_EQ(27u, marker.size());

    EXPECT_EQ(marker + " 07\u223630" + marker.substr(0, 24), timeText(alarmAt(1715664600)));

    EXPECT_EQ(direct::timeText("kn_IN", kZone, 1715664600 + 12 * 3600, true),
        timeText(alarmAt(1715664600 + 12 * 3600)));

    setLocale("th_TH");
    const std::string thai = direct::formatted("th_TH", kZone, 1715664600, "a");
    EXPECT_EQ(thai + " 7\u223630" + thai.substr(0, 24), timeText(alarmAt(1715664600)));
}

TEST_F(AlarmTextTest, AnAlarmIsShownInItsOwnZone)
{
    setLocale("en_US");
    session.setZone("America/New_York");

    EXPECT_EQ("7\u223630 AM", timeText(alarmAt(1715664600, "Europe/Berlin")));
    EXPECT_EQ("2\u223630 PM", timeText(alarmAt(1715664600, "Asia/Seoul")));
}

TEST_F(AlarmTextTest, TheProcesssZoneIsTheDevicesAfterwards)
{
    setLocale("en_US");
    session.setZone("Asia/Seoul");
    setenv("TZ", "America/New_York", 1);
    tzset();

    EXPECT_EQ("7\u223630 AM", timeText(alarmAt(1715664600)));

    EXPECT_STRNE("America/New_York", getenv("TZ"));
    EXPECT_STRNE(kZone, getenv("TZ"));
    const time_t instant = 1715664600;
    tm local = {};
    localtime_r(&instant, &local);
    EXPECT_EQ(14, local.tm_hour);
    EXPECT_EQ(9 * 3600, local.tm_gmtoff);
}

TEST_F(AlarmTextTest, TheDevicesZoneIsReadAnew)
{
    for (const char* zone : { "Asia/Seoul", "America/New_York", "UTC" }) {
        session.setZone(zone);
        EXPECT_EQ(zone, taken(AlarmIcuDataModel::getCurrentTimeZone()));
    }
}

TEST_F(AlarmTextTest, TheDevicesZoneIsReadAnewInAProgramThatCallsNothingOfThePlatform)
{
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    GTEST_SKIP() << "in such a program the sanitizer's readlink() hides the platform's";
#endif
#endif
    for (const char* zone : { "Asia/Seoul", "America/New_York", "UTC" }) {
        session.setZone(zone);
        EXPECT_EQ(zone + std::string("\n"), runCommand({ ZONE_NAME }).out);
    }
}

TEST_F(AlarmTextTest, CalendarAndCLibraryAgreeOnEveryHourOfBothNights)
{
    session.setZone(kZone);
    for (const long night : { 1711839600L, 1729980000L }) {
        for (long instant = night; instant < night + 6 * 3600L; instant += 1800) {
            tm byCalendar = {};
            AlarmIcuDataModel::getTmFromUtime(instant, byCalendar);
            setenv("TZ", kZone, 1);
            tzset();
            tm local = {};
            localtime_r(&instant, &local);
            unsetenv("TZ");
            tzset();

            EXPECT_EQ(local.tm_hour, byCalendar.tm_hour) << instant;
            EXPECT_EQ(local.tm_min, byCalendar.tm_min) << instant;
            EXPECT_EQ(local.tm_mday, byCalendar.tm_mday) << instant;
            EXPECT_EQ(local.tm_mon, byCalendar.tm_mon) << instant;
            EXPECT_EQ(local.tm_year, byCalendar.tm_year) << instant;
            EXPECT_EQ(local.tm_wday, byCalendar.tm_wday) << instant;
            EXPECT_EQ(local.tm_yday, byCalendar.tm_yday) << instant;
            EXPECT_EQ(local.tm_isdst, byCalendar.tm_isdst) << instant;
        }
    }
}

TEST_F(AlarmTextTest, InstantsComeBackFromTheirWallTimes)
{
    session.setZone("Asia/Seoul");
    for (const long long instant : { 0LL, 1715664600LL, 5000000000LL }) {
        tm wall = {};
        AlarmIcuDataModel::getTmFromUtime(instant, wall);
        EXPECT_EQ(instant, AlarmIcuDataModel::getUtimeFromTm(wall));
        const time_t minute = static_cast<time_t>(instant / 60 * 60);
        EXPECT_EQ(minute, AlarmIcuDataModel::getTimeTFromTm(&wall));
    }
}

TEST_F(AlarmTextTest, TheCommandShowsTheDevicesTexts)
{
    session.setZone(kZone);
    setLocale("ko_KR");
    const CommandResult added = runCommand({ "alarm", "add", "07:30", "--days", "mon-fri" });
    EXPECT_EQ(0, added.status) << added.err;
    EXPECT_THAT(added.out, testing::StartsWith("alarm 1: "));
    EXPECT_EQ(std::string::npos, added.out.find("WDS_"));
    EXPECT_EQ(std::string::npos, added.out.find("PLURAL_"));

    const std::string korean = runCommand({ "alarm", "list" }).out;
    EXPECT_THAT(korean, HasSubstr("오전 7\u223630"));
    EXPECT_THAT(korean, HasSubstr("\u00B7 월 화 수 목 금 \u00B7"));

    setLocale("en_GB");
    const std::string english = runCommand({ "alarm", "list" }).out;
    EXPECT_THAT(english, HasSubstr("7\u223630 am"));
    EXPECT_THAT(english, HasSubstr("M T W T F \u00B7 \u00B7"));

    EXPECT_THAT(runCommand({ "alarm", "list", "--plain" }).out, HasSubstr("07:30  mon-fri"));
}

TEST_F(AlarmTextTest, TheCommandsToastTellsHowLongItIs)
{
    setLocale("en_US");

    EXPECT_THAT(runCommand({ "alarm", "add", "--in", "150m" }).out,
        MatchesRegex("alarm 1: Alarm set for 2 hours 30 minutes from now.\n"));
    EXPECT_THAT(runCommand({ "alarm", "add", "--in", "150m", "--plain" }).out,
        MatchesRegex("alarm 2 rings .*\n"));
    EXPECT_EQ("alarm 3 is off\n", runCommand({ "alarm", "add", "07:30", "--off" }).out);
}

TEST_F(AlarmTextTest, TheCommandTellsAMinuteAtLeastInTheDevicesLanguage)
{
    setLocale("de_DE");

    EXPECT_EQ("alarm 1: Der Wecker klingelt in 1 Minute.\n",
        runCommand({ "alarm", "add", "--in", "1s" }).out);
}

TEST_F(AlarmTextTest, TheCommandShowsTheNextRingAsTheRegionWritesIt)
{
    session.setZone(kZone);
    setLocale("ko_KR");
    ASSERT_EQ(0, runCommand({ "alarm", "add", "--in", "30h" }).status);
    ASSERT_EQ(0, runCommand({ "alarm", "add", "07:30", "--off" }).status);
    const time_t next = session.alarms().front().next;
    tm local = {};
    tm today = {};
    const time_t now = time(nullptr);
    localtime_r(&next, &local);
    localtime_r(&now, &today);

    const std::string date = direct::dateText("ko_KR", kZone, next, local.tm_year != today.tm_year);
    const std::string shown = date + " " + direct::timeText("ko_KR", kZone, next, true);
    EXPECT_THAT(runCommand({ "alarm", "list" }).out, HasSubstr("  on     " + shown + "\n"));
    EXPECT_THAT(runCommand({ "alarm", "list" }).out, HasSubstr("  off    -\n"));
    char plain[32];
    strftime(plain, sizeof plain, "%a %e %b %H:%M", &local);
    EXPECT_THAT(runCommand({ "alarm", "list", "--plain" }).out, HasSubstr(plain));
}

TEST_F(AlarmTextTest, TheCommandFindsTheTextsOfALanguageWithAScript)
{
    setLocale("zh_Hans_CN");

    EXPECT_THAT(
        runCommand({ "alarm", "add", "--in", "150m" }).out, HasSubstr("2 小时 30 分钟后响起"));
}

TEST_F(AlarmTextTest, TheResourcesAreInstalled)
{
    const TempDir prefix;
    const CommandResult result = runCommand(
        { "cmake", "--install", BUILD_DIR, "--component", "resources", "--prefix", prefix.path() });
    ASSERT_EQ(0, result.status) << result.err;

    const fs::path package = prefix.file(INSTALL_DATADIR "/alarm-common/ro/com.velmora.alarm");
    const fs::path resources = package / "res/locale";
    for (const auto& source : fs::directory_iterator(SOURCE_DIR "/po")) {
        if (source.path().extension() == ".po") {
            const fs::path file = resources / source.path().stem() / "LC_MESSAGES/alarm-merid.mo";
            EXPECT_TRUE(fs::is_regular_file(file)) << file;
        }
    }
    setLocale("de_DE");
    bindtextdomain("alarm-merid", resources.c_str());
    EXPECT_STREQ("Ausschalten", dgettext("alarm-merid", "WDS_ORVSUG_BUTTON_TURN_OFF_ABB4"));
    EXPECT_TRUE(isPicture(package / "shared/res/b_rich_noti_icon_alarm.png"));
}

TEST_F(AlarmTextTest, TheIconOfTheCardIsInTheSharedFolderOfThePackage)
{
    EXPECT_TRUE(isPicture(taken(app_get_shared_resource_path()) + "b_rich_noti_icon_alarm.png"));
}

TEST_F(AlarmTextTest, ALanguageWithoutACatalogueHasEnglishWords)
{
    setLocale("sw_KE");

    const std::string toast = runCommand({ "alarm", "add", "--in", "150m" }).out;

    EXPECT_THAT(toast, HasSubstr("hours"));
    EXPECT_EQ(std::string::npos, toast.find("PLURAL_"));
}
