#include "CommandStory.h"

#include <AlarmCompanion.h>
#include <AlarmTime.h>
#include <algorithm>
#include <bundle.h>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <map>
#include <sqlite3.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

const char* const kService = "com.velmora.alarm-service";
const char* const kAssist = "com.velmora.alarm-assist";
const char* const kTag = "alarmUpcomingTag";
const char* const kContextKey = "contextMgrId";

// The request in an encoded bundle, as who is launched by it gets it.
std::map<std::string, std::string> requestIn(const std::string& encoded)
{
    const std::unique_ptr<bundle, int (*)(bundle*)> decoded(
        bundle_decode(
            reinterpret_cast<const bundle_raw*>(encoded.data()), static_cast<int>(encoded.size())),
        bundle_free);
    std::map<std::string, std::string> request;
    for (const char* key : { "__APP_SVC_OP_TYPE__", "__APP_SVC_PKG_NAME__", "context", "caller",
             "operation", "alarm_id" }) {
        char* value = nullptr;
        if (bundle_get_str(decoded.get(), key, &value) == BUNDLE_ERROR_NONE)
            request[key] = value;
    }
    return request;
}

class AlarmCardTest : public CommandStory {
protected:
    void startService()
    {
        hostctl({ "launch", kService });
        ASSERT_TRUE(waitForLog("upcoming alarm"));
    }

    static std::string hostctl(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "hostctl");
        const CommandResult result = runCommand(arguments);
        EXPECT_EQ(0, result.status) << result.err;
        return result.out;
    }

    /// The card of the upcoming alarm; there must not be two.
    std::optional<HostSession::Card> card()
    {
        std::vector<HostSession::Card> found;
        // The text is asked for by a second call, and the card may be another one by then.
        do {
            found = session.cards();
            found.erase(std::remove_if(found.begin(), found.end(),
                            [](const HostSession::Card& other) { return other.tag != kTag; }),
                found.end());
        } while (!found.empty() && found[0].text.empty());
        EXPECT_LE(found.size(), 1U);
        return found.empty() ? std::nullopt : std::optional<HostSession::Card>(found[0]);
    }

    /// The row id of the alarm that the card is of; -1 without a card.
    int cardsAlarm()
    {
        const auto shown = card();
        if (!shown)
            return -1;
        const std::string clicked = member(shown->text, "$.contents_info.custom_type.clicked");
        return std::stoi(requestIn(clicked)["alarm_id"]);
    }

    bool waitForCardOf(int id)
    {
        return session.waitFor([&] { return cardsAlarm() == id; });
    }

    static std::string timeOn(const HostSession::Card& card)
    {
        return card.body.substr(0, card.body.find('\n'));
    }

    /// An alarm that rings in some seconds and has its card; longer when the machine is too busy.
    int addAlarmWithCard()
    {
        for (const int seconds : { 3, 8, 20 }) {
            const int id = addAlarm({ "--in", std::to_string(seconds) + "s" });
            const std::string line = "the card of alarm " + std::to_string(id) + " is posted";
            if (session.waitFor(
                    [&] { return session.logText().find(line) != std::string::npos; }, seconds))
                return id;
            alarmOutput({ "remove", std::to_string(id) });
        }
        ADD_FAILURE() << "no alarm had a card before it rang";
        return -1;
    }

    int notedContext()
    {
        const auto value = session.preference(kContextKey);
        return value ? std::get<int>(*value) : 0;
    }

    std::string contextOf(int id)
    {
        return store->query("SELECT contextMgrId FROM alarm WHERE id = ?", std::to_string(id));
    }

    /// Waits until so many requests were refused for their senders.
    bool waitForRefusals(int wanted, double seconds = 10)
    {
        return session.waitFor(
            [&] {
                const std::string log = session.logText();
                const std::string line = "is refused: its sender is another application";
                int count = 0;
                for (size_t at = 0; (at = log.find(line, at)) != std::string::npos; ++at)
                    ++count;
                return count == wanted;
            },
            seconds);
    }

    /// Runs the program that asks for the card, as the application of that id.
    void call(const std::string& application, const std::string& package, const char* what)
    {
        const std::string program = callers.file(application);
        if (!std::filesystem::exists(program))
            std::filesystem::copy_file(CARD_CALLER, program);
        HostSession::installProgram(package, program);
        const CommandResult result = runCommand({ program, what });
        EXPECT_EQ(0, result.status) << result.err;
    }

    TempDir callers;
};

} // namespace

