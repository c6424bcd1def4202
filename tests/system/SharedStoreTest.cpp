#include "StoreStory.h"
#include "TempDir.h"

#include <algorithm>

// Processes that save at once.
class SharedStoreTest : public StoreStory {
protected:
    /// Rounds on a directory in which nothing is yet: all writers are at once the first.
    void writeAtOnce(int rounds, int writerCount, int saves)
    {
        std::vector<int> registered;
        for (int round = 1; round <= rounds && !HasFailure(); ++round) {
            SCOPED_TRACE("round " + std::to_string(round));
            const TempDir home;
            const Gate gate(home.file("gate"));
            Writers writers;
            for (int i = 0; i < writerCount; ++i)
                startWriter(writers, home.path(), gate, saves);
            waitUntilReady(writers);
            gate.letPass();
            const std::vector<Row> saved = finish(writers);

            EXPECT_EQ(static_cast<size_t>(writerCount * saves), saved.size());
            Store store(storeIn(home.path()));
            EXPECT_EQ(saved, store.rows());
            expectNothingDoubled(saved);
            expectSound(store);
            for (const Row& row : saved)
                registered.push_back(row.registration);
        }
        expectRegistered(registered);
    }

    void expectRegistered(std::vector<int> expected)
    {
        std::vector<int> registered;
        for (const HostSession::Alarm& alarm : session.alarms())
            registered.push_back(alarm.id);
        std::sort(registered.begin(), registered.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(expected, registered);
    }
};

TEST_F(SharedStoreTest, TwoFirstWritersLoseNothing) { writeAtOnce(100, 2, 3); }

TEST_F(SharedStoreTest, EightFirstWritersLoseNothing) { writeAtOnce(100, 8, 2); }

TEST_F(SharedStoreTest, WritersWaitForAProcessThatHoldsTheLock)
{
    const TempDir home;
    const Gate gate(home.file("gate"));
    gate.letPass();
    Writers first;
    startWriter(first, home.path(), gate, 1);
    std::vector<Row> expected = finish(first);

    Store store(storeIn(home.path()));
    store.exec("BEGIN EXCLUSIVE");
    Writers writers;
    for (int i = 0; i < 4; ++i)
        startWriter(writers, home.path(), gate, 3);
    waitUntilReady(writers);
    (void)session.waitFor([] { return false; }, 1.4);
    store.exec("COMMIT");

    const std::vector<Row> saved = finish(writers);
    EXPECT_EQ(12U, saved.size());
    expected.insert(expected.end(), saved.begin(), saved.end());
    EXPECT_EQ(expected, store.rows());
    expectNothingDoubled(expected);
    expectSound(store);
}
