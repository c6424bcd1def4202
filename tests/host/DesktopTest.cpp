#include "CardPosting.h"
#include "Command.h"
#include "EchoFixture.h"
#include "Forgery.h"
#include "host/common/Bus.h"
#include "Probing.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <optional>
#include <poll.h>
#include <SQLiteCpp/SQLiteCpp.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

const char* const kDesktop = "org.freedesktop.Notifications";
const char* const kTag = "upcoming";
const char* const kFull = "notify 1 for 0: com.velmora.test-desktop | file:///a/my%20icon.png | "
                          "Upcoming alarm | 7:30/Sun & Mon | default,,1,Turn off | 0";

std::string notified(int number, int replaced, const std::string& title)
{
    return "notify " + std::to_string(number) + " for " + std::to_string(replaced)
        + ": com.velmora.test-desktop |  | " + title + " |  |  | 0\n";
}

class DesktopTest : public EchoFixture {
protected:
    void SetUp() override
    {
        EchoFixture::SetUp();
        // A signal that tells of a child would interrupt a call.
        sigset_t children;
        sigemptyset(&children);
        sigaddset(&children, SIGCHLD);
        sigprocmask(SIG_BLOCK, &children, nullptr);
    }

    void TearDown() override
    {
        EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete_all(NOTIFICATION_TYPE_NONE));
        if (fs::remove(HostSession::home() + "dbus-services/" + kDesktop + ".service"))
            session.installApplication(kEcho, ECHO_PROGRAM); // has the bus look what is there
        end();
        EchoFixture::TearDown();
    }

    // A desktop of its own numbers, without any capabilities unless they are named.
    void begin(std::vector<std::string> capabilities = {})
    {
        capabilities.insert(capabilities.begin(), DESKTOP_RECORDER);
        desktop.emplace(capabilities);
        ASSERT_TRUE(session.waitFor([&] { return session.pidOf(kDesktop) == desktop->id(); }));
    }

    void hang() const { kill(desktop->id(), SIGSTOP); }
    void goOn() const { kill(desktop->id(), SIGCONT); }

    void end()
    {
        const pid_t running = session.pidOf(kDesktop);
        if (running != 0)
            kill(running, SIGKILL);
        desktop.reset();
        ASSERT_TRUE(session.waitFor([&] { return session.pidOf(kDesktop) == 0; }));
    }

    // Waits until the desktop was asked for this, and for nothing else.
    void expectAsked(const std::string& lines)
    {
        session.waitFor([&] { return desktop->output().size() >= lines.size(); });
        EXPECT_EQ(lines, desktop->output());
    }

    void expectNothingMore(const std::string& lines)
    {
        for (int turn = 0; turn < 5; ++turn) // of hostd's loop, so that it does what it has to
            (void)session.reports();
        EXPECT_EQ(lines, desktop->output());
    }

    std::vector<std::string> connectionsOfHostd()
    {
        std::vector<std::string> names;
        sdbus::createProxy(host::bus(), host::kBusName, host::kBusPath)
            ->callMethod("ListNames")
            .onInterface(host::kBusName)
            .storeResultsTo(names);
        const auto isOthers = [&](const std::string& name) {
            return name.front() != ':' || session.pidOf(name) != session.daemonPid();
        };
        names.erase(std::remove_if(names.begin(), names.end(), isOthers), names.end());
        EXPECT_EQ(2u, names.size()); // to its own bus and the desktop's
        return names;
    }

    template <typename... Arguments>
    static void user(const char* deed, const Arguments&... arguments)
    {
        sdbus::createProxy(host::bus(), kDesktop, "/org/freedesktop/Notifications")
            ->callMethod(deed)
            .onInterface("com.velmora.test.Desktop")
            .withArguments(arguments...);
    }

    // Waits until hostd has noted that the desktop shows so many; which: "*" to count those, too,
    // that the user has closed there.
    void expectNoted(int count, const std::string& which = "number")
    {
        EXPECT_TRUE(session.waitFor([&] {
            SQLite::Database file(HostSession::home() + "notifications.db");
            const std::string question = "SELECT count(" + which + ") FROM shown WHERE NOT is_old";
            return file.execAndGet(question).getInt() == count;
        }));
    }

    std::optional<BackgroundCommand> desktop;
};

} // namespace

