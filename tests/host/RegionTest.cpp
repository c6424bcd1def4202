#include "Command.h"
#include "EchoFixture.h"
#include "host/common/Boundary.h"
#include "host/common/Locale.h"
#include "host/common/Session.h"
#include "Probing.h"
#include "TempDir.h"

#include <appcore-common.h>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <regex>
#include <unistd.h>
#include <utils_i18n.h>
#include <vconf.h>

namespace {

const char* const kTurnOff = "WDS_ORVSUG_BUTTON_TURN_OFF_ABB4";

std::string setting(const char* key)
{
    const host::CText text(vconf_get_str(key));
    return text ? text.get() : "unset";
}

int clockSetting()
{
    int clock = 0;
    vconf_get_int("db/menu_widget/regionformat_time1224", &clock);
    return clock;
}

int hourAt(time_t instant)
{
    tm local = {};
    tzset();
    localtime_r(&instant, &local);
    return local.tm_hour;
}

// HH:mm of the instant in ICU's default zone; the locale makes no difference to it.
std::string icuTime(const char* locale, time_t instant)
{
    const i18n_uchar pattern[] = { 'H', 'H', ':', 'm', 'm', 0 };
    i18n_udate_format_h format = nullptr;
    EXPECT_EQ(I18N_ERROR_NONE,
        i18n_udate_create(
            I18N_UDATE_PATTERN, I18N_UDATE_PATTERN, locale, nullptr, 0, pattern, -1, &format));
    i18n_uchar wide[16] = {};
    char text[16] = {};
    int32_t length = 0;
    EXPECT_EQ(I18N_ERROR_NONE,
        i18n_udate_format_date(
            format, static_cast<double>(instant) * 1000, wide, 16, nullptr, &length));
    i18n_udate_destroy(format);
    return i18n_ustring_copy_au_n(text, wide, 16);
}

// All settings, but for the copy of the zone: hostd may still be at writing it.
std::string settings()
{
    static const std::regex copy("db/setting/timezone_id[^\n]*\n");
    const std::string keys = runCommand({ "hostctl", "key", "list" }).out;
    return std::regex_replace(keys, copy, "") + host::zoneId();
}

// Expects one clear line, wrong usage, and nothing changed.
void expectRefused(const std::vector<std::string>& words, const std::string& line)
{
    const std::string before = settings();
    std::vector<std::string> command = { "hostctl" };
    command.insert(command.end(), words.begin(), words.end());

    const CommandResult result = runCommand(command);

    EXPECT_EQ(2, result.status);
    EXPECT_EQ("hostctl: " + line + "\n", result.err);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(before, settings());
}

void run(const std::vector<std::string>& command)
{
    const CommandResult result = runCommand(command);
    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_EQ("", result.out);
}

// What a call of readlink or readlinkat answered: its result, errno, and the buffer behind it.
struct LinkRead {
    ssize_t result;
    int error;
    std::string buffer;
};

template <typename Call>
LinkRead readLink(Call call)
{
    LinkRead read = { 0, E2BIG, std::string(80, '#') };
    errno = read.error;
    read.result = call(read.buffer.data());
    read.error = errno;
    return read;
}

void expectTheAnswerOf(const std::string& target, const std::string& path, size_t room)
{
    SCOPED_TRACE(path + " into " + std::to_string(room));
    const LinkRead expected = readLink(
        [&](char* buffer) { return readlinkat(AT_FDCWD, target.c_str(), buffer, room); });
    const LinkRead read
        = readLink([&](char* buffer) { return readlink(path.c_str(), buffer, room); });
    EXPECT_EQ(expected.result, read.result);
    EXPECT_EQ(expected.error, read.error);
    EXPECT_EQ(expected.buffer, read.buffer);
}

class RegionTest : public EchoFixture {
protected:
    // What the application shows, asked until it is that: a running one follows by and by.
    void expectShown(const std::string& text)
    {
        EXPECT_TRUE(session.waitFor([&] {
            launch(kEcho, "ask", { { "show", kTurnOff } });
            return echo.count("shows " + text) > 0;
        })) << text;
    }
};

} // namespace

