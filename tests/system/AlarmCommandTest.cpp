#include "CommandStory.h"

#include <ctime>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

namespace {

std::string repeated(const std::string& text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    for (size_t start = 0; start < text.size();) {
        const size_t end = text.find('\n', start);
        lines.push_back(text.substr(start, end - start));
        start = end == std::string::npos ? text.size() : end + 1;
    }
    return lines;
}

// Two days from now, when zoneWithChange's clock is changed, by one hour at 02:00 or 03:00.
tm dayOfChange()
{
    const time_t then = time(nullptr) + 2L * 24 * 60 * 60;
    tm utc = {};
    gmtime_r(&then, &utc);
    return utc;
}

std::string zoneWithChange(bool forward)
{
    const int day = dayOfChange().tm_yday;
    const std::string change = std::to_string(day);
    const std::string other = std::to_string((day + 180) % 365);
    return forward ? "STD0DST-1," + change + "/2:00:00," + other + "/3:00:00"
                   : "STD0DST-1," + other + "/2:00:00," + change + "/3:00:00";
}

std::string weekdayOf(const tm& day)
{
    static const char* const names[] = { "sun", "mon", "tue", "wed", "thu", "fri", "sat" };
    return names[day.tm_wday];
}

std::string dateOf(const tm& day)
{
    char text[32];
    strftime(text, sizeof text, "%Y-%m-%d", &day);
    return text;
}

} // namespace

const char* const kVendorKey = "db/wms/host_status/vendor";

class AlarmCommandTest : public CommandStory {
protected:
    /// An alarm of the phone that is on and not registered, for an instant in milliseconds.
    void addPhoneAlarm(const std::string& instant)
    {
        alarmOutput({ "add", "07:30", "--off" });
        store->query("UPDATE alarm SET deviceType = 1, enable = 1, stime = ?1 / 1000,"
                     " mobileAlertTime = ?1",
            instant);
    }
};

TEST_F(AlarmCommandTest, AddStoresAndRegisters)
{
    EXPECT_THAT(alarmOutput({ "add", "07:30", "--days", "mon-fri", "--name", "Gym", "--plain" }),
        MatchesRegex("alarm 1 rings ... .. ... 07:30, in .*\n"));

    EXPECT_EQ("7 30 0 62 1 Gym 1 10 3 1 2",
        store->query("SELECT hour, min, repeat_once, repeat_weekly, enable, name, snooze_enable,"
                     " volume, type, smart_alarm_interval, deviceType FROM alarm"));
    const auto registered = session.alarms();
    ASSERT_THAT(registered, SizeIs(1));
    EXPECT_EQ("com.velmora.alarm-alert", registered[0].application);
    EXPECT_EQ(7, registered[0].hour);
    EXPECT_EQ(30, registered[0].minute);
    EXPECT_EQ(0, registered[0].second);
    EXPECT_EQ(62, registered[0].weekFlag);
    EXPECT_EQ(std::to_string(registered[0].id) + " " + std::to_string(registered[0].next),
        store->query("SELECT alarm_mgr_id, stime FROM alarm"));
}

TEST_F(AlarmCommandTest, OneShotIsRegisteredForItsWeekdayOnly)
{
    alarmOutput({ "add", "07:30" });

    const auto registered = session.alarms();
    ASSERT_THAT(registered, SizeIs(1));
    tm local = {};
    const time_t next = registered[0].next;
    localtime_r(&next, &local);
    EXPECT_EQ(1 << local.tm_wday, registered[0].weekFlag);
    EXPECT_EQ("1 " + std::to_string(1 << local.tm_wday),
        store->query("SELECT repeat_once, repeat_weekly FROM alarm"));
}

TEST_F(AlarmCommandTest, InCountsFromNowToTheSecond)
{
    const time_t before = time(nullptr);
    alarmOutput({ "add", "--in", "90m" });
    const time_t after = time(nullptr);

    const auto registered = session.alarms();
    ASSERT_THAT(registered, SizeIs(1));
    EXPECT_GE(registered[0].next, before + 90L * 60);
    EXPECT_LE(registered[0].next, after + 90L * 60);
    EXPECT_EQ(std::to_string(registered[0].next), store->query("SELECT stime FROM alarm"));
}

