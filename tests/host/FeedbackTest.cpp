#include "Forgery.h"
#include "host/common/Bus.h"
#include "HostSession.h"

#include <algorithm>
#include <com.velmora.host.Vibration-proxy.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <Ecore.h>
#include <feedback.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

feedback_pattern_e pattern(int number) { return static_cast<feedback_pattern_e>(number); }

int vibrate(int number) { return feedback_play_type(FEEDBACK_TYPE_VIBRATION, pattern(number)); }

// What the vibrator does, on the main loop.
class Vibrator : public sdbus::ProxyInterfaces<com::velmora::host::Vibration_proxy> {
public:
    Vibrator()
        : ProxyInterfaces(host::bus(), host::kDaemonName, host::kDaemonPath)
    {
        registerProxy();
    }
    ~Vibrator() { unregisterProxy(); }

    std::vector<std::string> changes;
    std::vector<int> buzzes; ///< how long, in milliseconds
    std::vector<double> instants; ///< when each began, in seconds

private:
    void onStarted(const std::int32_t& number) override
    {
        changes.push_back("started " + std::to_string(number));
    }
    void onBuzzed(const std::int32_t&, const std::int32_t& milliseconds) override
    {
        buzzes.push_back(milliseconds);
        instants.push_back(ecore_time_get());
    }
    void onStopped(const std::int32_t& number) override
    {
        changes.push_back("stopped " + std::to_string(number));
    }
};

bool isStopped(pid_t process)
{
    std::string state;
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("State:", 0) == 0)
            state = line;
    }
    return state.find("T (stopped)") != std::string::npos;
}

// All connections to the bus, by their unique names.
std::vector<std::string> connections()
{
    std::vector<std::string> names;
    sdbus::createProxy(host::bus(), "org.freedesktop.DBus", "/org/freedesktop/DBus")
        ->callMethod("ListNames")
        .onInterface("org.freedesktop.DBus")
        .storeResultsTo(names);
    names.erase(std::remove_if(names.begin(), names.end(),
                    [](const std::string& name) { return name.front() != ':'; }),
        names.end());
    return names;
}

// What the machine's own vibrator is asked through feedbackd.
class Feedbackd {
public:
    Feedbackd()
    {
        _object->registerMethod("TriggerFeedback")
            .onInterface("org.sigxcpu.Feedback")
            .implementedAs(
                [this](const std::string& application, const std::string& event,
                    const std::map<std::string, sdbus::Variant>& hints, std::int32_t timeout) {
                    calls.push_back(application + ' ' + event + ' '
                        + hints.at("profile").get<std::string>() + ' ' + std::to_string(timeout));
                    return ++_id;
                });
        _object->registerMethod("EndFeedback")
            .onInterface("org.sigxcpu.Feedback")
            .implementedAs(
                [this](std::uint32_t id) { calls.push_back("end " + std::to_string(id)); });
        _object->finishRegistration();
        host::bus().requestName("org.sigxcpu.Feedback");
    }
    ~Feedbackd() { host::bus().releaseName("org.sigxcpu.Feedback"); }

    std::vector<std::string> calls;

private:
    std::unique_ptr<sdbus::IObject> _object
        = sdbus::createObject(host::bus(), "/org/sigxcpu/Feedback");
    std::uint32_t _id = 0;
};

class FeedbackTest : public testing::Test {
protected:
    bool waitFor(const std::vector<std::string>& changes)
    {
        return session.waitFor([&] { return vibrator.changes == changes; });
    }

    HostSession session;
    Vibrator vibrator;
};