TEST_F(RegionTest, ALocaleIsLanguageAndRegion)
{
    for (const char* locale : { "ko_KR", "en_GB.UTF-8", "fa_IR", "zh_Hans_CN", "de", "es_419" }) {
        run({ "hostctl", "locale", locale });
        const std::string name = std::string(locale).substr(0, std::string(locale).find('.'));
        EXPECT_EQ(name + ".UTF-8", setting("db/menu_widget/language"));
        EXPECT_EQ(name + ".UTF-8", setting("db/menu_widget/regionformat"));
    }
}

struct LocaleCase {
    const char* name;
    const char* locale;
    std::optional<std::string> setting;
};
class LocaleSettingTest : public testing::TestWithParam<LocaleCase> {};

TEST_P(LocaleSettingTest, IsInThePlatformsForm)
{
    EXPECT_EQ(GetParam().setting, host::localeSetting(GetParam().locale));
}

INSTANTIATE_TEST_SUITE_P(Table, LocaleSettingTest,
    testing::Values(LocaleCase{ "Bare", "en_GB", "en_GB.UTF-8" },
        LocaleCase{ "AsItIs", "en_GB.UTF-8", "en_GB.UTF-8" },
        LocaleCase{ "AnotherSpelling", "en_GB.utf8", "en_GB.UTF-8" },
        LocaleCase{ "AnotherCharacterSet", "de_DE.ISO-8859-15", "de_DE.UTF-8" },
        LocaleCase{ "Modifier", "de_DE.utf8@euro", "de_DE.UTF-8" },
        LocaleCase{ "ModifierOfAScript", "sr_RS.UTF-8@latin", "sr_Latn_RS.UTF-8" },
        LocaleCase{ "Script", "zh_Hans_CN", "zh_Hans_CN.UTF-8" },
        LocaleCase{ "LanguageAlone", "eo.UTF-8", "eo.UTF-8" },
        LocaleCase{ "RegionOfDigits", "es_419", "es_419.UTF-8" },
        LocaleCase{ "C", "C", std::nullopt }, LocaleCase{ "CWithSet", "C.UTF-8", std::nullopt },
        LocaleCase{ "Posix", "POSIX", std::nullopt }, LocaleCase{ "Empty", "", std::nullopt },
        LocaleCase{ "Word", "korean", std::nullopt },
        LocaleCase{ "Path", "/usr/share/locale/ko", std::nullopt },
        LocaleCase{ "TwoLines", "ko_KR\nde_DE", std::nullopt }),
    [](const auto& row) { return row.param.name; });

TEST_F(RegionTest, ANewDeviceSpeaksTheCallersLanguageAsThePlatformWritesIt)
{
    const auto settingOf = [](const std::string& variable, const char* key) {
        return runCommand({ "env", "-u", "LC_ALL", "-u", "LC_TIME", "-u", "LC_MESSAGES", variable,
                              "host-session", "hostctl", "key", "get", key })
            .out;
    };
    EXPECT_EQ("en_GB.UTF-8\n", settingOf("LANG=en_GB.utf8", "db/menu_widget/language"));
    EXPECT_EQ("de_DE.UTF-8\n", settingOf("LC_TIME=de_DE@euro", "db/menu_widget/regionformat"));
    EXPECT_EQ("en_US.UTF-8\n", settingOf("LC_ALL=C.UTF-8", "db/menu_widget/regionformat"));
}