TEST_F(AlarmCommandTest, AddOffStoresWithoutRegistration)
{
    EXPECT_EQ("alarm 1 is off\n", alarmOutput({ "add", "07:30", "--off" }));

    EXPECT_EQ("0 -1", store->query("SELECT enable, alarm_mgr_id FROM alarm"));
    EXPECT_THAT(session.alarms(), IsEmpty());
}

TEST_F(AlarmCommandTest, EveryOptionIsKept)
{
    alarmOutput({ "add", "7:05", "--days", "sat,sun", "--name", "Late", "--tone", "/etc/hostname",
        "--volume", "15", "--type", "1", "--vibration", "5", "--snooze", "0", "--off" });

    const std::string json = alarmOutput({ "show", "1", "--json" });
    EXPECT_EQ("07:05", member(json, "$.time"));
    EXPECT_EQ("sat,sun", member(json, "$.days"));
    EXPECT_EQ("Late", member(json, "$.name"));
    EXPECT_EQ("/etc/hostname", member(json, "$.tone"));
    EXPECT_EQ("15", member(json, "$.volume"));
    EXPECT_EQ("1", member(json, "$.type"));
    EXPECT_EQ("5", member(json, "$.vibration"));
    EXPECT_EQ("0", member(json, "$.snooze"));
    EXPECT_EQ("0", member(json, "$.enabled"));
    EXPECT_EQ("off", member(json, "$.state"));
    EXPECT_EQ("null", member(json, "$.next"));
}

TEST_F(AlarmCommandTest, ListIsATableByTimeOfDay)
{
    EXPECT_EQ("no alarms\n", alarmOutput({ "list" }));
    alarmOutput({ "add", "22:15", "--days", "mon,wed,fri", "--off", "--name", "日本語" });
    alarmOutput({ "add", "06:00", "--days", "daily", "--off", "--name", repeated("⏰", 100) });

    EXPECT_THAT(linesOf(alarmOutput({ "list", "--plain" })),
        ElementsAre("ID  TIME   DAYS         STATE  NEXT  NAME",
            "2   06:00  daily        off    -     " + repeated("⏰", 31) + "…",
            "1   22:15  mon,wed,fri  off    -     日本語"));
}

TEST_F(AlarmCommandTest, ListAsJsonIsAnArray)
{
    EXPECT_EQ("[]\n", alarmOutput({ "list", "--json" }));
    alarmOutput({ "add", "22:15", "--off" });
    alarmOutput({ "add", "06:00", "--off" });

    const std::string json = alarmOutput({ "list", "--json" });
    EXPECT_EQ("2", store->query("SELECT json_array_length(?)", json));
    EXPECT_EQ("2", member(json, "$[0].id"));
    EXPECT_EQ("22:15", member(json, "$[1].time"));
}

TEST_F(AlarmCommandTest, EditChangesWhatIsGivenAndRegistersAnew)
{
    alarmOutput({ "add", "07:30", "--days", "mon-fri", "--name", "Gym", "--volume", "7" });
    const auto before = session.alarms();

    alarmOutput({ "edit", "1", "08:45", "--name", "Work" });

    EXPECT_EQ(
        "8 45 62 Work 7", store->query("SELECT hour, min, repeat_weekly, name, volume FROM alarm"));
    const auto after = session.alarms();
    ASSERT_THAT(after, SizeIs(1));
    EXPECT_NE(before[0].id, after[0].id);
    EXPECT_EQ(8, after[0].hour);
    EXPECT_EQ(45, after[0].minute);
    EXPECT_EQ(std::to_string(after[0].id), store->query("SELECT alarm_mgr_id FROM alarm"));
}

