#include "Command.h"
#include "HostSession.h"
#include "SessionTraces.h"
#include "TempDir.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <thread>

namespace fs = std::filesystem;

using std::chrono::microseconds;

namespace {

// A session in which everything runs that can: an alarm rings, the service follows, and a command
// goes on in the background.
const char* const kBusySession = R"(
    hostctl launch com.velmora.alarm-service
    alarm watch >/dev/null 2>&1 &
    alarm add --in 1s >/dev/null 2>&1
    until hostctl preference get alarmRinging 2>/dev/null | grep -q 1; do sleep 0.02; done
    echo ringing
)";

struct EndCase {
    const char* name;
    const char* after; ///< what the session's command does then, until it is told to end
    int signal; ///< what the session is sent; 0 = its command is told to end
    int status;
};

} // namespace

class SessionEndTest : public testing::TestWithParam<EndCase> {
protected:
    HostSession session;
    TempDir folder; ///< the inner session's
    TempDir other;
};

TEST_P(SessionEndTest, NothingIsLeftRunning)
{
    const EndCase& end = GetParam();
    const std::string mark = "TMPDIR=" + folder.path();
    BackgroundCommand inner({ "env", mark, "END=" + other.file("end"), "host-session", "sh", "-c",
        std::string(kBusySession) + end.after });
    ASSERT_TRUE(
        session.waitFor([&] { return inner.output().find("ringing") != std::string::npos; }, 20));
    // The bus, hostd, its supervisor, the alert, the service and the watching command at least.
    EXPECT_GE(processesWith("DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder.path()).size(), 6U);

    if (end.signal != 0) {
        inner.signal(end.signal);
    } else {
        std::ofstream(other.file("end")) << "now";
    }

    EXPECT_EQ(end.status, inner.finish().status);
    EXPECT_TRUE(session.waitFor([&] { return processesWith(mark).empty(); }))
        << testing::PrintToString(processesWith(mark));
    if (end.signal != SIGKILL) {
        EXPECT_TRUE(fs::is_empty(folder.path()));
    }
}

INSTANTIATE_TEST_SUITE_P(Table, SessionEndTest,
    testing::Values(
        EndCase{ "CommandEnds", R"(until [ -e "$END" ]; do sleep 0.02; done; exit 3)", 0, 3 },
        EndCase{ "Terminated", "exec alarm watch", SIGTERM, 143 },
        EndCase{ "Killed", "exec alarm watch", SIGKILL, 137 }),
    [](const auto& row) { return row.param.name; });

namespace {

struct Round {
    int signal;
    bool group; ///< whether the whole process group is sent it
    microseconds instant; ///< after the session was started
};

// How long a session takes from its start until its command has run.
microseconds timeOfASession()
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(0, runCommand({ "host-session", "true" }).status);
    return std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - begin);
}

// What is wrong after the session was sent the signal; empty when nothing is.
std::string faultOf(const Round& round)
{
    const TempDir folder;
    const std::string mark = "TMPDIR=" + folder.path();
    BackgroundCommand inner({ "env", mark, "setsid", "host-session", "sleep", "1000" });
    std::this_thread::sleep_for(round.instant);
    // There is no group until setsid has run.
    while (kill(round.group ? -inner.id() : inner.id(), round.signal) != 0)
        std::this_thread::yield();

    for (int look = 0; look < 3000 && !processesWith(mark).empty(); ++look)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const auto left = processesWith(mark);
    if (!left.empty())
        return "is left: " + testing::PrintToString(left);
    const CommandResult result = inner.finish();
    if (result.status != 128 + round.signal)
        return "status " + std::to_string(result.status) + " " + result.err;
    return fs::is_empty(folder.path()) ? result.err : "files are left";
}

unsigned numberOf(const char* variable, unsigned otherwise)
{
    const char* value = getenv(variable);
    return value ? static_cast<unsigned>(std::stoul(value)) : otherwise;
}

} // namespace

TEST(SessionSignalTest, EndsTheSessionAtAnyInstant)
{
    const unsigned rounds = numberOf("ALARM_SIGNAL_ROUNDS", 20);
    const unsigned seed = numberOf("ALARM_SIGNAL_SEED", std::random_device()());
    std::cout << "ALARM_SIGNAL_SEED=" << seed << std::endl;
    std::mt19937 random(seed);
    // Several begin at once, and so take longer than one.
    const unsigned atOnce = 4;
    std::uniform_int_distribution<long> instant(0, 3 * timeOfASession().count());

    const int signals[] = { SIGINT, SIGTERM, SIGHUP };
    for (unsigned begun = 0; begun < rounds; begun += atOnce) {
        std::vector<std::pair<Round, std::future<std::string>>> running;
        for (unsigned i = begun; i < std::min(begun + atOnce, rounds); ++i) {
            const Round round = { signals[i % 3], i / 3 % 2 == 0, microseconds(instant(random)) };
            running.emplace_back(round, std::async(std::launch::async, faultOf, round));
        }
        for (auto& [round, fault] : running) {
            EXPECT_EQ("", fault.get())
                << "signal " << round.signal << (round.group ? " to all" : "") << " after "
                << round.instant.count() << " us";
        }
    }
}

TEST(SessionSignalTest, IsTheStatusAlsoWhenItComesWhileTheSessionEnds)
{
    const TempDir folder;
    // What the command has left behind is told to end, and then sends a signal itself.
    const CommandResult result
        = runCommand({ "env", "READY=" + folder.file("ready"), "host-session", "sh", "-c", R"(
            (trap 'kill -INT $PPID; exit' TERM; : >"$READY"; while :; do sleep 0.01; done) &
            until [ -e "$READY" ]; do sleep 0.01; done
            exit 3)" });

    EXPECT_EQ(130, result.status);
}

TEST(SessionSignalTest, EndsAtOnceWhenItIsTheSecond)
{
    HostSession session;
    const TempDir folder;
    const std::string mark = "TMPDIR=" + folder.path();
    const TempDir other;
    // What has lost its parent is told to end after the command has had its time.
    const std::string command = R"(
        ( (trap 'echo told >"$TOLD"; exit' TERM; echo ready; sleep 1000 & wait) & )
        while :; do sleep 0.01; done)";
    const auto statusAfterSignal = [&](const std::string& trap) {
        BackgroundCommand inner({ "env", mark, "TOLD=" + other.file("told"), "host-session", "sh",
            "-c", trap + command });
        EXPECT_TRUE(
            session.waitFor([&] { return inner.output().find("ready") != std::string::npos; }, 20));
        inner.signal(SIGTERM);
        return inner.finish().status;
    };

    EXPECT_EQ(143, statusAfterSignal(""));
    EXPECT_TRUE(fs::remove(other.file("told"))) << "after one signal";

    EXPECT_EQ(143, statusAfterSignal("trap 'kill -INT $PPID; sleep 1000' TERM"));
    EXPECT_FALSE(fs::exists(other.file("told"))) << "after two";
    EXPECT_TRUE(processesWith(mark).empty()) << testing::PrintToString(processesWith(mark));
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(SessionSignalTest, IsNotIgnoredByACommandOfASessionInTheBackground)
{
    // A shell starts what is to run in the background with SIGINT ignored.
    const CommandResult result
        = runCommand({ "sh", "-c", "host-session sh -c 'kill -INT $$' & wait $!" });

    EXPECT_EQ(130, result.status);
}
