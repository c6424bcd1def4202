#include "CommandStory.h"

#include <chrono>
#include <csignal>
#include <set>
#include <sstream>
#include <thread>

// The program of docs/, as its reader would run it.
class FirstApplicationTest : public CommandStory {
protected:
    void setLocale(const std::string& locale)
    {
        session.setKey("db/menu_widget/language", locale + ".UTF-8");
        session.setKey("db/menu_widget/regionformat", locale + ".UTF-8");
        session.setKey("db/menu_widget/regionformat_time1224", 2);
    }

    std::set<std::string> registrations()
    {
        std::set<std::string> ids;
        for (const auto& alarm : session.alarms())
            ids.insert(std::to_string(alarm.id));
        return ids;
    }

    std::string rows() { return store->query("SELECT id, hour, min, name FROM alarm"); }
};

TEST_F(FirstApplicationTest, ItShowsTheDevicesTexts)
{
    setLocale("de_DE");
    alarmOutput({ "add", "06:15", "--days", "daily", "--name", "Early" });

    const CommandResult result = runCommand({ FIRST_APPLICATION });

    EXPECT_EQ("", result.err);
    EXPECT_THAT(result.out, testing::StartsWith("06\u223615, "));
    EXPECT_THAT(result.out, testing::HasSubstr(">D</color>")) << "Dienstag";
    EXPECT_THAT(result.out, testing::HasSubstr(": Early\n07\u223630, "));
    EXPECT_THAT(result.out, testing::EndsWith(": Work\nsaved\n"));
    EXPECT_EQ("1 6 15 Early", rows());
    EXPECT_EQ(1U, session.alarms().size());
}

TEST_F(FirstApplicationTest, ItTellsWhyTheAlarmIsNotSaved)
{
    store->query("CREATE TRIGGER refuse BEFORE INSERT ON alarm BEGIN SELECT RAISE(ABORT, ''); END");

    EXPECT_EQ("the change could not be stored\n", runCommand({ FIRST_APPLICATION }).out);
    EXPECT_EQ(0U, session.alarms().size());
}

TEST_F(FirstApplicationTest, NothingIsLostWhereverItIsKilled)
{
    alarmOutput({ "add", "06:15", "--days", "daily", "--name", "Early" });
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_THAT(runCommand({ FIRST_APPLICATION }).out, testing::EndsWith("saved\n"));
    const auto whole = std::chrono::steady_clock::now() - begin;

    const int kills = 24;
    int left = 0;
    for (int kill = 0; kill < kills; ++kill) {
        BackgroundCommand application({ FIRST_APPLICATION });
        std::this_thread::sleep_for(whole * kill / kills);
        application.signal(SIGKILL);
        (void)application.finish();

        // Its own alarm is there as a whole, or not.
        EXPECT_THAT(rows(), testing::MatchesRegex("1 6 15 Early(,[0-9]+ 7 30 Work)*"));
        const std::set<std::string> registered = registrations();
        std::istringstream named(
            store->query("SELECT group_concat(alarm_mgr_id, ' ') FROM alarm WHERE enable = 1"));
        for (std::string id; named >> id;)
            EXPECT_EQ(1U, registered.count(id)) << "killed after part " << kill;
        left = std::stoi(store->query("SELECT count(*) FROM alarm"));
    }
    EXPECT_EQ("ok", store->query("PRAGMA integrity_check"));

    EXPECT_THAT(runCommand({ FIRST_APPLICATION }).out, testing::EndsWith("saved\n"));
    EXPECT_EQ(std::to_string(left), store->query("SELECT count(*) FROM alarm"));
}