TEST_F(AlarmCardTest, CardSaysWhenTheAlarmRingsAndWhatItsTapAndItsButtonDo)
{
    startService();
    const int id = addAlarm({ "--in", "20m" });

    ASSERT_TRUE(waitForCardOf(id));
    EXPECT_EQ(kService, card()->application);
    EXPECT_EQ("Upcoming alarm", card()->title);
    const std::string shown = alarmOutput({ "list" });
    EXPECT_THAT(shown, HasSubstr(timeOn(*card())));
    EXPECT_THAT(card()->buttons, ElementsAre("Turn off"));
    EXPECT_TRUE(std::filesystem::exists(card()->icon)) << card()->icon;
    EXPECT_TRUE(session.waitFor([&] { return std::to_string(notedContext()) == contextOf(id); }));

    const std::string operation = "http://tizen.org/appcontrol/operation/default";
    const std::string list = "$.contents_info.custom_type.contents_list[0].button_clicked";
    EXPECT_THAT(requestIn(member(card()->text, "$.contents_info.custom_type.clicked")),
        UnorderedElementsAre(Pair("__APP_SVC_OP_TYPE__", operation),
            Pair("__APP_SVC_PKG_NAME__", kAssist), Pair("caller", "contextual"),
            Pair("operation", "edit_alarm"), Pair("alarm_id", std::to_string(id))));
    EXPECT_THAT(requestIn(member(card()->text, list)),
        UnorderedElementsAre(Pair("__APP_SVC_OP_TYPE__", operation),
            Pair("__APP_SVC_PKG_NAME__", kService), Pair("context", "turnOffContext"),
            Pair("alarm_id", std::to_string(id))));
}

TEST_F(AlarmCardTest, ApplicationsHaveTheServicePostAndDelete)
{
    startService();
    const int id = addAlarm({ "--in", "20m" });
    ASSERT_TRUE(waitForCardOf(id));

    call("com.example.clock", "com.example.clock", "delete");
    EXPECT_TRUE(waitForRefusals(1));
    EXPECT_EQ(id, cardsAlarm());

    call("com.velmora.alarmist", "com.velmora.alarmist", "delete");
    EXPECT_TRUE(waitForRefusals(2));
    EXPECT_EQ(id, cardsAlarm());

    call("com.velmora.alarm-caller", "com.velmora.alarm", "delete");
    EXPECT_TRUE(waitForCardOf(-1));
    EXPECT_TRUE(session.waitFor([&] { return notedContext() == -1; }));

    call("com.velmora.alarm-caller", "com.velmora.alarm", "post");
    EXPECT_TRUE(waitForCardOf(id));
    EXPECT_EQ(kService, card()->application);
}

TEST_F(AlarmCardTest, ButtonSwitchesTheAlarmOffAndCancelsIt)
{
    startService();
    const int id = addAlarm({ "--in", "20m" });
    ASSERT_TRUE(waitForCardOf(id));
    ASSERT_EQ(1U, session.alarms().size());

    EXPECT_EQ(
        "handed over to " + std::string(kService) + "\n", hostctl({ "tray", "button", kTag, "1" }));

    EXPECT_TRUE(waitForCardOf(-1));
    EXPECT_EQ(0, storedAlarm(id).enable);
    EXPECT_TRUE(session.alarms().empty());
    EXPECT_TRUE(session.waitFor([&] { return notedContext() == -1; }));
}

TEST_F(AlarmCardTest, RequestWhoseSenderCannotBeKnownIsRefused)
{
    startService();
    const int id = addAlarm({ "--in", "20m" });
    // Then the service is not waiting for an answer of hostd.
    ASSERT_TRUE(waitForLog("the card of alarm " + std::to_string(id) + " is posted"));
    const pid_t daemon = session.daemonPid();
    ASSERT_GT(daemon, 0);

    kill(daemon, SIGSTOP);
    const std::string request
        = "[('context', 'turnOffContext'), ('alarm_id', '" + std::to_string(id) + "')]";
    const CommandResult asked = runCommand({ "gdbus", "call", "--session", "--dest", kService,
        "--object-path", "/com/velmora/host/Application", "--method",
        "com.velmora.host.Application.Launch", request, "''", "uint64 0" });
    kill(daemon, SIGCONT);

    EXPECT_EQ(0, asked.status) << asked.err;
    EXPECT_TRUE(waitForRefusals(1));
    EXPECT_EQ(1, storedAlarm(id).enable);
    EXPECT_EQ(id, cardsAlarm());
}

