#include "Command.h"
#include "HostSession.h"

#include <gmock/gmock.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

CommandResult hostctl(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "hostctl");
    return runCommand(arguments);
}

// Refused in one line of its own.
void expectError(const CommandResult& result, int status, const std::string& reason)
{
    EXPECT_EQ(status, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, AllOf(StartsWith("hostctl: "), HasSubstr(reason)));
    EXPECT_EQ(result.err.size() - 1, result.err.find('\n')) << result.err;
}

struct UsageCase {
    const char* name;
    std::vector<std::string> arguments;
    const char* reason; ///< part of the line
};

class HostctlUsageTest : public testing::TestWithParam<UsageCase> {};

} // namespace

TEST_P(HostctlUsageTest, IsRefusedInOneLine)
{
    expectError(hostctl(GetParam().arguments), 2, GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(Table, HostctlUsageTest,
    testing::Values(UsageCase{ "Nothing", {}, "a command is missing" },
        UsageCase{ "Command", { "sing" }, "there is no command \"sing\"" },
        UsageCase{ "CommandWithNewline", { "si\nng" }, "there is no command \"si" },
        UsageCase{ "KeyAlone", { "key" }, "it must be key get KEY" },
        UsageCase{ "KeyGetNothing", { "key", "get" }, "it must be key get KEY" },
        UsageCase{ "KeyEmpty", { "key", "get", "" }, "the key is empty" },
        UsageCase{ "KeyType", { "key", "set", "k", "real", "1" }, "no type \"real\"" },
        UsageCase{ "KeyInt", { "key", "set", "k", "int", "1x" }, "\"1x\" is no int" },
        UsageCase{ "KeyIntHuge", { "key", "set", "k", "int", "2147483648" }, "is no int" },
        UsageCase{ "KeyBool", { "key", "set", "k", "bool", "yes" }, "\"yes\" is no bool" },
        UsageCase{ "KeyNoValue", { "key", "set", "k", "int" }, "it must be key get KEY" },
        UsageCase{ "NoPackage", { "preference", "--package" }, "--package needs a package" },
        UsageCase{ "AlarmsTooMuch", { "alarms", "--xml" }, "\"--xml\" is too much" },
        UsageCase{ "TrayTooMuch", { "tray", "now" }, "\"now\" is too much" },
        UsageCase{ "TrayTapNothing", { "tray", "tap" }, "it must be tray, tray --json" },
        UsageCase{ "TrayButtonNothing", { "tray", "button", "t" }, "it must be tray, tray --json" },
        UsageCase{ "TrayButtonZero", { "tray", "button", "t", "0" }, "\"0\" is no button" },
        UsageCase{ "TrayButtonWord", { "tray", "button", "t", "1x" }, "\"1x\" is no button" },
        UsageCase{ "SuperviseTooMuch", { "supervise", "now" }, "\"now\" is too much" },
        UsageCase{ "LaunchNothing", { "launch" }, "the application is missing" },
        UsageCase{ "LaunchOption", { "launch", "a.b", "--now", "1" }, "\"--now\" is unknown" },
        UsageCase{ "LaunchNoValue", { "launch", "a.b", "--extra" }, "--extra lacks its value" },
        UsageCase{ "LaunchExtra", { "launch", "a.b", "--extra", "k" }, "\"k\" is no extra" },
        UsageCase{ "LaunchOwnExtra", { "launch", "a.b", "--extra", "__k=1" }, "platform's own" }),
    [](const auto& row) { return row.param.name; });

TEST(HostctlTest, HelpNamesEveryCommand)
{
    const CommandResult result = hostctl({ "--help" });

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    for (const char* command : { "key", "preference", "alarms", "tray", "launch", "supervise" })
        EXPECT_THAT(result.out, HasSubstr("\n  hostctl " + std::string(command) + " "));
    EXPECT_EQ(result.out, hostctl({ "key", "--help" }).out);
}

TEST(HostctlTest, KeyKeepsItsValueUntilItIsUnset)
{
    EXPECT_EQ(0, hostctl({ "key", "set", "db/test", "str", "two words" }).status);
    EXPECT_EQ("two words\n", hostctl({ "key", "get", "db/test" }).out);
    EXPECT_THAT(hostctl({ "key", "list" }).out, HasSubstr("db/test\tstr\ttwo words\n"));
    EXPECT_EQ(0, hostctl({ "key", "unset", "db/test" }).status);

    expectError(hostctl({ "key", "get", "db/test" }), 1, "db/test is not set");
    expectError(hostctl({ "key", "unset", "db/test" }), 1, "db/test is not set");
    expectError(hostctl({ "key", "get", "db/\ntest" }), 1, "is not set");
}

TEST(HostctlTest, PreferenceIsThePackagesOwn)
{
    EXPECT_EQ(0, hostctl({ "preference", "--package", "a.b", "set", "k", "int", "-7" }).status);

    EXPECT_EQ("-7\n", hostctl({ "preference", "--package", "a.b", "get", "k" }).out);
    expectError(hostctl({ "preference", "get", "k" }), 1, "k is not set");
}

TEST(HostctlTest, NothingIsRegisteredAtFirst)
{
    EXPECT_EQ("", hostctl({ "alarms" }).out);
    EXPECT_EQ("[]\n", hostctl({ "alarms", "--json" }).out);
    EXPECT_EQ("", hostctl({ "tray" }).out);
    EXPECT_EQ(
        "{ \"notifications\": [ ],\n  \"reports\": [ ] }\n", hostctl({ "tray", "--json" }).out);
    expectError(hostctl({ "tray", "tap", "t" }), 1, "no notification has the tag t");
}

TEST(HostctlTest, LaunchSaysWhyTheRequestWasNotTaken)
{
    expectError(hostctl({ "launch", "com.velmora.none" }), 1,
        "this session has no application com.velmora.none");
    // Not the name of any application, and the bus says so.
    expectError(hostctl({ "launch", "nonsense" }), 1, "this session has no application nonsense");

    HostSession().installApplication("com.velmora.broken", "/bin/false");
    expectError(hostctl({ "launch", "com.velmora.broken" }), 1,
        "com.velmora.broken did not take the request: ");
}

TEST(HostctlTest, ResultThatCannotBeWrittenIsAFailure)
{
    ASSERT_EQ(0, hostctl({ "key", "set", "db/test", "int", "1" }).status);

    for (const char* command : { "alarms --json", "key get db/test", "key list", "--help" }) {
        SCOPED_TRACE(command);
        expectError(
            runCommand({ "bash", "-c", "exec hostctl " + std::string(command) + " >/dev/full" }), 1,
            "the result cannot be written");
    }
}

TEST(HostctlTest, OutsideASessionItSaysHowToMakeOne)
{
    expectError(runCommand({ "env", "DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent", "hostctl",
                    "alarms" }),
        1, "there is no session here");
}
