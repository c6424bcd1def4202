#include "Command.h"
#include "HostSession.h"
#include "SessionTraces.h"
#include "TempDir.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace fs = std::filesystem;

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

// The command ./run in a tree of its own, in which the build is this one.
class RunTest : public testing::Test {
protected:
    RunTest()
    {
        for (const char* folder : { "scripts", "build", "scenarios" })
            fs::create_directory(tree.file(folder));
        for (const char* script : { "run", "scripts/play" })
            fs::copy(SOURCE_DIR "/" + std::string(script), tree.file(script));
        fs::create_directory_symlink(BUILD_DIR, tree.file("build/release"));
        writeScript("scripts/build", "");
        writeScript("scripts/setup", "");
    }

    void writeScript(const std::string& name, const std::string& text)
    {
        std::ofstream(tree.file(name)) << "#!/usr/bin/env bash\n" << text;
        fs::permissions(tree.file(name), fs::perms::owner_all);
    }

    CommandResult run(const std::vector<std::string>& arguments)
    {
        // What the test is to log is not what the scenario's session does.
        std::vector<std::string> command = { "env", "-u", "ALARM_HOST_LOG", tree.file("run") };
        command.insert(command.end(), arguments.begin(), arguments.end());
        return runCommand(command);
    }

    void copyScenario(const std::string& scenario)
    {
        for (const char* script : { "scripts/story", "scripts/listen" })
            fs::copy(SOURCE_DIR "/" + std::string(script), tree.file(script));
        fs::copy(SOURCE_DIR "/scenarios/" + scenario, tree.file("scenarios/" + scenario));
    }

    TempDir tree;
};

TEST_F(RunTest, ScenariosAreListedWithTheirPurpose)
{
    writeScript("scenarios/good", "# All is well.\n");

    const CommandResult result = run({ "--list" });

    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_EQ("good     All is well.\n", result.out);
    EXPECT_THAT(runCommand({ SOURCE_DIR "/run", "--list" }).out, HasSubstr("road     The road of"));
}

TEST_F(RunTest, UnknownScenarioIsRefusedWithThoseThatAreKnown)
{
    writeScript("scenarios/good", "");
    writeScript("scenarios/other", "");

    for (const char* name : { "nonsense", "../run" }) {
        const CommandResult result = run({ name });
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_EQ("run: no scenario " + std::string(name) + "; there are: good other, and shell\n",
            result.err);
    }
    const CommandResult two = run({ "good", "other" });
    EXPECT_EQ(2, two.status);
    EXPECT_THAT(two.err, StartsWith("usage: ./run "));
}

TEST_F(RunTest, HelpIsPrinted)
{
    const CommandResult result = run({ "--help" });

    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out, StartsWith("usage: ./run [SCENARIO]\n"));
}