TEST_F(AlarmCommandTest, EditThatTouchesNoTimeKeepsTheRegistration)
{
    alarmOutput({ "add", "07:30", "--days", "mon-fri" });
    alarmOutput({ "add", "--in", "2h" });
    alarmOutput({ "add", "08:00", "--off" });
    store->query("UPDATE alarm SET stime = stime - 7 * 86400 WHERE id <> 2");
    const std::string timing
        = "SELECT alarm_mgr_id, stime, hour, min, repeat_weekly, enable FROM alarm ORDER BY id";
    const std::string before = store->query(timing);

    for (const char* id : { "1", "2", "3" })
        alarmOutput({ "edit", id, "--name", "New", "--volume", "3" });

    EXPECT_EQ("New 3,New 3,New 3", store->query("SELECT name, volume FROM alarm"));
    EXPECT_EQ(before, store->query(timing));
    EXPECT_THAT(session.alarms(), SizeIs(2));
}

TEST_F(AlarmCommandTest, OnRegistersAnewWhatIsOn)
{
    alarmOutput({ "add", "07:30", "--days", "daily" });
    const int before = session.alarms().at(0).id;

    alarmOutput({ "on", "1" });

    const auto after = session.alarms();
    ASSERT_THAT(after, SizeIs(1));
    EXPECT_NE(before, after[0].id);
    EXPECT_EQ(std::to_string(after[0].id), store->query("SELECT alarm_mgr_id FROM alarm"));
}

TEST_F(AlarmCommandTest, EditMakesAWeeklyAlarmAOneShotAndBack)
{
    alarmOutput({ "add", "07:30", "--days", "daily" });

    alarmOutput({ "edit", "1", "--days", "once" });
    EXPECT_EQ("1 " + std::to_string(session.alarms().at(0).weekFlag),
        store->query("SELECT repeat_once, repeat_weekly FROM alarm"));

    alarmOutput({ "edit", "1", "--days", "fri-mon" });
    EXPECT_EQ("0 99", store->query("SELECT repeat_once, repeat_weekly FROM alarm"));
    EXPECT_EQ(99, session.alarms().at(0).weekFlag);
}

TEST_F(AlarmCommandTest, OffCancelsAndOnRegistersAgain)
{
    alarmOutput({ "add", "07:30" });

    EXPECT_EQ("alarm 1 is off\n", alarmOutput({ "off", "1" }));
    EXPECT_EQ("0 -1", store->query("SELECT enable, alarm_mgr_id FROM alarm"));
    EXPECT_THAT(session.alarms(), IsEmpty());

    EXPECT_THAT(alarmOutput({ "on", "1" }), StartsWith("alarm 1 rings "));
    const auto registered = session.alarms();
    ASSERT_THAT(registered, SizeIs(1));
    EXPECT_EQ("1 " + std::to_string(registered[0].id) + " " + std::to_string(registered[0].next),
        store->query("SELECT enable, alarm_mgr_id, stime FROM alarm"));
}

TEST_F(AlarmCommandTest, RemoveForgetsAndCancels)
{
    alarmOutput({ "add", "07:30", "--name", "Gym" });

    EXPECT_EQ("Gym", member(alarmOutput({ "remove", "1", "--json" }), "$.name"));

    EXPECT_EQ("0", store->query("SELECT count(*) FROM alarm"));
    EXPECT_THAT(session.alarms(), IsEmpty());
}

TEST_F(AlarmCommandTest, NextIsTheEarliestThatIsOn)
{
    EXPECT_EQ("no alarm will ring\n", alarmOutput({ "next" }));
    EXPECT_EQ("null\n", alarmOutput({ "next", "--json" }));
    alarmOutput({ "add", "--in", "3h" });
    alarmOutput({ "add", "--in", "2h" });
    alarmOutput({ "add", "--in", "1h", "--off" });

    EXPECT_EQ("2", member(alarmOutput({ "next", "--json" }), "$.id"));
}

