#include "CommandStory.h"
#include "common/Values.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <list>
#include <set>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

const char* const kList = R"({"operation":"list","withAlert":true})";

// A time of day that is not reached while a test runs.
std::string timeInHours(int hours)
{
    const time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    return clockText((local.tm_hour + hours) % 24, 30);
}

std::string addition(const std::string& time, const std::string& days = "2,3,4,5,6")
{
    return R"({"operation":"add","time":")" + time + R"(","repeat":")" + days
        + R"(","name":"Work","withAlert":true})";
}

const std::string kTime = timeInHours(12);
const std::string kWork = addition(kTime);

std::string localDate(time_t instant)
{
    tm local = {};
    localtime_r(&instant, &local);
    char text[32];
    strftime(text, sizeof text, "%Y-%m-%d", &local);
    return text;
}

std::string daysAhead(int days) { return localDate(time(nullptr) + days * 24L * 60 * 60); }

struct BadCase {
    const char* name;
    std::string request;
    const char* reason;
};

} // namespace

class VoiceTest : public CommandStory {
protected:
    /// The reply to a request that ends with the status.
    static std::string reply(const std::string& request, int status = 0)
    {
        const CommandResult result = alarm({ "voice", "--", request });
        EXPECT_EQ(status, result.status) << result.err;
        if (status == 0) {
            EXPECT_EQ("", result.err);
        } else {
            EXPECT_THAT(result.err, StartsWith("alarm: "));
        }
        EXPECT_THAT(result.out, testing::MatchesRegex("\\{[^\n]*\\}\n"));
        return result.out;
    }

    std::string failure(const std::string& json)
    {
        EXPECT_EQ("failure", member(json, "$.result"));
        return member(json, "$.description");
    }

    /// The wall time, in the device's zone, of a reply's alarm.
    std::string timeOf(const std::string& json, int at = 0)
    {
        return store->query("SELECT datetime(json_extract(?, '$.alarms[" + std::to_string(at)
                + "].time') / 1000, 'unixepoch')",
            json);
    }
};

TEST_F(VoiceTest, AddedAlarmIsStoredRegisteredAndDescribed)
{
    session.setZone("Asia/Tokyo"); // which the machine's is not
    const int hour = static_cast<int>((time(nullptr) / 3600 + 9 + 12) % 24); // in half a day, there

    const std::string json = reply(addition(clockText(hour, 30)));

    const auto registered = session.alarms();
    ASSERT_THAT(registered, SizeIs(1));
    EXPECT_EQ("com.velmora.alarm-alert", registered[0].application);
    EXPECT_EQ(hour, registered[0].hour);
    EXPECT_EQ(30, registered[0].minute);
    EXPECT_EQ(62, registered[0].weekFlag);
    const std::string next = std::to_string(registered[0].next);
    EXPECT_EQ(std::to_string(registered[0].id) + " " + next + " " + next + " 1 "
            + std::to_string(hour) + " 30 0 62 Work 1 10 2 Asia/Tokyo",
        store->query("SELECT alarm_mgr_id, stime, atime, enable, hour, min, repeat_once,"
                     " repeat_weekly, name, snooze_enable, volume, deviceType, timezone"
                     " FROM alarm"));
    const std::string wall = std::to_string((registered[0].next + 9 * 60 * 60) * 1000);
    EXPECT_EQ(R"({"result":"success","description":"","alarms":[{"id":1,"time":)" + wall
            + R"(,"name":"Work","repeatDays":[{"day":"Monday"},{"day":"Tuesday"},)"
              R"({"day":"Wednesday"},{"day":"Thursday"},{"day":"Friday"}],"isRepeat":true,)"
              R"("enabled":true,"snoozeDuration":5}],"alarmAlert":true})"
              "\n",
        json);
}

TEST_F(VoiceTest, NewAlarmIsDescribedUnlessItIsNotAskedFor)
{
    const std::string add
        = R"({"operation":"add","time":"09:00","repeat":"1","withAlert":true,"withAlarm":false})";

    EXPECT_EQ(R"({"result":"success","description":"","alarmAlert":true})"
              "\n",
        reply(add));
    EXPECT_EQ("1", member(reply(add, 1), "$.alarms[0].id")); // the same is always described
}