TEST_F(RegionTest, ALocaleIsSetInBothKeysOrInNone)
{
    run({ "hostctl", "locale", "ko_KR" });
    const char* const refuse = "CREATE TRIGGER refuse BEFORE INSERT ON setting "
                               "WHEN NEW.key = 'db/menu_widget/regionformat' "
                               "BEGIN SELECT RAISE(ABORT, 'refused'); END";
    const std::string file = host::homePath() + "settings.db";
    ASSERT_EQ(0, runCommand({ "sqlite3", file, refuse }).status);

    const CommandResult result = runCommand({ "hostctl", "locale", "de_DE" });

    ASSERT_EQ(0, runCommand({ "sqlite3", file, "DROP TRIGGER refuse" }).status);
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("hostctl: refused\n", result.err);
    EXPECT_EQ("ko_KR.UTF-8", setting("db/menu_widget/language"));
    EXPECT_EQ("ko_KR.UTF-8", setting("db/menu_widget/regionformat"));
}

TEST_F(RegionTest, AClockHas12Or24Hours)
{
    run({ "hostctl", "clock", "24" });
    EXPECT_EQ(2, clockSetting());
    run({ "hostctl", "clock", "12" });
    EXPECT_EQ(1, clockSetting());
}

TEST_F(RegionTest, AZoneIsThatOfTheSession)
{
    for (const char* zone : { "Asia/Seoul", "America/Argentina/Ushuaia", "UTC", "Asia/Seoul" }) {
        run({ "hostctl", "zone", zone });
        EXPECT_EQ(zone, host::zoneId());
        EXPECT_EQ("/usr/share/zoneinfo/" + std::string(zone),
            std::filesystem::read_symlink(getenv("ALARM_HOST_LOCALTIME")));
        EXPECT_TRUE(session.waitFor([zone] { return setting("db/setting/timezone_id") == zone; }));
    }
}

TEST_F(RegionTest, BadValuesAreRefused)
{
    const std::string noLocale = " is no locale; it must be a language and a region, such as ko_KR";
    for (const char* locale : { "", "C", "POSIX", "korean", "ko_kr", "ko-KR", "ko_KR.EUC-KR" })
        expectRefused({ "locale", locale }, "\"" + std::string(locale) + "\"" + noLocale);
    expectRefused({ "locale", "ko_KR\nde_DE" }, "\"ko_KR?de_DE\"" + noLocale);
    expectRefused({ "locale" }, "it must be locale LOCALE, such as locale ko_KR");
    expectRefused({ "locale", "ko", "KR" }, "it must be locale LOCALE, such as locale ko_KR");
    for (const char* clock : { "", "13", "12h", "024" }) {
        expectRefused(
            { "clock", clock }, "\"" + std::string(clock) + "\" is no clock; it must be 12 or 24");
    }
    expectRefused({ "clock" }, "it must be clock 12 or clock 24");
    for (const char* zone : { "", "Seoul", "Asia", "Asia/", "../../../etc/passwd", "zone.tab",
             "/usr/share/zoneinfo/Asia/Seoul" }) {
        expectRefused({ "zone", zone },
            "there is no zone \"" + std::string(zone)
                + "\"; it must be one of the zone data's, such as Asia/Seoul");
    }
    expectRefused({ "zone" }, "it must be zone ZONE, such as zone Asia/Seoul");
}

TEST_F(RegionTest, TheHelpNamesThem)
{
    const std::string help = runCommand({ "hostctl", "--help" }).out;
    for (const char* command :
        { "hostctl locale LOCALE", "hostctl clock 12|24", "hostctl zone ZONE" })
        EXPECT_NE(std::string::npos, help.find(command)) << command;
}

TEST_F(RegionTest, ARunningProcessFollowsTheZone)
{
    const time_t instant = 1000000000; // 01:46:40 UTC
    for (int round = 0; round < 3; ++round) {
        run({ "hostctl", "zone", "Asia/Seoul" });
        EXPECT_EQ(10, hourAt(instant));
        run({ "hostctl", "zone", "Europe/Berlin" });
        EXPECT_EQ(3, hourAt(instant));
    }
    tm wall = {};
    wall.tm_year = 101;
    wall.tm_mon = 8;
    wall.tm_mday = 9;
    wall.tm_hour = 3;
    wall.tm_min = 46;
    wall.tm_sec = 40;
    wall.tm_isdst = -1;
    EXPECT_EQ(instant, mktime(&wall));
}