TEST_F(AlarmCommandTest, PhoneAlarmThatDoesNotRingHereIsSilent)
{
    session.setKey(kVendorKey, std::string("another"));
    addPhoneAlarm("0");

    EXPECT_EQ("alarm 1 is on, but stays silent: the phone is not of the watch's make\n",
        alarmOutput({ "on", "1" }));
    EXPECT_EQ("no alarm will ring\n", alarmOutput({ "next" }));
    EXPECT_EQ("null\n", alarmOutput({ "next", "--json" }));
    EXPECT_EQ(
        linesOf(alarmOutput({ "list", "--plain" }))[1], "1   07:30  once  silent  -     phone");
    EXPECT_THAT(alarmOutput({ "show", "1" }),
        AllOf(HasSubstr("\nstate      silent: the phone is not of the watch's make\n"),
            HasSubstr("\nnext       -\n")));
    const std::string json = alarmOutput({ "show", "1", "--json" });
    EXPECT_EQ("1", member(json, "$.enabled"));
    EXPECT_EQ("silent", member(json, "$.state"));
    EXPECT_EQ("null", member(json, "$.next"));

    alarmOutput({ "add", "--in", "100h" });
    EXPECT_EQ("2", member(alarmOutput({ "next", "--json" }), "$.id"));
}

TEST_F(AlarmCommandTest, PhoneAlarmThatTheSettingsKeepSilentIsSilent)
{
    session.setKey(kVendorKey, std::string("velmora"));
    session.setKey("db/alarm/host_alarm_notification_enabled", false);
    addPhoneAlarm("0");

    EXPECT_EQ(
        "alarm 1 is on, but stays silent: the phone's alarms are off in the watch's settings\n",
        alarmOutput({ "on", "1" }));
}

TEST_F(AlarmCommandTest, PhoneAlarmWhoseInstantIsOverIsSilent)
{
    session.setKey(kVendorKey, std::string("velmora"));
    addPhoneAlarm(std::to_string(time(nullptr) - 60) + "000");

    EXPECT_EQ("silent", member(alarmOutput({ "show", "1", "--json" }), "$.state"));
    EXPECT_EQ("alarm 1 is on, but stays silent: its time is over\n",
        alarmOutput({ "edit", "1", "--name", "Late" }));
    EXPECT_EQ("no alarm will ring\n", alarmOutput({ "next" }));
}

TEST_F(AlarmCommandTest, PhoneAlarmOfALaterWeekRingsOnItsDay)
{
    const time_t instant = time(nullptr) + 30L * 24 * 60 * 60;
    session.setKey(kVendorKey, std::string("velmora"));
    addPhoneAlarm(std::to_string(instant) + "000");

    const std::string json = alarmOutput({ "next", "--json" });
    EXPECT_EQ("on", member(json, "$.state"));
    EXPECT_EQ(
        std::to_string(instant), store->query("SELECT strftime('%s', ?)", member(json, "$.next")));
    EXPECT_THAT(alarmOutput({ "next" }), HasSubstr(", in 30 d 0 h"));

    session.setKey(kVendorKey, std::string("another"));
    EXPECT_EQ("null\n", alarmOutput({ "next", "--json" }));
}

TEST_F(AlarmCommandTest, NameOfAPhoneAlarmIsNoLongerThanThePhoneTakes)
{
    const std::string longest(1000, 'n');
    alarmOutput({ "add", "07:30", "--name", longest + "n", "--off" });
    store->query("UPDATE alarm SET deviceType = 1, name = 'Work'");

    const CommandResult result = alarm({ "edit", "1", "08:30", "--name", longest + "n" });

    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("alarm: the name of a phone's alarm has at most 1000 bytes\n", result.err);
    EXPECT_EQ("7 Work", store->query("SELECT hour, name FROM alarm"));
    alarmOutput({ "edit", "1", "--name", longest });
    EXPECT_EQ(longest, store->query("SELECT name FROM alarm"));
}