TEST_F(VoiceTest, ReplyThatCannotBeWrittenUndoesNothing)
{
    const CommandResult result
        = runCommand({ "bash", "-c", "exec alarm voice '" + kWork + "' >/dev/full" });

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("alarm: the result cannot be written\n", result.err);
    EXPECT_EQ("Work 1", store->query("SELECT name, enable FROM alarm"));
    EXPECT_THAT(session.alarms(), SizeIs(1));
    EXPECT_EQ("SameAlarmExist", failure(reply(kWork, 1)));
}

TEST_F(VoiceTest, SameAlarmIsToldOfAndNotAddedAgain)
{
    reply(kWork);
    const std::string version = store->version();

    const CommandResult again = alarm({ "voice", kWork });

    EXPECT_EQ(1, again.status);
    EXPECT_EQ("alarm: alarm 1 rings at that time already\n", again.err);
    EXPECT_EQ("SameAlarmExist", failure(again.out));
    EXPECT_EQ("1", member(again.out, "$.alarms[0].id"));
    EXPECT_EQ("1", member(again.out, "$.alarms[0].enabled"));
    EXPECT_EQ("1", member(again.out, "$.alarmAlert"));
    EXPECT_THAT(timeOf(again.out), testing::EndsWith(" " + kTime + ":00"));
    EXPECT_EQ(version, store->version());
    EXPECT_EQ("1", store->query("SELECT count(*) FROM alarm"));
    EXPECT_THAT(session.alarms(), SizeIs(1));

    reply(addition(kTime, "2,3,4,5"));
    reply(addition(timeInHours(13)));
    EXPECT_EQ("3", store->query("SELECT count(*) FROM alarm"));
}

TEST_F(VoiceTest, AlarmThatWillNotRingDoesNotStandInTheWay)
{
    reply(kWork);
    alarmOutput({ "off", "1" });
    EXPECT_EQ("2", member(reply(kWork), "$.alarms[0].id"));

    store->query("UPDATE alarm SET deviceType = 1, alarm_mgr_id = -1 WHERE id = 2");
    EXPECT_EQ("0", member(reply(kList), "$.alarmAlert"));
    EXPECT_EQ("3", member(reply(kWork), "$.alarms[0].id"));

    store->query("UPDATE alarm SET deviceType = 1 WHERE id = 3");
    EXPECT_EQ("1", member(reply(kList), "$.alarmAlert"));
    const std::string same = reply(kWork, 1);
    EXPECT_EQ("SameAlarmExist", failure(same));
    EXPECT_EQ("3", member(same, "$.alarms[0].id"));
    EXPECT_EQ("1", member(same, "$.alarmAlert"));
    EXPECT_EQ("3", store->query("SELECT count(*) FROM alarm"));
}

TEST_F(VoiceTest, AlarmThatRingsOnceIsOfItsDate)
{
    session.setZone("Pacific/Kiritimati"); // a day ahead of most
    setenv("TZ", ":Pacific/Kiritimati", 1);
    tzset();
    const std::string date = daysAhead(3);

    const std::string json = reply(
        R"({"operation":"add","time":"00:05","date":")" + date + R"(","snoozeDuration":0})");

    EXPECT_EQ(date + " 00:05:00", timeOf(json));
    EXPECT_EQ("[]", member(json, "$.alarms[0].repeatDays"));
    EXPECT_EQ("0", member(json, "$.alarms[0].snoozeDuration"));
    EXPECT_EQ("null", member(json, "$.alarmAlert"));
    EXPECT_EQ("1 0", store->query("SELECT repeat_once, snooze_enable FROM alarm"));
    ASSERT_THAT(session.alarms(), SizeIs(1));
    EXPECT_EQ(date, localDate(session.alarms()[0].next));
    EXPECT_EQ("SameAlarmExist",
        failure(reply(R"({"operation":"add","time":"00:05","date":")" + date + "\"}", 1)));
}

