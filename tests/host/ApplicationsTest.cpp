#include "EchoFixture.h"
#include "host/common/Bus.h"
#include "host/common/Session.h"
#include "host/common/Wire.h"
#include "Probing.h"
#include "Registration.h"

#include <app_control.h>
#include <com.velmora.host.Applications-proxy.h>
#include <ctime>

namespace {

// Another process's hold on a name; what is sent to the name goes there.
class NameHolder {
public:
    explicit NameHolder(const std::string& name)
        : _connection(host::connectToBus())
    {
        _connection->requestName(name);
    }

private:
    std::unique_ptr<sdbus::IConnection> _connection;
};

class ApplicationsTest : public EchoFixture {
protected:
    /// Registers the application for the next second but one, or for one of those that follow.
    static void ringSoon(const char* application, int later = 0)
    {
        EXPECT_GT(registerApplication(application, time(nullptr) + 2 + later, "rings"), 0);
    }

    /// A new hostd sends the alert to the process that took the request "first".
    void expectOneProcessUnderANewDaemon()
    {
        expectRequests(echo, { "first" });
        session.killDaemon();
        ASSERT_TRUE(session.waitFor([this] { return session.daemonPid() != 0; }));

        ringSoon(kEcho);

        expectRequests(echo, { "first", "rings" });
        expectLines(echo, "create");
    }

    bool waitForLog(const std::string& text)
    {
        return session.waitFor([&] { return session.logText().find(text) != std::string::npos; });
    }

    std::string applicationOf(const std::string& connection)
    {
        return std::get<1>(
            host::DaemonProxy<com::velmora::host::Applications_proxy>().Identify(connection));
    }
};

} // namespace

TEST_F(ApplicationsTest, AnAlarmRingsAlthoughAnotherProgramHoldsItsApplicationsName)
{
    const NameHolder holder(kEcho);

    ringSoon(kEcho);

    expectRequests(echo, { "rings" });
    EXPECT_TRUE(waitForLog(
        std::string("The name ") + kEcho + " is held by process " + std::to_string(getpid())));
    EXPECT_TRUE(session.reports().empty());
}

TEST_F(ApplicationsTest, EachAlarmThatRangIsWrittenDown)
{
    ringSoon(kEcho);
    ringSoon(kEcho, 1);

    expectRequests(echo, { "rings", "rings" });
    EXPECT_TRUE(session.waitFor([this] { return session.alarms().empty(); }));
}

TEST_F(ApplicationsTest, ALaunchReachesTheApplicationAlthoughAnotherProgramHoldsItsName)
{
    auto holder = std::make_unique<NameHolder>(kEcho);

    EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, "first"));
    expectRequests(echo, { "first" });
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, "second"));
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, "ends", { { "exit", "1" } }));
    expectRequests(echo, { "first", "second", "ends" });
    expectLines(echo, "create");
    expectLines(echo, "result 0");

    holder.reset();
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, "third"));
    expectRequests(echo, { "first", "second", "ends", "third" });
    EXPECT_EQ(session.pidOf(kEcho), echo.lines().back().pid);
}

TEST_F(ApplicationsTest, AMissingProgramWhoseNameIsHeldIsAFailure)
{
    const char* const missing = "com.velmora.test-missing";
    session.installApplication(missing, "/nonexistent/program");
    const NameHolder holder(missing);

    EXPECT_EQ(APP_CONTROL_ERROR_LAUNCH_FAILED, launch(missing, "first"));
}

TEST_F(ApplicationsTest, WhoSentARequestIsKnownWhenItHasEnded)
{
    const std::string gate = host::runtimePath() + "gate";
    launch(kEcho, "busy", { { "wait", gate } });
    expectRequests(echo, { "busy" });
    launch(kOther, "go", { { "launch", kEcho }, { "caller", "1" }, { "exit", "1" } });
    expectLines(other, "result 0");
    ASSERT_TRUE(session.waitFor([this] { return session.pidOf(kOther) == 0; }));

    makeFile("gate");

    expectLines(echo, std::string("caller ") + kOther);
}

TEST_F(ApplicationsTest, OwningANameMakesNobodyAnApplication)
{
    const NameHolder holder(kOther);

    EXPECT_EQ("", applicationOf(host::bus().getUniqueName()));
    EXPECT_EQ("", applicationOf(":1.999999"));
    EXPECT_EQ("", applicationOf(kEcho));
    EXPECT_EQ("", applicationOf(""));
}

// One asks for connections that are not there yet, so that they be nobody's later.
TEST_F(ApplicationsTest, NobodyIsRememberedBeforeItIsThere)
{
    const std::string self = host::bus().getUniqueName(); // ":1.N"
    const int number = std::stoi(self.substr(self.find('.') + 1));
    for (int i = 1; i < 50; ++i)
        EXPECT_EQ("", applicationOf(":1." + std::to_string(number + i)));

    launch(kOther, "go", { { "launch", kEcho }, { "caller", "1" } });

    expectLines(echo, std::string("caller ") + kOther);
}

// In a name space of its own a process may have any path.
TEST_F(ApplicationsTest, AProgramThatIsMountedOverAnothersFileIsNobody)
{
    if (runCommand({ "unshare", "-rm", "true" }).status != 0)
        GTEST_SKIP() << "the kernel makes no name spaces for this user";
    const CommandResult hostile = runCommand({ "unshare", "-rm", "sh", "-c",
        "mount --bind \"$1\" \"$2\" && exec \"$2\" schedule com.velmora.alarm-alert", "sh",
        HOST_PROBE, HostSession::programOf(kEcho) });

    EXPECT_EQ(std::to_string(ALARM_ERROR_NOT_PERMITTED_APP) + " untouched", hostile.out)
        << hostile.err;
}

TEST_F(ApplicationsTest, AnApplicationWithoutItsNameIsKnownToANewDaemonToo)
{
    const NameHolder holder(kEcho);

    EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, "first"));

    expectOneProcessUnderANewDaemon();
}

TEST_F(ApplicationsTest, ANewDaemonKnowsWhoIsThere)
{
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, "first"));

    expectOneProcessUnderANewDaemon();
}
