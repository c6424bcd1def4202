#include "CompanionFixture.h"

#include <deque>
#include <fstream>
#include <sys/stat.h>

using companion::Saved;

// Processes that save at once.
class SavingCrowdTest : public CompanionFixture {
protected:
    static const int kWriters = 8;

    /// How many the kernel keeps waiting for the turn.
    int waitingForTurn() const
    {
        struct stat turn = {};
        EXPECT_EQ(0, stat((file.folder() + ".alarm.lock").c_str(), &turn));
        const std::string inode = ":" + std::to_string(turn.st_ino) + " ";
        int waiting = 0;
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);) {
            if (line.find("->") != std::string::npos && line.find(inode) != std::string::npos)
                ++waiting;
        }
        return waiting;
    }

    /// Starts the writers, each with a number, and lets them begin at one moment.
    static void runAtOnce(const std::function<void(int)>& work)
    {
        int gate[2];
        ASSERT_EQ(0, pipe(gate));
        std::deque<OtherProcess> writers;
        for (int writer = 0; writer < kWriters; ++writer) {
            writers.emplace_back([&, writer](const auto& ready) {
                close(gate[1]);
                alarmDouble().nextId = 1000 * (writer + 1);
                ready();
                char letter = 0;
                EXPECT_EQ(0, read(gate[0], &letter, 1)); // until the gate is closed
                work(writer);
            });
        }
        close(gate[0]);
        close(gate[1]);
        for (OtherProcess& writer : writers)
            EXPECT_EQ(0, writer.status());
    }
};

TEST_F(SavingCrowdTest, EightWritersLoseAndDoubleNothing)
{
    const int saves = 10;
    for (const bool isThere : { true, false }) {
        if (isThere) {
            added(ringAt(7, 30));
            file.run("DELETE FROM alarm");
        } else {
            ASSERT_EQ(0, unlink(file.path().c_str()));
        }
        runAtOnce([&](int writer) {
            for (int i = 0; i < saves; ++i) {
                AlarmDbData alarm;
                alarm.name = std::to_string(writer) + "-" + std::to_string(i);
                EXPECT_EQ(Saved::Yes, companion::addAlarm(alarm, ringAt(7, 30)));
            }
        });

        const std::string all = std::to_string(kWriters * saves);
        for (const char* different : { "name", "mtime", "alarm_mgr_id" }) {
            EXPECT_EQ(all,
                file.value("SELECT count(DISTINCT " + std::string(different)
                    + ")"
                      " FROM alarm"))
                << different << (isThere ? " on a file" : " while the file is made");
        }
        EXPECT_EQ(all, file.value("SELECT count(*) FROM alarm"));
        EXPECT_EQ("ok", file.value("PRAGMA integrity_check"));
    }
}

TEST_F(SavingCrowdTest, ChangesOfOneAlarmDoNotUndoEachOther)
{
    const AlarmDbData alarm = added(ringAt(7, 30));
    runAtOnce([&](int) {
        for (int i = 0; i < 5; ++i) {
            AlarmDbData after;
            EXPECT_EQ(Saved::Yes,
                companion::changeAlarm(
                    alarm.id,
                    [](AlarmDbData& edited, time_t) {
                        ++edited.volume;
                        return false;
                    },
                    after));
        }
    });

    EXPECT_EQ(std::to_string(kWriters * 5), file.value("SELECT volume FROM alarm"));
}

TEST_F(SavingCrowdTest, TransactionsOfManyStayWhole)
{
    runAtOnce([&](int writer) {
        companion::AlarmSaving saving;
        for (int i = 0; i < 5; ++i) {
            AlarmDbData alarm;
            alarm.name = std::to_string(writer);
            EXPECT_EQ(Saved::Yes, saving.add(alarm, ringAt(7, 30)));
        }
        EXPECT_EQ(Saved::Yes, saving.commit());
    });

    EXPECT_EQ(std::to_string(kWriters),
        file.value("SELECT count(*) FROM (SELECT name FROM alarm GROUP BY name"
                   " HAVING count(*) = 5 AND max(id) - min(id) = 4)"));
}

// The first come is the first served: nobody overtakes who waits already.
TEST_F(SavingCrowdTest, WritersHaveTheirTurnsInTheOrderInWhichTheyCame)
{
    OtherProcess first([](const auto& ready) {
        const companion::AlarmSaving saving;
        ready();
        pause();
    });
    std::deque<OtherProcess> writers;
    for (int writer = 0; writer < kWriters; ++writer) {
        writers.emplace_back([writer](const auto& ready) {
            AlarmDbData alarm;
            alarm.name = std::to_string(writer);
            ready();
            EXPECT_EQ(Saved::Yes, companion::addAlarm(alarm, ringAt(7, 30)));
        });
        while (waitingForTurn() <= writer)
            usleep(100);
    }
    first.signal(SIGKILL);
    for (OtherProcess& writer : writers)
        EXPECT_EQ(0, writer.status());

    EXPECT_EQ("0,1,2,3,4,5,6,7",
        file.value("SELECT group_concat(name) FROM (SELECT name FROM alarm ORDER BY id)"));
}