TEST_F(VoiceTest, TimeThatIsOverIsMovedByOneDayOnly)
{
    session.setZone("Asia/Tokyo"); // where no clock is changed
    setenv("TZ", ":Asia/Tokyo", 1);
    tzset();
    const time_t minute = time(nullptr) - 60;
    tm past = {};
    localtime_r(&minute, &past);
    char clock[8];
    strftime(clock, sizeof clock, "%H:%M", &past);
    const std::string add = R"({"operation":"add","time":")" + std::string(clock);

    EXPECT_EQ(localDate(minute + 24L * 60 * 60) + " " + clock + ":00",
        timeOf(reply(add + R"(","date":")" + localDate(minute) + "\"}")));

    store->query("DELETE FROM alarm");
    for (const int days : { -7, -2 }) {
        EXPECT_EQ("the time of the alarm is over",
            failure(reply(add + R"(","date":")" + daysAhead(days) + "\"}", 2)));
    }
    EXPECT_EQ("the date of the alarm is more than a week away",
        failure(reply(add + R"(","date":")" + daysAhead(9) + "\"}", 2)));
    EXPECT_EQ("0", store->query("SELECT count(*) FROM alarm"));
    EXPECT_THAT(session.alarms(), SizeIs(1)); // of the row that was deleted
}

TEST_F(VoiceTest, ListHasEveryAlarmWithTheTimeAtWhichItRingsWhoeverStoredIt)
{
    EXPECT_EQ(R"({"result":"success","description":"","alarmAlert":false})"
              "\n",
        reply(kList));
    alarmOutput({ "add", "22:15", "--days", "sun,sat", "--snooze", "0", "--off" });
    alarmOutput({ "add", "06:00", "--days", "daily", "--name", "Run" });
    reply(addition("07:30"));
    store->query("UPDATE alarm SET name = ? WHERE hour = 22", "a\nb");
    store->query("UPDATE alarm SET atime = 0, stime = 0"); // as another program may leave them

    const std::string json = reply(kList);

    EXPECT_EQ("2,3,1",
        store->query("SELECT json_extract(value, '$.id') FROM json_each(?, '$.alarms')", json));
    EXPECT_EQ("Run,Work,a\uFFFDb",
        store->query("SELECT json_extract(value, '$.name') FROM json_each(?, '$.alarms')", json));
    EXPECT_EQ("1,1,0",
        store->query(
            "SELECT json_extract(value, '$.enabled') FROM json_each(?, '$.alarms')", json));
    EXPECT_EQ("5,5,0",
        store->query(
            "SELECT json_extract(value, '$.snoozeDuration') FROM json_each(?, '$.alarms')", json));
    EXPECT_EQ("7,5,2",
        store->query(
            "SELECT json_array_length(value, '$.repeatDays') FROM json_each(?, '$.alarms')", json));
    EXPECT_EQ("06:00:00,07:30:00,22:15:00",
        store->query("SELECT time(json_extract(value, '$.time') / 1000, 'unixepoch')"
                     " FROM json_each(?, '$.alarms')",
            json));
    EXPECT_EQ("1,1,1",
        store->query("SELECT json_extract(value, '$.time') / 1000 BETWEEN"
                     " unixepoch('now', '-1 day') AND unixepoch('now', '+8 days')"
                     " FROM json_each(?, '$.alarms')",
            json));
    EXPECT_EQ("1", member(json, "$.alarmAlert"));

    const std::string one = reply(R"({"operation":"list","id":1,"withAlert":true})");
    EXPECT_EQ("1", store->query("SELECT json_array_length(?, '$.alarms')", one));
    EXPECT_EQ("1", member(one, "$.alarms[0].id"));
    EXPECT_EQ("0", member(one, "$.alarmAlert"));
}

TEST_F(VoiceTest, EightThatAddTheSameAlarmAtOnceAddOne)
{
    std::list<BackgroundCommand> assistants;
    for (int i = 0; i < 8; ++i)
        assistants.emplace_back(std::vector<std::string>{ "alarm", "voice", kWork });
    std::vector<int> statuses;
    std::set<std::string> ids;
    for (BackgroundCommand& assistant : assistants) {
        const CommandResult result = assistant.finish();
        statuses.push_back(result.status);
        ids.insert(member(result.out, "$.alarms[0].id"));
    }

    std::sort(statuses.begin(), statuses.end());
    EXPECT_THAT(statuses, ElementsAre(0, 1, 1, 1, 1, 1, 1, 1));
    EXPECT_THAT(ids, ElementsAre("1"));
    EXPECT_EQ("1", store->query("SELECT count(*) FROM alarm"));
    EXPECT_THAT(session.alarms(), SizeIs(1));
}