TEST_F(AlarmCommandTest, SavesNeverShareAModificationTime)
{
    for (int i = 0; i < 5; ++i)
        alarmOutput({ "add", "07:30", "--off" });
    alarmOutput({ "remove", "5" });
    alarmOutput({ "edit", "2", "--name", "again" });

    EXPECT_EQ("4", store->query("SELECT count(DISTINCT mtime) FROM alarm"));
    EXPECT_EQ("2", store->query("SELECT id FROM alarm ORDER BY mtime DESC LIMIT 1"));
}

TEST_F(AlarmCommandTest, SkippedWallTimeRingsAtTheEndOfTheGap)
{
    setenv("TZ", zoneWithChange(true).c_str(), 1);
    const tm day = dayOfChange();

    const std::string json = alarmOutput({ "add", "02:30", "--days", weekdayOf(day), "--json" });

    EXPECT_EQ(dateOf(day) + "T03:00:00+01:00", member(json, "$.next"));
}

TEST_F(AlarmCommandTest, DoubledWallTimeRingsTheFirstTime)
{
    setenv("TZ", zoneWithChange(false).c_str(), 1);
    const tm day = dayOfChange();

    const std::string json = alarmOutput({ "add", "02:30", "--days", weekdayOf(day), "--json" });

    EXPECT_EQ(dateOf(day) + "T02:30:00+01:00", member(json, "$.next"));
}

TEST_F(AlarmCommandTest, HelpOfEveryCommandIsPrinted)
{
    EXPECT_THAT(alarmOutput({ "--help" }), HasSubstr("alarm watch"));
    for (const char* command : { "add", "list", "show", "edit", "on", "off", "remove", "next",
             "snooze", "dismiss", "watch", "voice" }) {
        EXPECT_THAT(
            alarmOutput({ command, "--help" }), StartsWith("alarm " + std::string(command)));
    }
}

TEST_F(AlarmCommandTest, StoreThatIsNoneIsToldApartFromAnEmptyOne)
{
    store->query("PRAGMA user_version = 2");
    store->query("DROP TABLE alarm");

    const CommandResult result = alarm({ "list" });

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("alarm: the alarms cannot be read: no such table: alarm\n", result.err);
}

TEST_F(AlarmCommandTest, AlarmThatCannotBeReadIsNotTakenForNone)
{
    alarmOutput({ "add", "07:30", "--days", "daily" });
    store->query("ALTER TABLE alarm RENAME COLUMN isDeleted TO gone");

    for (const char* command : { "show", "on", "off", "remove" }) {
        const CommandResult result = alarm({ command, "1" });
        EXPECT_EQ(1, result.status) << command;
        EXPECT_THAT(result.err, testing::HasSubstr("cannot be read")) << command;
    }
    EXPECT_THAT(session.alarms(), SizeIs(1));
}

TEST_F(AlarmCommandTest, ResultThatCannotBeWrittenIsAFailure)
{
    alarmOutput({ "add", "07:30" });

    for (const char* command :
        { "list", "list --json", "show 1", "watch", "--help", R"(voice '{"operation":"list"}')" }) {
        const CommandResult result
            = runCommand({ "bash", "-c", "exec alarm " + std::string(command) + " >/dev/full" });
        EXPECT_EQ(1, result.status) << command;
        EXPECT_EQ("alarm: the result cannot be written\n", result.err) << command;
    }
}

TEST_F(AlarmCommandTest, MessageCannotBeTurnedOrBroken)
{
    // Overrides, isolates, the separators of lines and paragraphs.
    EXPECT_THAT(alarm({ "add", "a\u202A\u202Eb\u2066\u2069c\u2028d\u2029e" }).err,
        StartsWith("alarm: \"a��b��c�d�e\" is not a time of day"));
}

