#include "Command.h"
#include "EchoFixture.h"
#include "host/common/Session.h"
#include "TempDir.h"

#include <app.h>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <service_app.h>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

class AppMainTest : public EchoFixture {};

bool neverCalledCb(void*)
{
    ADD_FAILURE() << "was called";
    return false;
}

// For what runs beside the session's loop.
bool waitUntil(const std::function<bool()>& done)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::string fileText(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

} // namespace

TEST_F(AppMainTest, OnlyAnInstalledApplicationRuns)
{
    ui_app_lifecycle_callback_s ui = {};
    ui.create = neverCalledCb;
    service_app_lifecycle_callback_s service = {};
    service.create = neverCalledCb;

    EXPECT_EQ(APP_ERROR_INVALID_CONTEXT, ui_app_main(0, nullptr, &ui, nullptr));
    EXPECT_EQ(APP_ERROR_INVALID_CONTEXT, service_app_main(0, nullptr, &service, nullptr));
}

TEST_F(AppMainTest, NeedsItsCallbacks)
{
    ui_app_lifecycle_callback_s ui = {};
    service_app_lifecycle_callback_s service = {};

    EXPECT_EQ(APP_ERROR_INVALID_PARAMETER, ui_app_main(0, nullptr, nullptr, nullptr));
    EXPECT_EQ(APP_ERROR_INVALID_PARAMETER, ui_app_main(0, nullptr, &ui, nullptr));
    EXPECT_EQ(APP_ERROR_INVALID_PARAMETER, service_app_main(0, nullptr, nullptr, nullptr));
    EXPECT_EQ(APP_ERROR_INVALID_PARAMETER, service_app_main(0, nullptr, &service, nullptr));
}

TEST_F(AppMainTest, ASecondProcessOfAnIdEndsWithAnError)
{
    launch(kEcho, "first");
    expectRequests(echo, { "first" });

    const CommandResult second = runCommand({ "env", "ALARM_HOST_LOG=I", ECHO_PROGRAM });

    EXPECT_EQ(1, second.status);
    EXPECT_NE(std::string::npos, second.err.find("E/host("));
    expectLines(echo, "result " + std::to_string(APP_ERROR_INVALID_CONTEXT));
    launch(kEcho, "last");
    expectRequests(echo, { "first", "last" });
}

TEST_F(AppMainTest, ASignalToEndEndsTheApplicationInOrder)
{
    for (const int signal : { SIGTERM, SIGINT }) {
        const int before = echo.count("result 0");
        launch(kEcho, "request");
        ASSERT_TRUE(session.waitFor([this] { return session.pidOf(kEcho) != 0; }));
        kill(session.pidOf(kEcho), signal);

        expectLines(echo, "result 0", before + 1);
        EXPECT_EQ(before + 1, echo.count("terminate"));
    }
}

TEST_F(AppMainTest, AnApplicationThatEndsWhileItIsCreatedDoesNotComeToRun)
{
    makeFile("exit");

    EXPECT_EQ(APP_CONTROL_ERROR_LAUNCH_FAILED, launch(kEcho, "request"));

    expectLines(echo, "result " + std::to_string(APP_ERROR_INVALID_CONTEXT));
    EXPECT_EQ(1, echo.count("terminate"));
    EXPECT_TRUE(echo.requests().empty());
}

TEST_F(AppMainTest, TheApplicationEndsWithItsBus)
{
    const TempDir place;
    const std::string address = "unix:path=" + place.file("bus");
    BackgroundCommand bus({ "dbus-daemon", "--session", "--nofork", "--address=" + address });
    ASSERT_TRUE(waitUntil([&] { return access(place.file("bus").c_str(), F_OK) == 0; }));
    BackgroundCommand application({ "env", "DBUS_SESSION_BUS_ADDRESS=" + address,
        "ALARM_HOST_RUNTIME=" + place.path(), "ALARM_HOST_LOG=I", ECHO_PROGRAM });
    const std::string log = place.file(std::string(kEcho) + ".log");
    ASSERT_TRUE(waitUntil([&] {
        return runCommand({ "dbus-send", "--bus=" + address, "--print-reply",
                              "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                              "org.freedesktop.DBus.GetNameOwner", std::string("string:") + kEcho })
                   .status
            == 0;
    }));

    bus.signal(SIGKILL);

    const CommandResult result = application.finish();
    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_NE(std::string::npos, fileText(log).find(" terminate\n")) << fileText(log);
    EXPECT_NE(std::string::npos, result.err.find("the session's bus is gone")) << result.err;
}