TEST_F(DesktopTest, ShowsReplacesAndCloses)
{
    begin({ "actions", "body" });
    postCard(kTag, requestFor(kEcho), requestFor(kOther));
    std::string asked = std::string(kFull) + "\n";
    expectAsked(asked);
    expectNoted(1);

    post(kTag, "second");
    asked += notified(1, 1, "second");
    expectAsked(asked);
    post(nullptr, "another");
    asked += notified(2, 0, "another");
    expectAsked(asked);

    notification_delete(Noti(notification_load_by_tag(kTag)).get());
    asked += "close 1\n";
    expectAsked(asked);
    notification_delete_all(NOTIFICATION_TYPE_NONE);
    asked += "close 2\n";
    expectAsked(asked);
}

TEST_F(DesktopTest, AsksOnlyForWhatTheDesktopCan)
{
    begin({ "body-markup" });

    postCard(kTag, requestFor(kEcho), "");

    expectAsked("notify 1 for 0: com.velmora.test-desktop | file:///a/my%20icon.png | "
                "Upcoming alarm | 7:30/Sun &amp; Mon |  | 0\n");
}

TEST_F(DesktopTest, AClickLaunchesWhatTheCardSays)
{
    begin({ "actions" });
    postCard(kTag, requestFor(kEcho, "tapped"), requestFor(kOther, "turnoff"));
    expectAsked(std::string(kFull) + "\n");

    user("Act", std::uint32_t{ 1 }, std::string("default"));
    expectRequests(echo, { "tapped" });
    user("Act", std::uint32_t{ 1 }, std::string("1"));
    expectRequests(other, { "turnoff" });

    // Nothing that the card does not say, whoever asks.
    for (const char* action :
        { "2", "-1", "0", " 1", "1x", "", "nonsense", "99999999999999999999" })
        user("Act", std::uint32_t{ 1 }, std::string(action));
    user("Act", std::uint32_t{ 7 }, std::string("default"));
    for (const std::string& connection : connectionsOfHostd())
        forge(connection, "/org/freedesktop/Notifications",
            "org.freedesktop.Notifications.ActionInvoked", "uint32:1 string:1");
    user("Act", std::uint32_t{ 1 }, std::string("default"));
    expectRequests(echo, { "tapped", "tapped" });
    expectRequests(other, { "turnoff" });
}

TEST_F(DesktopTest, WhatTheUserClosesThereStaysInTheTray)
{
    begin();
    post(kTag, "first");
    expectAsked(notified(1, 0, "first"));

    user("Dismiss", std::uint32_t{ 1 });
    post(nullptr, "second");
    expectAsked(notified(1, 0, "first") + notified(2, 0, "second"));
    expectNoted(1);
    EXPECT_NE(nullptr, Noti(notification_load_by_tag(kTag)));

    // It is shown again when it is posted again, and nothing is closed that is closed.
    post(kTag, "third");
    expectAsked(notified(1, 0, "first") + notified(2, 0, "second") + notified(3, 0, "third"));
    user("Dismiss", std::uint32_t{ 3 });
    user("Dismiss", std::uint32_t{ 2 });
    expectNoted(0);
    notification_delete_all(NOTIFICATION_TYPE_NONE);
    post(kTag, "last");
    expectAsked(notified(1, 0, "first") + notified(2, 0, "second") + notified(3, 0, "third")
        + notified(4, 0, "last"));
}

TEST_F(DesktopTest, ADesktopThatGivesOneNumberTwiceIsAskedOnceForEach)
{
    begin({ "same" });
    std::string asked;
    for (const char* title : { "first", "second", "third" }) {
        post(nullptr, title);
        asked += notified(1, 0, title);
        expectAsked(asked);
    }
    expectNothingMore(asked);
}

TEST_F(DesktopTest, WhatTheDesktopRefusesIsTriedAgainLaterAndLeavesNothingOldThere)
{
    begin();
    post(kTag, "first");
    std::string asked = notified(1, 0, "first");
    expectAsked(asked);
    expectNoted(1);
    post(kTag, "refuse it");
    asked += "refuse it\nclose 1\n";
    expectAsked(asked);
    expectNothingMore(asked);

    post(nullptr, "second");
    asked += "refuse it\n" + notified(2, 0, "second");
    expectAsked(asked);
    expectNothingMore(asked);
}

