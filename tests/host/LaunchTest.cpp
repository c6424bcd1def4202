#include "EchoFixture.h"
#include "host/common/Boundary.h"
#include "host/common/Bus.h"
#include "host/common/Entries.h"
#include "host/common/Session.h"

#include <app_common.h>
#include <app_control.h>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>

namespace fs = std::filesystem;

namespace {

struct Destroy {
    void operator()(app_control_h request) const { app_control_destroy(request); }
};
using AppControl = std::unique_ptr<app_control_s, Destroy>;

AppControl newRequest()
{
    app_control_h request = nullptr;
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_create(&request));
    return AppControl(request);
}

std::string extraOf(app_control_h request, const char* key)
{
    char* value = nullptr;
    app_control_get_extra_data(request, key, &value);
    const host::CText owner(value);
    return value ? value : "";
}

struct Answer {
    std::string requestText;
    int result;
    std::string text;
};
std::vector<Answer> answers;

void answerCb(app_control_h request, app_control_h reply, app_control_result_e result, void* data)
{
    EXPECT_EQ(&answers, data);
    answers.push_back({ extraOf(request, "text"), result, extraOf(reply, "text") });
}

class LaunchTest : public EchoFixture {
protected:
    void SetUp() override
    {
        EchoFixture::SetUp();
        answers.clear();
    }

    static int ask(const char* application, const std::string& text, const Extras& extras)
    {
        const AppControl request = newRequest();
        app_control_set_app_id(request.get(), application);
        app_control_add_extra_data(request.get(), "text", text.c_str());
        for (const auto& [key, value] : extras)
            app_control_add_extra_data(request.get(), key.c_str(), value.c_str());
        return app_control_send_launch_request(request.get(), answerCb, &answers);
    }

    // Another text for each test, as each alert of each alarm has its own.
    std::string onceText(const std::string& name) const { return name + _round; }

    // As another program of the session does, which has no app_control.
    static void launchOnce(
        const std::string& text, const std::string& once, const Extras& extras = {})
    {
        std::vector<sdbus::Struct<std::string, std::string>> entries
            = { { host::kApplicationIdKey, kEcho }, { "text", text } };
        for (const auto& [key, value] : extras)
            entries.emplace_back(key, value);
        sdbus::createProxy(host::bus(), kEcho, host::kApplicationPath)
            ->callMethod("Launch")
            .onInterface("com.velmora.host.Application")
            .withArguments(entries, once, uint64_t{ 0 });
    }

    int installAndLaunch(const char* executable)
    {
        session.installApplication("com.velmora.test-broken", executable);
        return ask("com.velmora.test-broken", "text", {});
    }

private:
    static int _rounds;
    const std::string _round = std::to_string(++_rounds);
};

int LaunchTest::_rounds = 0;

} // namespace

TEST_F(LaunchTest, NeedsAnApplicationId)
{
    const AppControl request = newRequest();
    EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER,
        app_control_send_launch_request(request.get(), nullptr, nullptr));

    app_control_set_app_id(request.get(), "");
    EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER,
        app_control_send_launch_request(request.get(), nullptr, nullptr));
}

TEST_F(LaunchTest, AnUnknownIdIsNotFound)
{
    EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, ask("com.velmora.unknown", "text", {}));
    EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, ask("no id", "text", {}));
    EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, ask("nodot", "text", {}));
    EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, ask("com.velmora/../x", "text", {}));
    EXPECT_EQ(
        APP_CONTROL_ERROR_APP_NOT_FOUND, ask(("com." + std::string(300, 'x')).c_str(), "text", {}));
    EXPECT_EQ(-17825759, APP_CONTROL_ERROR_APP_NOT_FOUND);
    EXPECT_TRUE(answers.empty());
}

TEST_F(LaunchTest, AMissingProgramIsAFailure)
{
    EXPECT_EQ(APP_CONTROL_ERROR_LAUNCH_FAILED, installAndLaunch("/nonexistent/program"));
    EXPECT_TRUE(answers.empty());
}

TEST_F(LaunchTest, AProgramThatEndsAtOnceIsAFailure)
{
    EXPECT_EQ(APP_CONTROL_ERROR_LAUNCH_FAILED, installAndLaunch("/bin/false"));
    EXPECT_TRUE(answers.empty());
}