TEST_F(RunTest, OutcomeOfAScenarioIsTheLastLine)
{
    writeScript("scenarios/good", "echo playing\necho it went well >&3\n");

    const CommandResult result = run({ "good" });

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("playing\nPASS good: it went well\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST_F(RunTest, FailedScenarioSaysWhy)
{
    writeScript("scenarios/bad", "echo it went badly >&3\nexit 7\n");
    writeScript("scenarios/silent", "exit 7\n");

    const CommandResult bad = run({ "bad" });
    EXPECT_EQ(1, bad.status);
    EXPECT_EQ("FAIL bad: it went badly\n", bad.out);
    const CommandResult silent = run({ "silent" });
    EXPECT_EQ(1, silent.status);
    EXPECT_EQ("FAIL silent: it ended with status 7\n", silent.out);
}

TEST_F(RunTest, OnlyTheScenarioThatListensIsKeptFromTheUsersSoundServer)
{
    ASSERT_TRUE(getenv("PULSE_SERVER")) << "the user's here";
    const std::string story = "pactl get-default-sink\necho \"$PULSE_SERVER\" >&3\n";
    writeScript("scenarios/sound", story);
    writeScript("scenarios/good", story);

    const CommandResult sound = run({ "sound" });
    const CommandResult good = run({ "good" });

    EXPECT_THAT(sound.out, StartsWith("watch\nPASS sound: unix:"));
    EXPECT_THAT(sound.out, Not(HasSubstr(getenv("PULSE_SERVER"))));
    EXPECT_THAT(good.out, HasSubstr(getenv("PULSE_SERVER")));
}

TEST_F(RunTest, InterruptedScenarioLeavesNothing)
{
    writeScript("scenarios/long", "echo playing\nsleep 1000\n");
    HostSession session;
    const TempDir folder;
    const std::string mark = "TMPDIR=" + folder.path();
    for (const bool group : { false, true }) {
        BackgroundCommand command({ "env", mark, "setsid", tree.file("run"), "long" });
        ASSERT_TRUE(session.waitFor([&] { return command.output() == "playing\n"; }, 20));

        kill(group ? -command.id() : command.id(), SIGINT);

        const CommandResult result = command.finish();
        EXPECT_EQ(130, result.status);
        EXPECT_EQ("playing\n", result.out);
        EXPECT_TRUE(processesWith(mark).empty()) << testing::PrintToString(processesWith(mark));
        EXPECT_TRUE(fs::is_empty(folder.path()));
    }
}

TEST_F(RunTest, InterruptedBuildLeavesNothing)
{
    writeScript("scenarios/good", "echo it went well >&3\n");
    writeScript("scripts/build", "echo building\nsleep 1000\n");
    HostSession session;
    const TempDir folder;
    const std::string mark = "TMPDIR=" + folder.path();
    for (const int signal : { SIGINT, SIGTERM, SIGHUP }) {
        BackgroundCommand command({ "env", mark, tree.file("run"), "good" });
        ASSERT_TRUE(session.waitFor([&] { return command.output() == "building\n"; }));

        command.signal(signal);

        EXPECT_EQ(128 + signal, command.finish().status);
        EXPECT_TRUE(session.waitFor([&] { return processesWith(mark).empty(); })) << signal;
    }
}

TEST_F(RunTest, FailedBuildFails)
{
    writeScript("scenarios/good", "echo it went well >&3\n");
    writeScript("scripts/build", "exit 1\n");

    const CommandResult result = run({ "good" });

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("FAIL good: it does not build\n", result.out);
}

TEST_F(RunTest, TextPasses)
{
    copyScenario("text");

    const CommandResult result = run({ "text" });

    EXPECT_EQ(0, result.status) << result.out << result.err;
    EXPECT_THAT(result.out, HasSubstr("\nPASS text: 12 locales, 48 rows equal ICU\n"));
    EXPECT_EQ("", result.err);
}

TEST_F(RunTest, RoadPasses)
{
    copyScenario("road");

    const CommandResult result = run({});

    EXPECT_EQ(0, result.status) << result.out << result.err;
    const std::string last = result.out.substr(result.out.rfind('\n', result.out.size() - 2) + 1);
    EXPECT_THAT(
        last, MatchesRegex("PASS road: rang [0-9]+ ms after [0-9][0-9]:[0-9][0-9]:[0-9][0-9]\n"));
    EXPECT_EQ("", result.err);
}

TEST_F(RunTest, FaultsPasses)
{
    copyScenario("faults");

    const CommandResult result = run({ "faults" });

    EXPECT_EQ(0, result.status) << result.out << result.err;
    EXPECT_THAT(result.out, EndsWith("PASS faults: 5 faults, 5 rang\n"));
    EXPECT_EQ("", result.err);
}

TEST_F(RunTest, CardPasses)
{
    copyScenario("card");

    const CommandResult result = run({ "card" });

    EXPECT_EQ(0, result.status) << result.out << result.err;
    EXPECT_THAT(result.out,
        EndsWith("\nPASS card: posted, translated, kept, opened, turned off, gone when it rang\n"));
    EXPECT_EQ("", result.err);
}

TEST_F(RunTest, PhonePasses)
{
    copyScenario("phone");

    const CommandResult result = run({ "phone" });

    EXPECT_EQ(0, result.status) << result.out << result.err;
    EXPECT_THAT(
        result.out, EndsWith("PASS phone: 12 messages, 3 alarms mirrored, 0 lost, 0 doubled\n"));
    EXPECT_EQ("", result.err);
}

TEST_F(RunTest, VoicePasses)
{
    copyScenario("voice");

    const CommandResult result = run({ "voice" });

    EXPECT_EQ(0, result.status) << result.out << result.err;
    EXPECT_THAT(result.out,
        EndsWith("PASS voice: 16 requests, 3 alarms added, 8 refused as the same, 4 as wrong\n"));
    EXPECT_EQ("", result.err);
}

TEST_F(RunTest, SoundPasses)
{
    copyScenario("sound");

    const CommandResult result = run({ "sound" });

    EXPECT_EQ(0, result.status) << result.out << result.err;
    EXPECT_THAT(
        result.out, ContainsRegex("\nPASS sound: heard 880 Hz after [0-9]+ ms, levels 1 2 3\n$"));
    EXPECT_TRUE(fs::exists(tree.file("build/sound.png")));
    EXPECT_EQ("", result.err);
}
