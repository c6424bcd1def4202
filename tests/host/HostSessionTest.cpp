#include "HostSession.h"

#include "EchoFixture.h"
#include "host/common/Session.h"

#include <gtest/gtest.h>

namespace {

class HostSessionTest : public EchoFixture {};

} // namespace

TEST_F(HostSessionTest, SetsTheZone)
{
    const std::string before = host::zoneId();

    session.setZone("Pacific/Chatham");
    EXPECT_EQ("Pacific/Chatham", host::zoneId());
    session.setZone("Europe/Berlin");
    EXPECT_EQ("Europe/Berlin", host::zoneId());

    session.setZone(before);
}

TEST_F(HostSessionTest, KillsTheDaemonForGood)
{
    ASSERT_TRUE(session.waitFor([this] { return session.daemonPid() != 0; }));
    const pid_t killed = session.daemonPid();

    session.killDaemon();

    EXPECT_NE(killed, session.daemonPid());
    EXPECT_TRUE(session.waitFor([this] { return session.daemonPid() != 0; }));
    EXPECT_TRUE(session.reports().empty());
}

TEST_F(HostSessionTest, ReadsWhatTheOthersLog)
{
    launch(kEcho, "request", { { "launch", "com.velmora.unknown" } });
    expectRequests(echo, { "request" });

    EXPECT_TRUE(session.waitFor([this] {
        return session.logText().find("launching com.velmora.unknown failed") != std::string::npos;
    }));
}

TEST_F(HostSessionTest, StopsWaitingInTime)
{
    EXPECT_FALSE(session.waitFor([] { return false; }, 0.05));
    EXPECT_TRUE(session.waitFor([] { return true; }, 0));
}