TEST_F(LaunchTest, AProgramThatCrashesAtOnceIsAFailure)
{
    EXPECT_EQ(APP_CONTROL_ERROR_LAUNCH_FAILED, installAndLaunch("/bin/sh -c 'kill -SEGV $$'"));
}

TEST_F(LaunchTest, AnApplicationThatDoesNotWantToStartIsAFailure)
{
    makeFile("refuse");

    EXPECT_EQ(APP_CONTROL_ERROR_LAUNCH_FAILED, launch(kEcho, "text"));

    expectLines(echo, "refuse");
    expectLines(echo, "result " + std::to_string(APP_ERROR_INVALID_CONTEXT));
    EXPECT_EQ(0, echo.count("terminate"));
}

TEST_F(LaunchTest, StartsTheApplicationAndDeliversTheRequest)
{
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, "first"));

    expectLines(echo, std::string("request ") + APP_CONTROL_OPERATION_DEFAULT + " first");
    EXPECT_EQ("create", echo.lines().at(0).text);
    EXPECT_EQ(session.pidOf(kEcho), echo.lines().at(0).pid);
}

TEST_F(LaunchTest, DeliversLaterRequestsToTheRunningProcessOnceEach)
{
    for (const char* text : { "1", "2", "3" })
        EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, text));
    expectRequests(echo, { "1", "2", "3" });

    EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, "4"));

    expectRequests(echo, { "1", "2", "3", "4" });
    expectLines(echo, "create", 1);
    for (const EchoLog::Line& line : echo.lines())
        EXPECT_EQ(session.pidOf(kEcho), line.pid);
}

TEST_F(LaunchTest, AReplyComesOnceOnTheMainLoop)
{
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, ask(kEcho, "question", { { "reply", "answer" } }));
    EXPECT_TRUE(answers.empty());
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, ask(kEcho, "another", { { "reply", "last" } }));

    EXPECT_TRUE(session.waitFor([] { return !answers.empty() && answers.back().text == "last"; }));
    ASSERT_EQ(2u, answers.size());
    EXPECT_EQ("question", answers[0].requestText);
    EXPECT_EQ(APP_CONTROL_RESULT_SUCCEEDED, answers[0].result);
    EXPECT_EQ("answer", answers[0].text);
    EXPECT_EQ("another", answers[1].requestText);
}

TEST_F(LaunchTest, WhoWantsNoReplyMayGetOne)
{
    launch(kEcho, "no question", { { "reply", "answer" } });
    ask(kEcho, "question", { { "reply", "last" } });

    EXPECT_TRUE(session.waitFor([] { return !answers.empty(); }));
    ASSERT_EQ(1u, answers.size());
    EXPECT_EQ("last", answers[0].text);
}

TEST_F(LaunchTest, AnApplicationMayLaunchItself)
{
    launch(kEcho, "first", { { "launch", kEcho } });

    expectRequests(echo, { "first", std::string("from:") + kEcho });
    expectLines(echo, "create");
    const std::vector<EchoLog::Line> lines = echo.lines();
    EXPECT_EQ("done first", lines.at(2).text); // nothing is delivered before the call has returned
}

TEST_F(LaunchTest, AnApplicationMayLaunchItselfWhileItStarts)
{
    makeFile("self");

    launch(kEcho, "first");

    session.waitFor([this] { return echo.requests().size() >= 2; });
    EXPECT_EQ(2u, echo.requests().size());
    expectLines(echo, "create");
    for (const EchoLog::Line& line : echo.lines())
        EXPECT_EQ(std::string::npos, line.text.find("failed")) << line.text;
}

TEST_F(LaunchTest, TwoApplicationsMayLaunchEachOther)
{
    launch(kEcho, "first", { { "launch", kOther } });
    expectRequests(other, { std::string("from:") + kEcho });

    launch(kEcho, "second", { { "launch", kOther } });
    launch(kOther, "third", { { "launch", kEcho } });

    session.waitFor([this] { return echo.requests().size() + other.requests().size() >= 6; });
    EXPECT_EQ(3u, echo.requests().size());
    EXPECT_EQ(3u, other.requests().size());
    for (const EchoLog* log : { &echo, &other }) {
        expectLines(*log, "create");
        for (const EchoLog::Line& line : log->lines())
            EXPECT_EQ(std::string::npos, line.text.find("failed")) << line.text;
    }
}

