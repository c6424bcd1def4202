#include "Command.h"
#include "HostSession.h"
#include "TempDir.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace fs = std::filesystem;

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

std::string contents(const fs::path& file)
{
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

// The command lines of the processes that have the text in their environment.
std::vector<std::string> processesWith(const std::string& text)
{
    std::vector<std::string> found;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc", error)) {
        if (contents(entry.path() / "environ").find(text) != std::string::npos)
            found.push_back(contents(entry.path() / "cmdline"));
    }
    return found;
}

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

    if (end.signal != 0)
        inner.signal(end.signal);
    else
        std::ofstream(other.file("end")) << "now";

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
