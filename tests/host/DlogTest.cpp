#include "host/common/Log.h"
#include "Probing.h"

#include <csignal>
#include <dlog.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace {

// The journal takes the lines of a process whose standard error it is.
const Environment kDefaultLevel
    = { { "ALARM_HOST_LOG", std::nullopt }, { "JOURNAL_STREAM", std::nullopt } };

Environment level(const std::string& letter)
{
    return { { "ALARM_HOST_LOG", letter }, { "JOURNAL_STREAM", std::nullopt } };
}

struct Logged {
    std::string result;
    std::string line;
    std::string pid;
};

Logged logged(log_priority priority, const std::string& tag, const std::string& text,
    const Environment& changes)
{
    const CommandResult result
        = runCommand(probeCommand({ "log", std::to_string(priority), tag, text }, changes));
    EXPECT_EQ(0, result.status);
    const size_t space = result.out.find(' ');
    return { result.out.substr(0, space), result.err, result.out.substr(space + 1) };
}

std::vector<std::tuple<int, std::string, std::string>> taken;

void take(int priority, const char* tag, const char* text)
{
    taken.emplace_back(priority, tag, text);
}

class DlogHookTest : public testing::Test {
protected:
    void SetUp() override
    {
        taken.clear();
        host::setLogHook(take);
    }
    void TearDown() override { host::setLogHook(nullptr); }
};

struct LetterCase {
    const char* name;
    log_priority priority;
};

class DlogLetterTest : public testing::TestWithParam<LetterCase> {};

} // namespace

TEST_P(DlogLetterTest, BeginsTheLine)
{
    const Logged log = logged(GetParam().priority, "alarm-common", "a text", level("V"));

    EXPECT_EQ(std::string(GetParam().name) + "/alarm-common(" + log.pid + "): a text\n", log.line);
    EXPECT_EQ("6", log.result);
}

INSTANTIATE_TEST_SUITE_P(Table, DlogLetterTest,
    testing::Values(LetterCase{ "V", DLOG_VERBOSE }, LetterCase{ "D", DLOG_DEBUG },
        LetterCase{ "I", DLOG_INFO }, LetterCase{ "W", DLOG_WARN }, LetterCase{ "E", DLOG_ERROR },
        LetterCase{ "F", DLOG_FATAL }),
    [](const auto& row) { return row.param.name; });

namespace {

struct LevelCase {
    const char* name;
    Environment level;
    log_priority lowest; // that is written; DLOG_SILENT: none
};

class DlogLevelTest : public testing::TestWithParam<LevelCase> {};

} // namespace

