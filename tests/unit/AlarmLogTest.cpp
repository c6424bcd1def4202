#include "AlarmLog.h"

#include "DlogDouble.h"

#include <gtest/gtest.h>

namespace {
class AlarmLogTest : public testing::Test {
protected:
    AlarmLogTest() { dlogDouble() = {}; }

    static const DlogDouble::Line& onlyLine()
    {
        EXPECT_EQ(1u, dlogDouble().lines.size());
        return dlogDouble().lines.at(0);
    }

    static std::string source(int line)
    {
        return "AlarmLogTest.cpp: TestBody(" + std::to_string(line) + ") > ";
    }
};
} // namespace

TEST_F(AlarmLogTest, ACriticalLineIsAnErrorInRedWithItsPrefix)
{
    const int line = __LINE__ + 1;
    LOG_CRITICAL("db open failed");

    EXPECT_EQ(DLOG_ERROR, onlyLine().priority);
    EXPECT_EQ("alarm-common", onlyLine().tag);
    EXPECT_EQ(source(line) + "\x1b[0;31m* Critical * db open failed\x1b[0;m", onlyLine().text);
}

TEST_F(AlarmLogTest, AnInfoLineIsGreen)
{
    const int line = __LINE__ + 1;
    LOG_INFO("volume = %d", 7);

    EXPECT_EQ(DLOG_INFO, onlyLine().priority);
    EXPECT_EQ("alarm-common", onlyLine().tag);
    EXPECT_EQ(source(line) + "\x1b[0;32mvolume = 7\x1b[0;m", onlyLine().text);
}

TEST_F(AlarmLogTest, AWarningLineIsMagenta)
{
    const int line = __LINE__ + 1;
    LOG_WARNING("%s and %ld", "one", 2L);

    EXPECT_EQ(DLOG_WARN, onlyLine().priority);
    EXPECT_EQ("alarm-common", onlyLine().tag);
    EXPECT_EQ(source(line) + "\x1b[0;35mone and 2\x1b[0;m", onlyLine().text);
}

TEST_F(AlarmLogTest, TheFunctionIsTheOneThatLogs)
{
    struct Named {
        static void aFunction() { LOG_INFO("here"); }
    };
    Named::aFunction();

    EXPECT_NE(std::string::npos, onlyLine().text.find("AlarmLogTest.cpp: aFunction("));
}

TEST_F(AlarmLogTest, AFileIsNamedWithoutItsFolders)
{
    EXPECT_STREQ("AlarmDbModel.cpp", alarmLogFile("/a/b/src/AlarmDbModel.cpp"));
    EXPECT_STREQ("AlarmDbModel.cpp", alarmLogFile("AlarmDbModel.cpp"));
    EXPECT_STREQ("", alarmLogFile("src/"));
    EXPECT_STREQ("", alarmLogFile(""));
}

TEST_F(AlarmLogTest, PercentSignsOfAnArgumentAreText)
{
    const int line = __LINE__ + 1;
    LOG_INFO("query=%s", "100%d %n");

    EXPECT_EQ(source(line) + "\x1b[0;32mquery=100%d %n\x1b[0;m", onlyLine().text);
}