TEST_F(AlarmCommandTest, NameOfAnotherWriterCannotTurnOrBreakItsLine)
{
    const std::string name = "a\nb\u0085c\u202A\u202Ed\u2066\u2069e\u2028f\u2029g";
    const std::string shown = "a�b�c��d��e�f�g";
    alarmOutput({ "add", "07:30", "--off" });
    store->query("UPDATE alarm SET name = ?", name);

    EXPECT_THAT(linesOf(alarmOutput({ "list" }))[1], testing::EndsWith("  " + shown));
    EXPECT_THAT(alarmOutput({ "show", "1" }), HasSubstr("\nname       " + shown + "\n"));
    EXPECT_EQ(name, member(alarmOutput({ "show", "1", "--json" }), "$.name"));
}

struct NameCase {
    const char* name;
    std::string text;
};

class AlarmNameTest : public CommandStory, public testing::WithParamInterface<NameCase> {};

TEST_P(AlarmNameTest, IsShownExactly)
{
    const std::string& text = GetParam().text;
    alarmOutput({ "add", "07:30", "--name", text });

    EXPECT_EQ(text, store->query("SELECT name FROM alarm"));
    const std::string json = alarmOutput({ "list", "--json" });
    EXPECT_EQ("1", store->query("SELECT json_valid(?)", json));
    EXPECT_EQ(text, member(json, "$[0].name"));
    EXPECT_THAT(alarmOutput({ "show", "1" }), HasSubstr("\nname       " + text + "\n"));
}

INSTANTIATE_TEST_SUITE_P(Table, AlarmNameTest,
    testing::Values(NameCase{ "Quotes", "it's \"quoted\" '' \\ `" },
        NameCase{ "Percent", "100% %s %d %n %q %%" },
        NameCase{ "Emoji", "👨‍👩‍👧 🏋️ e\u0301" },
        NameCase{ "Blanks", "  two  and trailing  " }, NameCase{ "Dashes", "--json" },
        NameCase{ "Long", repeated("a", 10000) }, NameCase{ "LongWide", repeated("漢", 10000) }),
    [](const auto& row) { return row.param.name; });

struct BadCase {
    const char* name;
    std::vector<std::string> arguments;
    const char* reason; ///< part of the line
};

/// The first case makes the alarm that none of them may touch.
class AlarmBadInputTest : public CommandStory, public testing::WithParamInterface<BadCase> {
protected:
    AlarmBadInputTest()
    {
        if (session.alarms().empty())
            alarmOutput({ "add", "07:30", "--days", "daily" });
    }
};

TEST_P(AlarmBadInputTest, IsRefusedInOneLine)
{
    const std::string version = store->version();
    const auto registered = session.alarms();

    const CommandResult result = alarm(GetParam().arguments);

    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(linesOf(result.err),
        ElementsAre(AllOf(StartsWith("alarm: "), HasSubstr(GetParam().reason))));
    EXPECT_EQ(version, store->version());
    ASSERT_THAT(session.alarms(), SizeIs(1));
    EXPECT_EQ(registered[0].id, session.alarms()[0].id);
}