TEST_P(DlogLevelTest, DropsTheLinesBelow)
{
    for (int priority = DLOG_VERBOSE; priority < DLOG_SILENT; ++priority) {
        const Logged log
            = logged(static_cast<log_priority>(priority), "t", "text", GetParam().level);
        EXPECT_EQ(priority >= GetParam().lowest, !log.line.empty()) << priority;
        EXPECT_EQ("4", log.result);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, DlogLevelTest,
    testing::Values(LevelCase{ "Default", kDefaultLevel, DLOG_INFO },
        LevelCase{ "Empty", level(""), DLOG_INFO }, LevelCase{ "Unknown", level("x"), DLOG_INFO },
        LevelCase{ "QuestionMark", level("?"), DLOG_INFO },
        LevelCase{ "Verbose", level("V"), DLOG_VERBOSE },
        LevelCase{ "Debug", level("D"), DLOG_DEBUG }, LevelCase{ "Warning", level("W"), DLOG_WARN },
        LevelCase{ "Fatal", level("F"), DLOG_FATAL },
        LevelCase{ "Silent", level("S"), DLOG_SILENT }),
    [](const auto& row) { return row.param.name; });

TEST(DlogTest, WritesColoursTabsAndOtherBytesAsTheyAre)
{
    const std::string text = "\x1b[31mred\x1b[0m \"quoted\" %s %n \t \xff ü";

    const Logged log = logged(DLOG_ERROR, "t", text, kDefaultLevel);

    EXPECT_EQ("E/t(" + log.pid + "): " + text + "\n", log.line);
}

TEST(DlogTest, TextAndTagForgeNoLine)
{
    const Logged log
        = logged(DLOG_ERROR, "t\nE/x", "a\r\nE/t(1): forged\n\a\x7f\t\\", kDefaultLevel);

    EXPECT_EQ(
        R"(E/t\nE/x()" + log.pid + R"(): a\r\nE/t(1): forged\n\x07\x7f)" + "\t\\\n", log.line);
}

TEST(DlogTest, WritesALongTextWhole)
{
    const std::string text(100000, 'x');

    const Logged log = logged(DLOG_ERROR, "t", text, kDefaultLevel);

    EXPECT_EQ("E/t(" + log.pid + "): " + text + "\n", log.line);
    EXPECT_EQ("100000", log.result);
}

TEST(DlogTest, LinesOfSeveralThreadsDoNotMix)
{
    const CommandResult result
        = runCommand(probeCommand({ "log-threads", "8", "500", "300" }, kDefaultLevel));
    ASSERT_EQ(0, result.status);

    std::map<std::string, int> lines;
    std::istringstream all(result.err);
    for (std::string line; std::getline(all, line);)
        ++lines[line];

    const std::string start = "E/threads(" + result.out + "): ";
    EXPECT_EQ(8u, lines.size());
    for (char letter = 'a'; letter < 'a' + 8; ++letter)
        EXPECT_EQ(500, lines[start + std::string(300, letter)]) << letter;
}

TEST(DlogTest, OutlivesTheReaderOfItsLines)
{
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    close(ends[0]);
    const int old = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    signal(SIGPIPE, SIG_DFL);

    const int result = dlog_print(DLOG_ERROR, "t", "%s", "nobody hears it");

    dup2(old, STDERR_FILENO);
    close(old);
    close(ends[1]);
    EXPECT_EQ(15, result);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(0, sigismember(&pending, SIGPIPE));
}

TEST(DlogTest, NeedsNoStandardError)
{
    const int old = dup(STDERR_FILENO);
    close(STDERR_FILENO);

    const int result = dlog_print(DLOG_ERROR, "t", "text");

    dup2(old, STDERR_FILENO);
    close(old);
    EXPECT_EQ(4, result);
}

TEST_F(DlogHookTest, TakesEveryLineInTheSinksStead)
{
    EXPECT_EQ(7, dlog_print(DLOG_VERBOSE, "tag", "%d %s", 42, "text"));

    ASSERT_EQ(1u, taken.size());
    EXPECT_EQ(std::make_tuple(int{ DLOG_VERBOSE }, "tag", "42 text"), taken[0]);
}

TEST_F(DlogHookTest, AnEmptyTextIsALineToo)
{
    EXPECT_EQ(0, dlog_print(DLOG_INFO, "tag", "%s", ""));

    ASSERT_EQ(1u, taken.size());
    EXPECT_EQ("", std::get<2>(taken[0]));
}

TEST_F(DlogHookTest, BadArgumentsAreRefused)
{
    const char* const none = nullptr;
    const auto invalid = int{ DLOG_ERROR_INVALID_PARAMETER };

    EXPECT_EQ(invalid, dlog_print(DLOG_INFO, none, "text"));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    EXPECT_EQ(invalid, dlog_print(DLOG_INFO, "tag", none));
#pragma GCC diagnostic pop
    for (const int priority : { int{ DLOG_UNKNOWN }, int{ DLOG_DEFAULT }, int{ DLOG_SILENT }, 9 })
        EXPECT_EQ(invalid, dlog_print(static_cast<log_priority>(priority), "tag", "text"));
    EXPECT_TRUE(taken.empty());
}