TEST_F(LaunchTest, ARequestThatComesWhileTheApplicationEndsStartsANewOne)
{
    for (int round = 0; round < 5; ++round) {
        const std::string name = std::to_string(round);
        const std::string gate = host::runtimePath() + "gate" + name;
        launch(kEcho, "ends" + name, { { "wait", gate }, { "exit", "1" } });
        const std::string request = std::string("request ") + APP_CONTROL_OPERATION_DEFAULT + " ";
        expectLines(echo, request + "ends" + name);
        const int ending = echo.pids(request + "ends" + name).at(0);

        EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch(kEcho, "late" + name));
        makeFile("gate" + name);

        expectLines(echo, request + "late" + name);
        EXPECT_NE(ending, echo.pids(request + "late" + name).at(0));
        expectLines(echo, "done late" + name);
    }
}

TEST_F(LaunchTest, RequestsBehindTheOneThatEndsTheApplicationGoToANewOne)
{
    const std::string gate = host::runtimePath() + "gate";
    launch(kEcho, "waits", { { "wait", gate } });
    expectRequests(echo, { "waits" });
    const int ending = echo.lines().back().pid;
    launch(kEcho, "ends", { { "exit", "1" } });
    launch(kEcho, "late");
    launch(kEcho, "later");

    makeFile("gate");

    expectRequests(echo, { "waits", "ends", "late", "later" });
    EXPECT_EQ(ending, echo.pids("done ends").at(0));
    expectLines(echo, "done later");
    EXPECT_NE(ending, echo.pids("done late").at(0));
    EXPECT_EQ(echo.pids("done late"), echo.pids("done later"));
}

TEST_F(LaunchTest, ACallerHearsThatItsRequestWentToANewProcess)
{
    const std::string gate = host::runtimePath() + "gate";
    launch(kEcho, "ends", { { "wait", gate }, { "exit", "1" } });
    expectRequests(echo, { "ends" });
    ask(kEcho, "question", { { "reply", "answer" } });

    makeFile("gate");

    expectRequests(echo, { "ends", "question" });
    EXPECT_TRUE(session.waitFor([] { return !answers.empty(); }));
    ASSERT_EQ(1u, answers.size());
    EXPECT_EQ(APP_CONTROL_RESULT_CANCELED, answers[0].result);
}

TEST_F(LaunchTest, ARequestOfTheSameOnceTextIsDeliveredOnce)
{
    launchOnce("first", onceText("alarm:1:100:"));
    launchOnce("again", onceText("alarm:1:100:"));
    launchOnce("next", onceText("alarm:1:200:"));
    launchOnce("plain", "");
    launchOnce("plain", "");

    expectRequests(echo, { "first", "next", "plain", "plain" });
}

TEST_F(LaunchTest, ANewProcessKnowsWhatWasDeliveredToTheLast)
{
    launchOnce("first", onceText("alarm:7:100:"));
    launch(kEcho, "ends", { { "exit", "1" } });
    expectRequests(echo, { "first", "ends" });
    expectLines(echo, "result 0");

    launchOnce("again", onceText("alarm:7:100:"));
    launchOnce("last", onceText("alarm:7:200:"));

    expectRequests(echo, { "first", "ends", "last" });
    expectLines(echo, "create", 2);
}

TEST_F(LaunchTest, WhatWasDeliveredLongAgoIsForgotten)
{
    const auto traces = [] {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(host::runtimePath() + "handled/"))
            found.push_back(entry.path());
        return found;
    };
    launchOnce("first", onceText("alarm:8:100:"));
    launchOnce("second", onceText("alarm:8:200:"));
    for (const fs::path& trace : traces())
        fs::last_write_time(trace, fs::file_time_type::clock::now() - std::chrono::hours(25));

    launchOnce("third", onceText("alarm:8:300:"));
    launch(kEcho, "ends", {});
    expectRequests(echo, { "first", "second", "third", "ends" });
    EXPECT_EQ(1U, traces().size());

    launchOnce("again", onceText("alarm:8:300:"));
    launchOnce("last", "");
    expectRequests(echo, { "first", "second", "third", "ends", "last" });
}

TEST_F(LaunchTest, ARequestOfWhichNoTraceCanBeLeftIsAnsweredAllTheSame)
{
    makeFile("handled"); // where a folder is to be

    EXPECT_NO_THROW(launchOnce("first", onceText("alarm:10:100:")));

    expectRequests(echo, { "first" });
}