TEST_F(AlarmCardTest, TapOpensTheAlarm)
{
    startService();
    const int id = addAlarm({ "--in", "20m", "--name", "Tea" });
    ASSERT_TRUE(waitForCardOf(id));

    EXPECT_EQ("handed over to " + std::string(kAssist) + "\n", hostctl({ "tray", "tap", kTag }));

    const auto opened = [this] {
        for (const HostSession::Card& shown : session.cards()) {
            if (shown.application == kAssist)
                return shown.title + "|" + shown.body;
        }
        return std::string();
    };
    ASSERT_TRUE(session.waitFor([&] { return !opened().empty(); }));
    EXPECT_THAT(opened(), StartsWith("Tea|"));
    EXPECT_THAT(opened(), HasSubstr(", on\nalarm edit " + std::to_string(id) + " TIME changes it"));
    EXPECT_TRUE(session.waitFor([this] { return session.pidOf(kAssist) == 0; })) << "it stays";
}

TEST_F(AlarmCardTest, CardGoesWhenTheAlarmRingsAndComesForItsSnooze)
{
    startService();
    const int id = addAlarmWithCard();

    ASSERT_TRUE(waitForRing(id));
    EXPECT_TRUE(waitForCardOf(-1));
    alarmOutput({ "snooze" });
    EXPECT_TRUE(waitForCardOf(id));
    hostctl({ "tray", "button", kTag, "1" });
    EXPECT_TRUE(waitForCardOf(-1));
    EXPECT_TRUE(session.alarms().empty());
}

TEST_F(AlarmCardTest, CardOutlivesHostdOnce)
{
    startService();
    const int id = addAlarm({ "--in", "20m" });
    ASSERT_TRUE(waitForCardOf(id));

    const pid_t before = session.daemonPid();
    session.killDaemon();
    ASSERT_TRUE(waitForNewDaemon(before));

    EXPECT_EQ(id, cardsAlarm());
    hostctl({ "tray", "button", kTag, "1" });
    EXPECT_TRUE(waitForCardOf(-1));
    EXPECT_EQ(0, storedAlarm(id).enable);
}

TEST_F(AlarmCardTest, ServiceThatIsKilledBeforeItNotesTheCardPostsNoSecondOne)
{
    startService();
    const int later = addAlarm({ "--in", "20m" });
    ASSERT_TRUE(
        session.waitFor([&] { return std::to_string(notedContext()) == contextOf(later); }));
    // An alarm of which the service has not heard; what announces it would have to be noted, too.
    AlarmDbData soon = companion::newAlarm();
    companion::setRing(soon, time(nullptr) + 600);
    soon.hour = companion::wallTime(soon.stime).hour;
    soon.min = companion::wallTime(soon.stime).minute;
    companion::start(); // or the library would not wait for the file
    AlarmDbModel().insertAlarmData(soon, false, false);

    const std::string path = HostSession::home() + "settings.db";
    sqlite3* settings = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &settings));
    sqlite3_busy_timeout(settings, 5000);
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(settings, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
    const pid_t killed = session.pidOf(kService);
    {
        const BackgroundCommand launch(
            { "hostctl", "launch", kService, "--extra", "context=postContext" });
        EXPECT_TRUE(waitForCardOf(soon.id));
        EXPECT_EQ(contextOf(later), std::to_string(notedContext()));
        kill(killed, SIGKILL);
        EXPECT_TRUE(session.waitFor([&] { return session.pidOf(kService) != killed; }));
    }
    sqlite3_close(settings);

    hostctl({ "launch", kService });
    EXPECT_TRUE(
        session.waitFor([&] { return std::to_string(notedContext()) == contextOf(soon.id); }));
    EXPECT_EQ(soon.id, cardsAlarm());
}

TEST_F(AlarmCardTest, CardFollowsLanguageClockAndZone)
{
    session.setZone("Europe/Berlin");
    startService();
    const int id = addAlarm({ "--in", "20m" });
    ASSERT_TRUE(waitForCardOf(id));

    hostctl({ "locale", "de_DE" });
    EXPECT_TRUE(session.waitFor([this] {
        const auto shown = card();
        return shown && shown->title == "Nächster Wecker"
            && shown->buttons == std::vector<std::string>{ "Ausschalten" };
    }));

    hostctl({ "locale", "en_US" });
    ASSERT_TRUE(
        session.waitFor([this] { return card() && card()->body.find('M') != std::string::npos; }));
    hostctl({ "clock", "24" });
    EXPECT_TRUE(session.waitFor([this] {
        const std::string body = card() ? card()->body : "";
        return body.substr(0, body.find('\n')).find('M') == std::string::npos;
    })) << card()->body;

    // The alarm rings by the wall clock, which is another one there.
    session.setZone("Asia/Seoul");
    EXPECT_TRUE(waitForCardOf(-1));
    session.setZone("Europe/Berlin");
    EXPECT_TRUE(waitForCardOf(id));
}