TEST_F(RegionTest, AProcessThatForgetsItsZoneHasTheSessions)
{
    const time_t instant = 1000000000;
    for (const char* zone : { "Asia/Seoul", "America/New_York" }) {
        run({ "hostctl", "zone", zone });
        const int hour = hourAt(instant);
        EXPECT_EQ(std::string(zone) == "Asia/Seoul" ? 10 : 21, hour);
        setenv("TZ", "Asia/Kolkata", 1);
        EXPECT_EQ(7, hourAt(instant));
        EXPECT_STREQ("Asia/Kolkata", getenv("TZ"));
        unsetenv("TZ");
        EXPECT_EQ(hour, hourAt(instant));
        unsetenv("TZ");
        EXPECT_EQ(hour, hourAt(instant));
    }
}

TEST_F(RegionTest, ProcessesThatSetTheZoneTogetherAllSucceed)
{
    const std::string& link = host::zoneLinkPath();
    std::vector<std::unique_ptr<BackgroundCommand>> setters;
    for (const char* zone : { "Asia/Seoul", "Europe/Berlin", "Asia/Seoul", "Europe/Berlin" }) {
        const std::string loop = std::string("for i in $(seq 25); do hostctl zone ") + zone
            + " || exit 1; done; echo all";
        setters.push_back(
            std::make_unique<BackgroundCommand>(std::vector<std::string>{ "bash", "-c", loop }));
    }
    for (const auto& setter : setters) {
        const CommandResult result = setter->finish();
        EXPECT_EQ("all\n", result.out) << result.err;
    }

    const std::filesystem::path folder = std::filesystem::path(link).parent_path();
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path();
        EXPECT_TRUE(name == link || name.compare(0, link.size(), link) != 0) << name;
    }
}

TEST_F(RegionTest, AProcessFollowsARelativeLink)
{
    const std::filesystem::path link = host::zoneLinkPath();
    std::filesystem::remove(link);
    std::filesystem::create_symlink("../../usr/share/zoneinfo/Asia/Seoul", link);

    EXPECT_EQ(10, hourAt(1000000000));
    EXPECT_EQ("10:46", probe({ "icu-time", "1000000000" }));
    session.setZone("Europe/Berlin");
    EXPECT_EQ(3, hourAt(1000000000));
}

TEST_F(RegionTest, ReadingTheZoneLeavesTheErrorOfThePrevious)
{
    std::filesystem::remove(host::zoneLinkPath());
    errno = E2BIG;

    tzset();

    EXPECT_EQ(E2BIG, errno);
    session.setZone("Europe/Berlin");
}

TEST_F(RegionTest, TheWatchsZoneLinkIsTheSessions)
{
    const std::string& link = host::zoneLinkPath();
    session.setZone("Asia/Seoul");
    char target[80] = {};
    EXPECT_EQ(30, readlink("/opt/etc/localtime", target, sizeof target));
    EXPECT_STREQ("/usr/share/zoneinfo/Asia/Seoul", target);
    for (const size_t room : { 80, 31, 30, 29, 1, 0 })
        expectTheAnswerOf(link, "/opt/etc/localtime", room);

    std::filesystem::remove(link);
    EXPECT_EQ(-1, readlink("/opt/etc/localtime", target, sizeof target));
    EXPECT_EQ(ENOENT, errno);
    std::ofstream(link) << "no link";
    expectTheAnswerOf(link, "/opt/etc/localtime", 80);
    std::filesystem::remove(link);
    session.setZone("Europe/Berlin");
}

