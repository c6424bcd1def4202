#include "CommandStory.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <string>
#include <vector>

class AlarmSaveTest : public CommandStory {
protected:
    using Commands = std::deque<BackgroundCommand>;

    static void start(Commands& commands, std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "alarm");
        commands.emplace_back(arguments);
    }

    static void expectAllDone(Commands& commands)
    {
        for (BackgroundCommand& command : commands) {
            const CommandResult result = command.finish();
            EXPECT_EQ(0, result.status) << result.err;
        }
    }

    /// Ends the alarm service, and lets none be started.
    void loseDaemon()
    {
        session.installApplication("com.velmora.host", "/bin/false");
        session.killDaemon();
    }

    /// Every enabled row has its own registration, and there is no other.
    void expectRowsAndRegistrationsMatch()
    {
        std::string ids;
        std::vector<int> sorted;
        for (const auto& alarm : session.alarms())
            sorted.push_back(alarm.id);
        std::sort(sorted.begin(), sorted.end());
        for (const int id : sorted)
            ids += (ids.empty() ? "" : ",") + std::to_string(id);
        EXPECT_EQ(ids,
            store->query("SELECT alarm_mgr_id FROM alarm WHERE enable = 1 ORDER BY alarm_mgr_id"));
    }
};

TEST_F(AlarmSaveTest, NoneOfManyIsLostWhileTheFileIsMade)
{
    store.reset();
    ASSERT_EQ(0, remove(storePath().c_str()));
    Commands commands;
    for (int i = 0; i < 16; ++i)
        start(commands, { "add", "07:30", "--name", std::to_string(i) });
    expectAllDone(commands);

    store = std::make_unique<StoreView>();
    EXPECT_EQ("16 16 16",
        store->query("SELECT count(*), count(DISTINCT name), count(DISTINCT mtime) FROM alarm"));
    expectRowsAndRegistrationsMatch();
}

TEST_F(AlarmSaveTest, ChangesAtTheSameTimeDoNotUndoEachOther)
{
    for (int i = 0; i < 4; ++i)
        alarmOutput({ "add", "07:30", "--days", "daily" });
    Commands commands;
    for (int i = 1; i <= 3; ++i) {
        start(commands, { "edit", std::to_string(i), "--name", "new" });
        start(commands, { "edit", std::to_string(i), "08:45" });
        start(commands, { "edit", std::to_string(i), "--volume", "3" });
    }
    start(commands, { "remove", "4" });
    expectAllDone(commands);

    EXPECT_EQ("new 8 45 3,new 8 45 3,new 8 45 3",
        store->query("SELECT name, hour, min, volume FROM alarm"));
    expectRowsAndRegistrationsMatch();
}

TEST_F(AlarmSaveTest, RegistrationThatOutlivesItsAlarmIsLogged)
{
    alarmOutput({ "add", "07:30" });
    const std::string registration = store->query("SELECT alarm_mgr_id FROM alarm");
    loseDaemon();

    const CommandResult result = runCommand({ "env", "ALARM_HOST_LOG=E", "alarm", "remove", "1" });

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("alarm 1 removed\n", result.out);
    EXPECT_THAT(result.err,
        testing::HasSubstr("the registration " + registration + " could not be taken back: error"));
}

TEST_F(AlarmSaveTest, LockedStoreIsNoEmptyList)
{
    alarmOutput({ "add", "07:30" });
    store->query("BEGIN EXCLUSIVE");

    const CommandResult result = alarm({ "list" });

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("alarm: the alarms cannot be read: database is locked\n", result.err);
}