TEST_F(AlarmCardTest, EightProcessesThatChangeAlarmsLeaveTheCardOfTheLastState)
{
    startService();
    const auto atOnce = [](const std::function<std::string(int)>& command) {
        std::vector<std::unique_ptr<BackgroundCommand>> all;
        for (int i = 0; i < 8; ++i) {
            all.push_back(std::make_unique<BackgroundCommand>(
                std::vector<std::string>{ "sh", "-c", command(i) }));
        }
        for (const auto& one : all)
            EXPECT_EQ(0, one->finish().status);
    };
    atOnce([](int i) {
        const std::string minutes = std::to_string(10 + i);
        return "alarm add --in " + minutes + "m && alarm add --in 5" + std::to_string(i)
            + "m && alarm add --in 2h";
    });
    const std::string next = member(alarmOutput({ "next", "--json" }), "$.id");
    EXPECT_TRUE(waitForCardOf(std::stoi(next)));

    atOnce([](int i) {
        const std::string first = std::to_string(1 + 3 * i);
        return "alarm off " + first + " && alarm remove $((" + first + " + 1)) && alarm edit $(("
            + first + " + 2)) --in 30m && alarm off $((" + first + " + 2))";
    });
    EXPECT_TRUE(waitForCardOf(-1));

    atOnce([](int i) {
        const std::string id = std::to_string(1 + 3 * i);
        return "alarm edit " + id + " --in " + std::to_string(20 + i) + "m && alarm on " + id;
    });
    const std::string last = member(alarmOutput({ "next", "--json" }), "$.id");
    EXPECT_TRUE(waitForCardOf(std::stoi(last)));
    EXPECT_TRUE(session.waitFor(
        [&] { return std::to_string(notedContext()) == contextOf(std::stoi(last)); }));
    EXPECT_EQ("0",
        store->query("SELECT count(*) - count(DISTINCT contextMgrId) FROM alarm "
                     "WHERE contextMgrId > 0"));
}

TEST_F(AlarmCardTest, BadRequestsAreRefusedAndChangeNothing)
{
    startService();
    const int id = addAlarm({ "--in", "20m" });
    const int later = addAlarm({ "--in", "30m" });
    ASSERT_TRUE(waitForCardOf(id));
    const std::string rows = store->query("SELECT group_concat(enable || mtime) FROM alarm");

    const auto ask = [](const std::string& application, std::vector<std::string> extras) {
        std::vector<std::string> words = { "launch", application };
        for (std::string& extra : extras)
            words.insert(words.end(), { "--extra", extra });
        hostctl(words);
    };
    const std::string off = "context=turnOffContext";
    ask(kService, { "context=everything" });
    EXPECT_TRUE(waitForLog("is refused: there is no context of this name"));
    ask(kService, { off });
    EXPECT_TRUE(waitForLog("is refused: the alarm to turn off has no row id"));
    ask(kService, { off, "alarm_id=" + std::to_string(later) });
    EXPECT_TRUE(waitForLog("is refused: alarm " + std::to_string(later) + " has no card"));
    ask(kAssist, { "operation=edit_alarm", "alarm_id=99" });
    EXPECT_TRUE(waitForLog("an alarm is not opened: there is no alarm 99"));
    ask(kAssist, { "operation=edit_alarm", "alarm_id=one" });
    EXPECT_TRUE(waitForLog("an alarm is not opened: the request has no alarm's row id"));
    ask(kAssist, { "operation=delete_alarm", "alarm_id=1" });
    EXPECT_TRUE(waitForLog("an alarm is not opened: the request has no operation that is known"));

    EXPECT_EQ(rows, store->query("SELECT group_concat(enable || mtime) FROM alarm"));
    EXPECT_EQ(id, cardsAlarm());
    EXPECT_EQ(1U, session.cards().size());
    EXPECT_EQ(2U, session.alarms().size());
}
