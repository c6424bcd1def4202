#include "Command.h"
#include "TempDir.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace fs = std::filesystem;

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class SessionStartTest : public testing::Test {
protected:
    /// Runs host-session with its temporary directory in the test's, which must be left empty.
    CommandResult run(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> command = { "/usr/bin/env", "TMPDIR=" + folder.path(),
            "PATH=" + path, "ALARM_HOST_BOOT=callers", "host-session" };
        command.insert(command.end(), arguments.begin(), arguments.end());
        CommandResult result = runCommand(command);
        EXPECT_TRUE(fs::is_empty(folder.path()));
        return result;
    }

    void expectRefused(const std::vector<std::string>& arguments, const std::string& why)
    {
        const CommandResult result = run(arguments);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err, StartsWith("host-session: " + why + "\nusage: host-session "));
    }

    void writeProgram(const std::string& name, const std::string& text)
    {
        std::ofstream(other.file(name)) << "#!/bin/sh\n" << text;
        fs::permissions(other.file(name), fs::perms::owner_all);
    }

    TempDir folder;
    TempDir other;
    std::string path = getenv("PATH");
};

TEST_F(SessionStartTest, IsNoneForHelpAndForWrongUsage)
{
    const CommandResult help = run({ "--help" });
    EXPECT_EQ(0, help.status);
    EXPECT_THAT(help.out, StartsWith("usage: host-session [--keep DIR] [--no-boot] COMMAND"));
    EXPECT_EQ("", help.err);

    const std::string kept = other.file("kept");
    expectRefused({}, "a command is missing");
    expectRefused({ "--no-boot" }, "a command is missing");
    expectRefused({ "--keep", kept }, "a command is missing");
    expectRefused({ "--keep" }, "--keep needs a directory");
    expectRefused({ "--keep", "", "true" }, "--keep needs a directory");
    expectRefused({ "--unknown", "true" }, "there is no option --unknown");
    expectRefused({ "--keep", kept, "-x", "true" }, "there is no option -x");
    EXPECT_FALSE(fs::exists(kept));
}

TEST_F(SessionStartTest, TellsWhatCannotBeExecutedOrMade)
{
    const CommandResult missing = run({ "no-such-command" });
    EXPECT_EQ(127, missing.status);
    EXPECT_EQ("host-session: no-such-command: No such file or directory\n", missing.err);

    const CommandResult folderAsCommand = run({ "/usr" });
    EXPECT_EQ(126, folderAsCommand.status);
    EXPECT_EQ("host-session: /usr: Permission denied\n", folderAsCommand.err);

    std::ofstream(other.file("file")) << "no directory";

    const CommandResult kept = run({ "--keep", other.file("file"), "true" });
    EXPECT_EQ(1, kept.status);
    EXPECT_EQ(
        "host-session: " + other.file("file") + "/dbus-services: Not a directory\n", kept.err);
}

TEST_F(SessionStartTest, TellsWhyItFails)
{
    const auto expectFailure = [this](const std::string& why) {
        const CommandResult result = run({ "--keep", other.path(), "echo", "begun" });
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err,
            AllOf(StartsWith("host-session: the session does not come up:\n"), HasSubstr(why)));
    };
    fs::create_directory(other.file("dbus-services"));
    std::ofstream(other.file("dbus-services/com.velmora.host.service"))
        << "[D-BUS Service]\nName=com.velmora.host\nExec=" << other.file("hostd") << "\n";
    writeProgram("hostd", "echo no daemon today >&2\nexit 1\n");
    expectFailure("no daemon today\n");

    path = other.path() + ":" + path;
    writeProgram("dbus-daemon", "echo no bus today >&2\nexit 1\n");
    expectFailure("no bus today\n");
    EXPECT_THAT(run({ "--keep", other.path(), "true" }).err, Not(HasSubstr("no daemon")))
        << "an earlier session's";

    const std::string session = runCommand({ "sh", "-c", "command -v host-session" }).out;
    path = session.substr(0, session.rfind('/'));
    const CommandResult missing = run({ "true" });
    EXPECT_EQ(1, missing.status);
    EXPECT_THAT(missing.err, HasSubstr("host-session: dbus-daemon: No such file or directory\n"));
}

TEST_F(SessionStartTest, MakesPrivateFilesAndLeavesTheCommandItsUmask)
{
    const CommandResult result = runCommand({ "sh", "-c",
        "umask 022; exec host-session --keep \"$0\" sh -c umask", other.file("kept") });

    EXPECT_EQ("0022\n", result.out.substr(0, 5));
    for (const auto& entry : fs::recursive_directory_iterator(other.file("kept"))) {
        if (fs::is_symlink(entry.path()))
            continue;
        const fs::perms others = fs::perms::group_all | fs::perms::others_all;
        EXPECT_EQ(fs::perms::none, entry.status().permissions() & others) << entry.path();
    }
}

TEST_F(SessionStartTest, BootsUnlessItIsToldNotTo)
{
    EXPECT_EQ("no\n", run({ "--no-boot", "printenv", "ALARM_HOST_BOOT" }).out);
    EXPECT_EQ("", run({ "printenv", "ALARM_HOST_BOOT" }).out) << "a session of its own";
}

} // namespace