TEST_F(RegionTest, AnyOtherLinkIsReadAsItIs)
{
    const TempDir directory;
    const std::string link = directory.file("localtime");
    std::filesystem::create_symlink("/opt/etc/localtime", link);

    for (const std::string& path : { link, directory.file("absent"), directory.path(),
             std::string("/opt/etc/localtime/"), std::string("/opt//etc/localtime"),
             std::string("/opt/etc/localtim"), std::string("/proc/self/exe"), std::string() }) {
        for (const size_t room : { 80, 5, 0 })
            expectTheAnswerOf(path, path, room);
    }
}

TEST_F(RegionTest, IcusDefaultZoneIsTheSessions)
{
    run({ "hostctl", "zone", "America/New_York" });
    EXPECT_EQ("21:46", probe({ "icu-time", "1000000000" }));
    EXPECT_EQ("10:46", probe({ "icu-time", "1000000000" }, { { "TZ", "Asia/Seoul" } }));
    EXPECT_EQ("21:46", probe({ "icu-time", "1000000000" }, { { "TZ", std::nullopt } }));
}

TEST_F(RegionTest, IcusDefaultZoneStaysThatOfItsFirstUseInTheProcess)
{
    const time_t instant = 1000000000;
    const std::string first = icuTime("en_GB", instant);

    run({ "hostctl", "zone", "Asia/Seoul" });
    EXPECT_EQ(10, hourAt(instant)); // the C library follows
    EXPECT_EQ(first, icuTime("en_GB", instant));
    EXPECT_EQ(first, icuTime("de_DE", instant));
    run({ "hostctl", "zone", "America/New_York" });
    EXPECT_EQ(21, hourAt(instant));
    EXPECT_EQ(first, icuTime("fr_FR", instant));

    setenv("TZ", "Asia/Kolkata", 1);
    EXPECT_EQ(7, hourAt(instant));
    EXPECT_EQ(first, icuTime("pl_PL", instant));
    unsetenv("TZ");
    EXPECT_EQ(first, icuTime("ru_RU", instant));
}

TEST_F(RegionTest, AnApplicationSpeaksTheDevicesLanguage)
{
    run({ "hostctl", "locale", "de_DE" });
    expectShown("Ausschalten de_DE");
    run({ "hostctl", "locale", "zh_CN" });
    expectShown("关闭 zh_CN");
    run({ "hostctl", "locale", "zh_Hans_CN" });
    expectShown("关闭 zh_Hans_CN");
    run({ "hostctl", "locale", "pt_BR" });
    expectShown("Desativar pt_BR");
}

TEST_F(RegionTest, ALanguageWithoutTextsSpeaksEnglish)
{
    for (const char* locale : { "en_US", "eu_ES", "zh_TW" }) {
        run({ "hostctl", "locale", locale });
        expectShown("Turn off " + std::string(locale));
    }
    run({ "hostctl", "key", "unset", "db/menu_widget/language" });
    run({ "hostctl", "key", "set", "db/menu_widget/regionformat", "str", "fr_FR.UTF-8" });
    expectShown("Turn off fr_FR");
}

TEST_F(RegionTest, AProgramThatIsNoApplicationAsksForTheDevicesLanguage)
{
    const std::string folder = host::homePath() + "ro/com.velmora.alarm/res/locale";
    const std::vector<std::string> texts
        = { "texts", folder, "alarm-merid", kTurnOff, "ko_KR", "zh_Hans_CN", "eu_ES", "ko_KR" };

    EXPECT_EQ("끄기 (C.UTF-8), 关闭 (C.UTF-8), Turn off (C.UTF-8), 끄기 (C.UTF-8)",
        probe(texts, { { "LC_ALL", "POSIX" }, { "LANGUAGE", "fr" } }));
}

TEST_F(RegionTest, TextsNeedADomainAndAFolder)
{
    const auto refused = [](const char* domain, const char* folder) {
        errno = 0;
        return appcore_set_i18n(domain, folder) == -1 && errno == EINVAL;
    };
    EXPECT_TRUE(refused(nullptr, "/usr/share/locale"));
    EXPECT_TRUE(refused("", "/usr/share/locale"));
    EXPECT_TRUE(refused("alarm-merid", nullptr));
}