TEST_F(LaunchTest, ARequestThatKilledItsReceiverIsHandledByTheNextProcess)
{
    const std::string bomb = makeFile("bomb");
    EXPECT_THROW(
        launchOnce("alert", onceText("alarm:9:100:"), { { "crash", bomb } }), sdbus::Error);

    launchOnce("alert", onceText("alarm:9:100:"), { { "crash", bomb } });
    launchOnce("alert", onceText("alarm:9:100:"), { { "crash", bomb } });

    expectRequests(echo, { "alert", "alert" });
    expectLines(echo, "done alert");
    expectLines(echo, "create", 2);
}

TEST_F(LaunchTest, TheReceiverSeesWhichApplicationSentARequest)
{
    launch(kOther, "go", { { "launch", kEcho }, { "caller", "1" } });

    expectLines(echo, std::string("caller ") + kOther);
}

TEST_F(LaunchTest, AProgramThatIsNoApplicationIsNoCaller)
{
    launch(kEcho, "text", { { "caller", "1" } });

    expectLines(echo, "caller " + std::to_string(APP_CONTROL_ERROR_KEY_NOT_FOUND));
}

TEST_F(LaunchTest, OnlyAReceivedRequestHasACaller)
{
    const AppControl request = newRequest();
    char* id = nullptr;
    EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER, app_control_get_caller(nullptr, &id));
    EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER, app_control_get_caller(request.get(), nullptr));
    EXPECT_EQ(APP_CONTROL_ERROR_KEY_NOT_FOUND, app_control_get_caller(request.get(), &id));
    EXPECT_EQ(nullptr, id);
}

TEST_F(LaunchTest, WhoIsNoApplicationRefusesRequests)
{
    ask(kEcho, "question", { { "reply", "answer" } }); // opens this process's port
    EXPECT_TRUE(session.waitFor([] { return !answers.empty(); }));
    const std::string self = host::bus().getUniqueName();
    std::string refusal;
    auto proxy = sdbus::createProxy(host::bus(), self, host::kApplicationPath);
    proxy->callMethodAsync("Launch")
        .onInterface("com.velmora.host.Application")
        .withArguments(
            std::vector<sdbus::Struct<std::string, std::string>>(), std::string(), uint64_t{ 0 })
        .uponReplyInvoke(
            [&](const sdbus::Error* error) { refusal = error ? error->getName() : "none"; });

    EXPECT_TRUE(session.waitFor([&] { return !refusal.empty(); }));
    EXPECT_EQ("org.freedesktop.DBus.Error.Failed", refusal);
}

TEST_F(LaunchTest, AMessageOfAnotherShapeIsRefused)
{
    launch(kEcho, "first");
    expectRequests(echo, { "first" });
    const pid_t pid = session.pidOf(kEcho);
    auto proxy = sdbus::createProxy(host::bus(), kEcho, host::kApplicationPath);

    EXPECT_THROW(proxy->callMethod("Launch")
                     .onInterface("com.velmora.host.Application")
                     .withArguments(std::string("text")),
        sdbus::Error);
    EXPECT_THROW(proxy->callMethod("Reply")
                     .onInterface("com.velmora.host.Application")
                     .withArguments(uint64_t{ 1 }),
        sdbus::Error);

    launch(kEcho, "last");
    expectRequests(echo, { "first", "last" });
    EXPECT_EQ(pid, session.pidOf(kEcho));
}

TEST_F(LaunchTest, ARequestOfMoreThan64KilobytesIsRefusedOnBothSides)
{
    const std::string text(host::kLongestRequest, 'x');

    EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER, ask(kEcho, text, {}));
    launch(kEcho, "first");
    try {
        launchOnce(text + std::string(256, 'x'), "");
        FAIL() << "was taken";
    } catch (const sdbus::Error& error) {
        EXPECT_EQ("org.freedesktop.DBus.Error.LimitsExceeded", error.getName());
        EXPECT_EQ("A request may have 65536 bytes", error.getMessage());
    }

    launch(kEcho, "last");
    expectRequests(echo, { "first", "last" });
}

TEST_F(LaunchTest, AReplyThatNobodyAskedForIsNothing)
{
    launch(kEcho, "first");
    sdbus::createProxy(host::bus(), kEcho, host::kApplicationPath)
        ->callMethod("Reply")
        .onInterface("com.velmora.host.Application")
        .withArguments(
            uint64_t{ 99 }, int32_t{ 0 }, std::vector<sdbus::Struct<std::string, std::string>>());

    launch(kEcho, "last");
    expectRequests(echo, { "first", "last" });
}