TEST_F(VoiceTest, StoreThatFailsIsAFailureAndNotAnEmptyList)
{
    reply(kWork);
    const auto registered = session.alarms();
    {
        const HiddenStore hidden;
        const std::string json = reply(kList, 1);
        EXPECT_EQ("the alarms cannot be read: file is not a database", failure(json));
        EXPECT_EQ("[]", member(json, "$.alarm"));
        EXPECT_EQ("0", member(json, "$.alarmAlert"));
        EXPECT_EQ("the alarms cannot be read: file is not a database",
            failure(reply(R"({"operation":"add","time":"09:00"})", 1)));
    }
    store->query(
        "CREATE TRIGGER refuse BEFORE INSERT ON alarm BEGIN SELECT RAISE(ABORT, 'refused'); END");
    const std::string json = reply(R"({"operation":"add","time":"09:00"})", 1);
    EXPECT_EQ("the change could not be stored", failure(json));
    EXPECT_EQ("null", member(json, "$.alarms"));

    // The alarms fill their page, and the file cannot grow by one for another: the commit fails.
    store->query("DROP TRIGGER refuse");
    for (int i = 0; i < 3; ++i)
        store->query("INSERT INTO alarm (name) VALUES (hex(zeroblob(500)))");
    const std::string request
        = R"({"operation":"add","time":"09:00","name":")" + std::string(1000, 'x') + "\"}";
    const CommandResult full = runCommand({ "bash", "-c",
        "trap '' XFSZ; ulimit -f $(($(stat -c %s " + storePath() + ") / 1024)); exec alarm voice '"
            + request + "'" });
    EXPECT_EQ(1, full.status);
    EXPECT_EQ("the change could not be stored", failure(full.out));

    EXPECT_EQ("Work", store->query("SELECT name FROM alarm WHERE hour IS NOT NULL"));
    EXPECT_THAT(session.alarms(), SizeIs(registered.size()));
}

TEST_F(VoiceTest, RequestThatNeedsNoAlarmsMakesNoStore)
{
    store.reset();
    std::filesystem::remove(storePath());

    EXPECT_EQ(R"({"result":"success","description":""})"
              "\n",
        reply(R"({"operation":"open"})"));
    EXPECT_EQ(R"({"result":"failure","description":"the request is refused: there is no time"})"
              "\n",
        reply(R"({"operation":"add"})", 2));

    EXPECT_FALSE(std::filesystem::exists(storePath()));
}

TEST_F(VoiceTest, StoreThatIsHeldIsAFailureAndNotAnEmptyList)
{
    store->query("BEGIN EXCLUSIVE");
    BackgroundCommand adding({ "alarm", "voice", kWork });

    const std::string json = reply(kList, 1);
    EXPECT_EQ("the alarms cannot be read: database is locked", failure(json));
    EXPECT_EQ("[]", member(json, "$.alarm"));
    const CommandResult added = adding.finish();
    EXPECT_EQ(1, added.status);
    EXPECT_EQ("the change could not be stored: another process keeps the alarms to itself",
        failure(added.out));

    store->query("ROLLBACK");
    EXPECT_EQ("0", store->query("SELECT count(*) FROM alarm"));
    EXPECT_THAT(session.alarms(), IsEmpty());
}

TEST_F(VoiceTest, AlarmServiceThatHangsIsAFailure)
{
    const pid_t daemon = session.daemonPid();
    ASSERT_EQ(0, kill(daemon, SIGSTOP));

    const std::string json = reply(kWork, 1);

    EXPECT_EQ("the alarm service did not take the alarm", failure(json));
    EXPECT_EQ("0", member(json, "$.alarmAlert"));
    EXPECT_EQ("0", store->query("SELECT count(*) FROM alarm"));
    kill(daemon, SIGCONT);
}