INSTANTIATE_TEST_SUITE_P(Table, AlarmBadInputTest,
    testing::Values(BadCase{ "Nothing", {}, "commands are add, list" },
        BadCase{ "Command", { "sing" }, "unknown command \"sing\"" },
        BadCase{ "Option", { "list", "--loud" }, "unknown option \"--loud\"" },
        BadCase{ "NoTime", { "add" }, "add needs a time of day" },
        BadCase{ "Hour25", { "add", "25:00" }, "00:00 to 23:59" },
        BadCase{ "Minute60", { "add", "07:60" }, "00:00 to 23:59" },
        BadCase{ "ShortMinute", { "add", "07:5" }, "00:00 to 23:59" },
        BadCase{ "TimeIsText", { "add", "noon" }, "00:00 to 23:59" },
        BadCase{ "TwoTimes", { "add", "07:00", "08:00" }, "no use for \"08:00\"" },
        BadCase{ "TimeAndIn", { "add", "07:00", "--in", "5m" }, "not both" },
        BadCase{ "InWithDays", { "add", "--in", "5m", "--days", "daily" }, "rings once" },
        BadCase{ "InZero", { "add", "--in", "0s" }, "5s, 10m or 2h" },
        BadCase{ "InWithoutUnit", { "add", "--in", "5" }, "5s, 10m or 2h" },
        BadCase{ "InTooLong", { "add", "--in", "168h" }, "up to 167h" },
        BadCase{ "InHuge", { "add", "--in", "99999999999999999999h" }, "up to 167h" },
        BadCase{ "Day", { "add", "07:00", "--days", "mon-someday" }, "unknown day \"someday\"" },
        BadCase{ "NoDay", { "add", "07:00", "--days", "" }, "unknown day" },
        BadCase{ "Volume", { "add", "07:00", "--volume", "16" }, "from 0 to 15" },
        BadCase{ "VolumeNegative", { "add", "07:00", "--volume", "-1" }, "from 0 to 15" },
        BadCase{ "VolumeText", { "add", "07:00", "--volume", "loud" }, "from 0 to 15" },
        BadCase{ "Type", { "add", "07:00", "--type", "0" }, "from 1 to 3" },
        BadCase{ "Vibration", { "add", "07:00", "--vibration", "6" }, "from 1 to 5" },
        BadCase{ "Snooze", { "add", "07:00", "--snooze", "5" }, "from 0 to 1" },
        BadCase{ "NoValue", { "add", "07:00", "--name" }, "--name needs a value" },
        BadCase{ "NoTone", { "add", "07:00", "--tone", "/no/such.ogg" }, "no tone file" },
        BadCase{ "ToneIsFolder", { "add", "07:00", "--tone", "/" }, "not a file" },
        BadCase{ "NameWithNewline", { "add", "07:00", "--name", "a\nb" }, "control characters" },
        BadCase{ "NameWithEscape", { "add", "07:00", "--name", "a\033[1m" }, "control" },
        BadCase{ "NameNotUtf8", { "add", "07:00", "--name", "a\xFF" }, "UTF-8" },
        BadCase{ "NameSurrogate", { "add", "07:00", "--name", "\xED\xA0\x80" }, "UTF-8" },
        BadCase{ "NameC1", { "add", "07:00", "--name", "\xC2\x85" }, "control characters" },
        BadCase{ "NameLineSeparator", { "add", "07:00", "--name", "a\u2028b" }, "one line" },
        BadCase{ "NameParagraph", { "add", "07:00", "--name", "a\u2029b" }, "one line" },
        BadCase{ "NameOverride", { "edit", "1", "--name", "a\u202Eb" }, "marks that reorder it" },
        BadCase{
            "NameEmbedding", { "add", "07:00", "--name", "a\u202Ab" }, "marks that reorder it" },
        BadCase{ "NameIsolate", { "add", "07:00", "--name", "a\u2066b" }, "marks that reorder it" },
        BadCase{
            "NameIsolateEnd", { "add", "07:00", "--name", "\u2069" }, "marks that reorder it" },
        BadCase{ "ShowUnknown", { "show", "9" }, "no alarm 9" },
        BadCase{ "EditUnknown", { "edit", "9", "07:00" }, "no alarm 9" },
        BadCase{ "OnUnknown", { "on", "9" }, "no alarm 9" },
        BadCase{ "OffUnknown", { "off", "9" }, "no alarm 9" },
        BadCase{ "RemoveUnknown", { "remove", "9" }, "no alarm 9" },
        BadCase{ "IdIsText", { "remove", "one" }, "\"one\" is not the id" },
        BadCase{ "IdZero", { "off", "0" }, "\"0\" is not the id" },
        BadCase{ "IdHuge", { "off", "4294967297" }, "is not the id" },
        BadCase{ "NoId", { "off" }, "needs the id" },
        BadCase{ "EditNothing", { "edit", "1" }, "something to change" },
        BadCase{ "EditTime", { "edit", "1", "24:00" }, "00:00 to 23:59" },
        BadCase{ "OptionOfAnother", { "list", "--days", "mon" }, "for add and edit" }),
    [](const auto& row) { return row.param.name; });