TEST_F(DesktopTest, WhatTheDiskRefusesToNoteIsNotDoneAgain)
{
    begin({ "actions" });
    post("deleted", "deleted");
    expectAsked(notified(1, 0, "deleted"));
    expectNoted(1);
    hang();
    postCard(kTag, requestFor(kEcho));
    (void)session.reports(); // a turn of hostd's loop, in which it asks the desktop
    std::optional<SQLite::Transaction> lock;
    SQLite::Database file(HostSession::home() + "notifications.db", SQLite::OPEN_READWRITE);

    lock.emplace(file, SQLite::TransactionBehavior::IMMEDIATE);
    goOn();
    std::string asked = notified(1, 0, "deleted")
        + "notify 2 for 0: " + (kFull + sizeof "notify 1 for 0:") + "\n";
    expectAsked(asked);
    expectNothingMore(asked);
    user("Act", std::uint32_t{ 2 }, std::string("default"));
    expectRequests(echo, { "pressed" });
    user("Dismiss", std::uint32_t{ 2 });
    lock.reset();

    hang();
    notification_delete(Noti(notification_load_by_tag("deleted")).get());
    expectNoted(2, "*"); // as the change makes it try again
    lock.emplace(file, SQLite::TransactionBehavior::IMMEDIATE);
    goOn();
    asked += "close 1\n";
    expectAsked(asked);
    expectNothingMore(asked);
    lock.reset();
    post("last", "last");
    asked += notified(3, 0, "last");
    expectAsked(asked);
    notification_delete_all(NOTIFICATION_TYPE_NONE);
    asked += "close 3\n";
    expectAsked(asked);
    expectNothingMore(asked);
}

TEST_F(DesktopTest, NothingStaysThereWhenTheSessionEnds)
{
    begin();
    post(kTag, "first");
    expectAsked(notified(1, 0, "first"));
    expectNoted(1);
    const auto endHostd = [&] {
        const pid_t ended = session.daemonPid();
        kill(ended, SIGTERM);
        EXPECT_TRUE(session.waitFor([&] { return session.daemonPid() != ended; }, 2));
    };

    endHostd();
    // The next one begins anew.
    std::string asked = notified(1, 0, "first") + "close 1\n" + notified(2, 0, "first");
    expectAsked(asked);
    expectNoted(1);

    hang();
    endHostd();
    goOn();
    asked += "close 2\n" + notified(3, 0, "first");
    expectAsked(asked);
}

TEST_F(DesktopTest, ADesktopThatComesOrComesBackShowsEverythingOnce)
{
    post(kTag, "first");
    post(nullptr, "second");
    const std::string both = notified(1, 0, "first") + notified(2, 0, "second");
    begin();
    expectAsked(both);

    end();
    begin();
    expectAsked(both);

    end();
    notification_delete(Noti(notification_load_by_tag(kTag)).get());
    begin();
    expectAsked(notified(1, 0, "second"));
}

TEST_F(DesktopTest, ANewHostdShowsNothingTwiceAndClosesWhatIsGone)
{
    begin();
    post(kTag, "first");
    post("other", "gone");
    std::string asked = notified(1, 0, "first") + notified(2, 0, "gone");
    expectAsked(asked);
    expectNoted(2);
    session.killDaemon();
    post("third", "third");
    asked += notified(3, 0, "third");
    expectAsked(asked);
    expectNoted(3);

    // The desktop hangs, so that hostd dies before it is told of the changes.
    hang();
    notification_delete(Noti(notification_load_by_tag("other")).get());
    post(kTag, "changed");
    session.killDaemon();
    goOn();
    (void)session.reports(); // starts the next hostd
    // The first hostd may have asked for the first of these.
    const std::string last = "close 2\n" + notified(1, 1, "changed");
    EXPECT_TRUE(session.waitFor([&] {
        return desktop->output() == asked + last || desktop->output() == asked + "close 2\n" + last;
    })) << desktop->output();
}

TEST_F(DesktopTest, ADesktopThatHangsDelaysNothingAndGetsTheLastState)
{
    begin();
    post(kTag, "0");
    expectAsked(notified(1, 0, "0"));
    expectNoted(1);
    hang();
    for (const char* text : { "1", "2", "3", "4" }) {
        EXPECT_EQ(NOTIFICATION_ERROR_NONE, post(kTag, text));
        for (int turn = 0; turn < 5; ++turn) // of hostd's loop, so that it does what it has to
            (void)session.reports();
    }
    post("gone", "gone");
    notification_delete(Noti(notification_load_by_tag("gone")).get());
    EXPECT_EQ(0, launch(kEcho, "meanwhile"));
    expectRequests(echo, { "meanwhile" });

    goOn();
    EXPECT_TRUE(
        session.waitFor([&] { return desktop->output().find("| 4 |") != std::string::npos; }));
    // Besides the first and the last, only one was asked for: before hostd noticed anything.
    const std::string asked = desktop->output();
    EXPECT_LE(std::count(asked.begin(), asked.end(), '\n'), 3) << asked;
    EXPECT_EQ(std::string::npos, asked.find("gone"));
}

