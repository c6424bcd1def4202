#include "RingStory.h"

#include <AlarmDbModel.h>
#include <regex>
#include <set>

// The applications that follow the alarms from outside the process that changes them.
class ServiceTest : public RingStory {
protected:
    static std::string output(const std::vector<std::string>& command)
    {
        const CommandResult result = runCommand(command);
        EXPECT_EQ(0, result.status) << result.err;
        return result.out;
    }

    /// The processes of the service that have logged.
    std::set<std::string> services()
    {
        static const std::regex line(R"(alarm-service\((\d+)\))");
        const std::string log = session.logText();
        std::set<std::string> pids;
        for (std::sregex_iterator at(log.begin(), log.end(), line), end; at != end; ++at)
            pids.insert((*at)[1]);
        return pids;
    }
};

TEST_F(ServiceTest, ServiceStaysAndHearsEveryChange)
{
    output({ "hostctl", "launch", "com.velmora.alarm-service" });
    ASSERT_TRUE(waitForLog("no upcoming alarm"));

    const int changes = 40;
    for (int i = changes; i > 0; --i) {
        // Each is sooner than those before, so that each makes another one the next.
        const int id = addAlarm({ "--in", std::to_string(i * 4 - 1) + "h" });
        ASSERT_TRUE(waitForLog("upcoming alarm " + std::to_string(id) + " at "));
    }
    output({ "alarm", "remove", std::to_string(changes) });
    ASSERT_TRUE(session.waitFor([this] {
        const std::string log = session.logText();
        const size_t last = log.rfind("upcoming alarm ");
        return log.compare(last, 18, "upcoming alarm 39 ") == 0;
    })) << session.logText();
    EXPECT_EQ(1U, services().size());
}

TEST_F(ServiceTest, ServiceHearsAChangeThatIsForTheWidgetsOnly)
{
    output({ "hostctl", "launch", "com.velmora.alarm-service" });
    ASSERT_TRUE(waitForLog("no upcoming alarm"));

    AlarmDbData alarm;
    alarm.enable = 1;
    AlarmDbModel().insertAlarmData(alarm, false, true);

    EXPECT_TRUE(waitForLog("upcoming alarm " + std::to_string(alarm.id) + " at "));
}

TEST_F(ServiceTest, WatchPrintsEveryAnnouncedChange)
{
    BackgroundCommand watch({ "alarm", "watch" });
    const auto waitForLine = [&](const std::string& line) {
        const bool found
            = session.waitFor([&] { return watch.output().find(line) != std::string::npos; });
        EXPECT_TRUE(found) << line << " is not in\n" << watch.output();
    };
    waitForLine("watching");

    const int later = addAlarm({ "07:30", "--days", "daily" });
    waitForLine("added     " + std::to_string(later) + "  07:30");
    output({ "alarm", "off", std::to_string(later) });
    waitForLine("changed   " + std::to_string(later) + "  07:30  daily  off");
    output({ "alarm", "remove", std::to_string(later) });
    waitForLine("removed   " + std::to_string(later));
    const int soon = addAlarm({ "--in", "1s" });
    waitForLine("added     " + std::to_string(soon));
    waitForLine("ringing   " + std::to_string(soon));
    dismiss();
    waitForLine("quiet");
}

TEST_F(ServiceTest, WatchPrintsAChangeOnceThatIsForTheWidgetsToo)
{
    BackgroundCommand watch({ "alarm", "watch" });
    const auto hasLine = [&](const std::string& line) {
        return session.waitFor([&] { return watch.output().find(line) != std::string::npos; });
    };
    ASSERT_TRUE(hasLine("watching"));

    AlarmDbData alarm;
    AlarmDbModel().insertAlarmData(alarm, false, true);
    EXPECT_TRUE(hasLine("added     1"));
    AlarmDbModel().insertAlarmData(alarm, true, true);
    EXPECT_TRUE(hasLine("added     2"));
    output({ "alarm", "remove", "2" });
    EXPECT_TRUE(hasLine("removed   2"));

    EXPECT_EQ("watching  0 alarms\nadded     1  06:00  once  off\nadded     2  06:00  once  off\n"
              "removed   2  06:00  once  off\n",
        watch.output());
}