TEST_F(VoiceTest, NothingIsAddedBesideAnAlarmThatCannotBeRead)
{
    reply(kWork);
    store->query("ALTER TABLE alarm ADD COLUMN fault"
                 " AS (CASE WHEN id = 1 THEN abs(-9223372036854775808) END)");

    EXPECT_EQ("the alarms cannot be read: integer overflow",
        failure(reply(R"({"operation":"add","time":"09:00"})", 1)));

    EXPECT_EQ("1", store->query("SELECT count(id) FROM alarm"));
    EXPECT_THAT(session.alarms(), SizeIs(1));
}

TEST_F(VoiceTest, AlarmThatIsNotRegisteredIsNotStored)
{
    const CommandResult result = runCommand(
        { "env", "DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere", "alarm", "voice", kWork });

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("alarm: the alarm service did not take the alarm\n", result.err);
    EXPECT_EQ("the alarm service did not take the alarm", failure(result.out));
    EXPECT_EQ("0", member(result.out, "$.alarmAlert"));
    EXPECT_EQ("0", store->query("SELECT count(*) FROM alarm"));
    EXPECT_THAT(session.alarms(), IsEmpty());
}

class VoiceBadInputTest : public VoiceTest, public testing::WithParamInterface<BadCase> {};

TEST_P(VoiceBadInputTest, IsAnsweredAndChangesNothing)
{
    const std::string version = store->version();

    const CommandResult result = alarm({ "voice", "--", GetParam().request });

    EXPECT_EQ(2, result.status);
    EXPECT_EQ("alarm: " + std::string(GetParam().reason) + "\n", result.err);
    EXPECT_EQ(GetParam().reason, failure(result.out));
    EXPECT_EQ(version, store->version());
    EXPECT_THAT(session.alarms(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, VoiceBadInputTest,
    testing::Values(
        BadCase{ "NotJson", "wake me", "the request is refused: it is not one JSON object" },
        BadCase{ "Empty", "", "the request is refused: it is not one JSON object" },
        BadCase{ "LikeAnOption", "-1", "the request is refused: it is not one JSON object" },
        BadCase{ "NotUtf8", "{\"operation\":\"\xff\"}",
            "the request is refused: it is not JSON at byte 15" },
        BadCase{ "Deep", std::string(100000, '['),
            "the request is refused: it is longer than 16384 bytes" },
        BadCase{ "OtherOperation", R"({"operation":"remove","id":1})",
            "the request is refused: unknown operation \"remove\"; operations are open, add, "
            "list" },
        BadCase{ "OtherType", R"({"operation":"add","time":730})",
            "the request is refused: time is of another type" },
        BadCase{ "NoSuchDate", R"({"operation":"add","time":"07:30","date":"2027-02-29"})",
            "the request is refused: \"2027-02-29\" is not a date; one such as 2026-11-23 is, up "
            "to the year 2037" },
        BadCase{ "IdThatIsNoNumber", R"({"operation":"list","id":"first"})",
            "the request is refused: id is of another type" },
        BadCase{ "NoSuchId", R"({"operation":"list","id":7})",
            "there is no alarm 7; alarm list shows all" }),
    [](const auto& row) { return row.param.name; });

TEST_F(VoiceBadInputTest, OpeningSucceedsAndChangesNothing)
{
    const std::string version = store->version();

    EXPECT_EQ("{\"result\":\"success\",\"description\":\"\"}\n", reply(R"({"operation":"open"})"));

    EXPECT_EQ(version, store->version());
}

TEST_F(VoiceBadInputTest, CommandLineWithoutARequestHasNoReply)
{
    const CommandResult none = alarm({ "voice" });
    EXPECT_EQ(2, none.status);
    EXPECT_EQ("", none.out);
    EXPECT_EQ("alarm: voice needs a request; alarm voice --help shows some\n", none.err);

    const CommandResult two = alarm({ "voice", "{}", "{}" });
    EXPECT_EQ(2, two.status);
    EXPECT_EQ("", two.out);
    EXPECT_THAT(two.err, HasSubstr("there is no use for \"{}\""));
}