// A process of its own, for the process has not initialised then.
TEST_F(FeedbackTest, NeedsToBeInitialised)
{
    const pid_t child = fork();
    if (child == 0) {
        const bool isRight = vibrate(168) == FEEDBACK_ERROR_NOT_INITIALIZED
            && feedback_stop() == FEEDBACK_ERROR_NOT_INITIALIZED
            && feedback_initialize() == FEEDBACK_ERROR_NONE;
        _exit(isRight ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(0, status);
}

TEST_F(FeedbackTest, BadArgumentsAreRefused)
{
    ASSERT_EQ(FEEDBACK_ERROR_NONE, feedback_initialize());
    EXPECT_EQ(FEEDBACK_ERROR_INVALID_PARAMETER, vibrate(167));
    EXPECT_EQ(FEEDBACK_ERROR_INVALID_PARAMETER, vibrate(178));
    EXPECT_EQ(
        FEEDBACK_ERROR_INVALID_PARAMETER, feedback_play_type(FEEDBACK_TYPE_NONE, pattern(168)));
    EXPECT_EQ(FEEDBACK_ERROR_NOT_SUPPORTED, feedback_play_type(FEEDBACK_TYPE_SOUND, pattern(168)));
    EXPECT_EQ(FEEDBACK_ERROR_NONE, feedback_stop());
}

struct PatternCase {
    const char* name;
    int pattern;
    int number;
    std::vector<int> buzzes; ///< milliseconds
    double period; ///< seconds until it repeats
};

class FeedbackPatternTest : public FeedbackTest, public testing::WithParamInterface<PatternCase> {};

TEST_P(FeedbackPatternTest, RepeatsUntilItIsStopped)
{
    const PatternCase& row = GetParam();
    EXPECT_EQ(row.number, row.pattern);
    std::vector<int> twice = row.buzzes;
    twice.insert(twice.end(), row.buzzes.begin(), row.buzzes.end());
    feedback_initialize();

    EXPECT_EQ(FEEDBACK_ERROR_NONE, vibrate(row.pattern));
    ASSERT_TRUE(session.waitFor([&] { return vibrator.buzzes.size() >= twice.size(); }));
    EXPECT_EQ(FEEDBACK_ERROR_NONE, feedback_stop());

    const std::string number = std::to_string(row.number);
    EXPECT_TRUE(waitFor({ "started " + number, "stopped " + number }));
    EXPECT_EQ(twice, vibrator.buzzes);
    EXPECT_NEAR(row.period, vibrator.instants[row.buzzes.size()] - vibrator.instants[0], 0.25);
}

INSTANTIATE_TEST_SUITE_P(Table, FeedbackPatternTest,
    testing::Values(
        PatternCase{ "FirstShort", FEEDBACK_PATTERN_ALARM_VIB1_SHORT, 168, { 400 }, 1.0 },
        PatternCase{ "FirstLong", FEEDBACK_PATTERN_ALARM_VIB1_LONG, 169, { 1000 }, 2.0 },
        PatternCase{ "SecondShort", FEEDBACK_PATTERN_ALARM_VIB2_SHORT, 170, { 200, 200 }, 1.2 },
        PatternCase{ "SecondLong", FEEDBACK_PATTERN_ALARM_VIB2_LONG, 171, { 500, 500 }, 2.2 },
        PatternCase{
            "ThirdShort", FEEDBACK_PATTERN_ALARM_VIB3_SHORT, 172, { 150, 150, 150 }, 1.35 },
        PatternCase{ "ThirdLong", FEEDBACK_PATTERN_ALARM_VIB3_LONG, 173, { 400, 400, 400 }, 2.5 },
        PatternCase{ "FourthShort", FEEDBACK_PATTERN_ALARM_VIB4_SHORT, 174, { 100, 400 }, 1.2 },
        PatternCase{ "FourthLong", FEEDBACK_PATTERN_ALARM_VIB4_LONG, 175, { 200, 1000 }, 2.4 },
        PatternCase{
            "FifthShort", FEEDBACK_PATTERN_ALARM_VIB5_SHORT, 176, { 100, 100, 100, 100 }, 1.3 },
        PatternCase{
            "FifthLong", FEEDBACK_PATTERN_ALARM_VIB5_LONG, 177, { 250, 250, 250, 250 }, 2.35 }),
    [](const auto& row) { return row.param.name; });

TEST_F(FeedbackTest, ANewPatternReplacesTheRunningOne)
{
    feedback_initialize();
    vibrate(169);
    vibrate(172);
    EXPECT_TRUE(waitFor({ "started 169", "stopped 169", "started 172" }));

    feedback_stop();
    feedback_stop();
    EXPECT_TRUE(waitFor({ "started 169", "stopped 169", "started 172", "stopped 172" }));
    const auto history = vibrator.History();
    ASSERT_EQ(2u, history.size());
    EXPECT_EQ(169, history[0].get<0>());
    EXPECT_EQ(172, history[1].get<0>());
    EXPECT_LE(history[0].get<1>(), history[0].get<2>());
    EXPECT_LE(history[0].get<2>(), history[1].get<1>());
}

TEST_F(FeedbackTest, EndsWithTheProcessThatStartedIt)
{
    const pid_t child = fork();
    if (child == 0) {
        feedback_initialize();
        vibrate(170);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(waitFor({ "started 170", "stopped 170" }));
}

TEST_F(FeedbackTest, AnotherProcessDoesNotStopIt)
{
    feedback_initialize();
    vibrate(168);
    ASSERT_TRUE(waitFor({ "started 168" }));

    ASSERT_EQ(0,
        system("dbus-send --session --print-reply --dest=com.velmora.host "
               "/com/velmora/host com.velmora.host.Vibration.Stop >/dev/null"));

    EXPECT_EQ(0, vibrator.History().back().get<2>());
    feedback_stop();
}

TEST_F(FeedbackTest, GoesOnWithANewHostd)
{
    feedback_initialize();
    vibrate(168);
    ASSERT_TRUE(waitFor({ "started 168" }));
    for (const std::string& name : connections()) {
        ASSERT_TRUE(
            forge(name, "/com/velmora/host", "com.velmora.host.Vibration.Stopped", "int32:168"));
    }
    // The test's own view of the vibrator believes everybody.
    vibrator.changes.clear();

    session.killDaemon();
    EXPECT_TRUE(session.waitFor([&] {
        return !vibrator.changes.empty() && vibrator.changes.back() == "started 168";
    })) << "without that anybody asked for it";
    EXPECT_EQ(FEEDBACK_ERROR_NONE, feedback_stop());
    EXPECT_TRUE(session.waitFor([&] { return vibrator.changes.back() == "stopped 168"; }));
}

TEST_F(FeedbackTest, WhatHasStoppedDoesNotGoOnWithANewHostd)
{
    feedback_initialize();
    vibrate(168);
    // Another process's pattern takes its place, and ends.
    ASSERT_EQ(0,
        system("dbus-send --session --print-reply --dest=com.velmora.host /com/velmora/host "
               "com.velmora.host.Vibration.Play int32:170 >/dev/null"));
    ASSERT_TRUE(waitFor({ "started 168", "stopped 168", "started 170", "stopped 170" }));
    vibrator.changes.clear();
    const pid_t before = session.daemonPid();

    session.killDaemon();
    ASSERT_TRUE(session.waitFor([&] {
        const pid_t now = session.daemonPid();
        return now != 0 && now != before;
    }));
    vibrate(172);

    EXPECT_TRUE(waitFor({ "started 172" }));
    feedback_stop();
}

TEST_F(FeedbackTest, AHostdThatHangsDoesLaterWhatStillCounts)
{
    feedback_initialize();
    const pid_t daemon = session.daemonPid();
    ASSERT_EQ(0, kill(daemon, SIGSTOP));

    EXPECT_EQ(FEEDBACK_ERROR_NONE, vibrate(168));
    EXPECT_EQ(FEEDBACK_ERROR_NONE, feedback_stop());
    EXPECT_EQ(FEEDBACK_ERROR_NONE, vibrate(170));
    EXPECT_EQ(FEEDBACK_ERROR_NONE, feedback_stop());
    EXPECT_EQ(FEEDBACK_ERROR_NONE, vibrate(172));
    EXPECT_TRUE(isStopped(daemon));
    ASSERT_EQ(0, kill(daemon, SIGCONT));

    EXPECT_TRUE(waitFor({ "started 172" })) << "and nothing of what was stopped meanwhile";
    EXPECT_EQ(daemon, session.daemonPid());
    feedback_stop();
    EXPECT_TRUE(waitFor({ "started 172", "stopped 172" }));
}

TEST_F(FeedbackTest, WhatIsStoppedWhileHostdHangsStopsWhenItGoesOn)
{
    feedback_initialize();
    const pid_t daemon = session.daemonPid();
    vibrate(168);
    ASSERT_TRUE(waitFor({ "started 168" }));
    ASSERT_EQ(0, kill(daemon, SIGSTOP));

    EXPECT_EQ(FEEDBACK_ERROR_NONE, vibrate(170)); // from here on the process knows that it hangs
    EXPECT_EQ(FEEDBACK_ERROR_NONE, feedback_stop());
    ASSERT_EQ(0, kill(daemon, SIGCONT));

    EXPECT_TRUE(waitFor({ "started 168", "stopped 168" }));
}

TEST_F(FeedbackTest, ForgedSignalsEndNeitherHostdNorTheVibration)
{
    feedback_initialize();
    vibrate(168);
    ASSERT_TRUE(waitFor({ "started 168" }));
    const pid_t daemon = session.daemonPid();
    const std::string bus = "/org/freedesktop/DBus";
    const std::string changed = "org.freedesktop.DBus.NameOwnerChanged";

    ASSERT_TRUE(forge("com.velmora.host", bus, changed));
    ASSERT_TRUE(forge("com.velmora.host", bus, changed, "string:'' string:'' string:''"));
    for (const std::string& name : connections()) {
        std::string gone = "string:" + name;
        gone += " string:" + name + " string:''";
        ASSERT_TRUE(forge("com.velmora.host", bus, changed, gone));
    }

    EXPECT_EQ(0, vibrator.History().back().get<2>());
    EXPECT_EQ(daemon, session.daemonPid());
    feedback_stop();
    EXPECT_TRUE(waitFor({ "started 168", "stopped 168" }));
}

TEST_F(FeedbackTest, TheMachinesOwnVibratorJoinsInWhereThereIsOne)
{
    feedback_initialize();
    Feedbackd feedbackd;
    const std::string asked = "com.velmora.alarm-alert alarm-clock-elapsed quiet 0";

    vibrate(168);
    EXPECT_TRUE(session.waitFor([&] { return feedbackd.calls.size() == 1; }));
    EXPECT_TRUE(waitFor({ "started 168" }));
    vibrate(170);
    EXPECT_TRUE(session.waitFor([&] { return feedbackd.calls.size() == 3; }));
    feedback_stop();
    EXPECT_TRUE(session.waitFor([&] { return feedbackd.calls.size() == 4; }));
    vibrate(168);
    EXPECT_TRUE(session.waitFor([&] { return feedbackd.calls.size() == 5; }));
    feedback_stop();
    EXPECT_TRUE(session.waitFor([&] { return feedbackd.calls.size() == 6; }));

    EXPECT_THAT(feedbackd.calls,
        testing::UnorderedElementsAre(asked, "end 1", asked, "end 2", asked, "end 3"));
}

TEST_F(FeedbackTest, HostctlWatches)
{
    feedback_initialize();
    FILE* output = popen("echo $$; exec hostctl vibration --watch", "r");
    char line[64] = "";
    ASSERT_NE(nullptr, fgets(line, sizeof line, output));
    const pid_t pid = atoi(line);
    pollfd readable = { fileno(output), POLLIN, 0 };
    EXPECT_TRUE(session.waitFor([&] { return vibrate(168) == 0 && poll(&readable, 1, 0) == 1; }));
    ASSERT_NE(nullptr, fgets(line, sizeof line, output));
    EXPECT_THAT(line, testing::MatchesRegex("(started|stopped|buzzed) 168.*\n"));
    feedback_stop();
    kill(pid, SIGTERM);
    pclose(output);
}

} // namespace