TEST_F(DesktopTest, TheBusIsAskedToStartTheDesktopAgainForEachChange)
{
    session.installApplication(kDesktop, DESKTOP_RECORDER);
    const auto isRunning = [this] { return session.pidOf(kDesktop) != 0; };
    post(kTag, "first");
    ASSERT_TRUE(session.waitFor(isRunning));
    kill(session.pidOf(kDesktop), SIGKILL);
    ASSERT_TRUE(session.waitFor([&] { return !isRunning(); }));

    post(kTag, "second");

    EXPECT_TRUE(session.waitFor(isRunning));
}

namespace {

// A session whose hostd shows notifications on the bus of the address, and a command in it.
std::vector<std::string> inSession(
    const TempDir& state, const std::string& desktopBus, const std::string& command)
{
    const std::string services = state.file("home/dbus-services/");
    fs::create_directories(services);
    fs::copy(HostSession::home() + "dbus-services/" + kEcho + ".service", services);
    return inEnvironment({ { "DBUS_SESSION_BUS_ADDRESS", desktopBus } },
        { "host-session", "--keep", state.file("home"), "--no-boot", "bash", "-c", command });
}

const std::string kPost = std::string("hostctl launch ") + kEcho + " --extra post=hello";

} // namespace

TEST_F(DesktopTest, IsOnTheBusOfTheSessionsCallerAlsoWhenThatWasStartedAgain)
{
    const TempDir folder;
    const std::string address = "unix:path=" + folder.file("bus");
    std::ofstream(folder.file("bus.conf"))
        << "<busconfig><type>session</type><listen>" << address << "</listen><auth>EXTERNAL</auth>"
        << "<policy context='default'><allow send_destination='*'/><allow "
           "receive_sender='*'/><allow own='*'/></policy>"
        << "</busconfig>";
    const auto newBus = [&] {
        auto bus = std::make_unique<BackgroundCommand>(std::vector<std::string>{ "dbus-daemon",
            "--nofork", "--print-address", "--config-file=" + folder.file("bus.conf") });
        EXPECT_TRUE(session.waitFor([&] { return !bus->output().empty(); }));
        return bus;
    };
    const std::vector<std::string> recorder
        = inEnvironment({ { "DBUS_SESSION_BUS_ADDRESS", address } }, { DESKTOP_RECORDER });
    auto bus = newBus();
    desktop.emplace(recorder);
    const std::string again = folder.file("again");
    BackgroundCommand nested(inSession(folder, address,
        kPost + "; until [ -e " + again + " ]; do sleep 0.05; done; " + kPost + "2; sleep 100"));
    const std::string first = "notify 1 for 0: com.velmora.test-echo |  | hello |  |  | 0\n";
    expectAsked(first);

    bus->signal(SIGKILL);
    bus.reset();
    bus = newBus();
    desktop.emplace(recorder);
    std::ofstream(again) << "go";
    const std::string both
        = first + "notify 2 for 0: com.velmora.test-echo |  | hello2 |  |  | 0\n";
    expectAsked(both);

    nested.signal(SIGTERM);
    (void)nested.finish();
    expectAsked(both + "close 1\nclose 2\n");
}

TEST_F(DesktopTest, ABusThatHangsOrIsNotThereDelaysNothing)
{
    const TempDir folder;
    const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    folder.file("bus").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(0, bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address));
    ASSERT_EQ(0, listen(listening, 10));
    for (const std::string& bus : { folder.file("bus"), folder.file("none") }) {
        const TempDir state;
        const std::string tried = state.file("tried");
        BackgroundCommand nested(inSession(state, "unix:path=" + bus,
            kPost + " && until [ -e " + tried + " ]; do sleep 0.05; done; hostctl tray"));
        pollfd waiting = { listening, POLLIN, 0 };
        EXPECT_TRUE(bus != folder.file("bus") || poll(&waiting, 1, 10000) == 1);
        std::ofstream(tried) << "go";
        const CommandResult result = nested.finish();
        EXPECT_EQ(0, result.status) << result.err;
        EXPECT_THAT(result.out, HasSubstr("com.velmora.test-echo  -\n  hello\n"));
    }
    close(listening);
}
