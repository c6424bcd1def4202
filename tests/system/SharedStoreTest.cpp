#include "StoreStory.h"
#include "TempDir.h"

#include <algorithm>

// Processes that save at once.
class SharedStoreTest : public StoreStory {
protected:
    /// Rounds of writers that begin at once: on a directory in which nothing is yet, so that each
    /// may be the first, or on a file.
    void writeAtOnce(bool onFile)
    {
        const int writerCount = 8;
        const int saves = 2;
        const int rounds = 25 * times();
        std::vector<int> registered;
        for (int round = 1; round <= rounds && !HasFailure(); ++round) {
            SCOPED_TRACE("round " + std::to_string(round));
            const TempDir home;
            std::vector<Row> expected;
            if (onFile)
                expected = saveFirst(home);
            const Gate gate(home.file("gate"));
            Writers writers;
            for (int i = 0; i < writerCount; ++i)
                startWriter(writers, home.path(), gate, saves);
            waitUntilReady(writers);
            gate.letPass();
            const std::vector<Row> saved = finish(writers);

            EXPECT_EQ(static_cast<size_t>(writerCount * saves), saved.size());
            expected.insert(expected.end(), saved.begin(), saved.end());
            Store store(storeIn(home.path()));
            EXPECT_EQ(expected, store.rows());
            expectNothingDoubled(expected);
            expectSound(store);
            for (const Row& row : expected)
                registered.push_back(row.registration);
        }
        expectRegistered(registered);
    }

    /// What one writer saves where nothing was.
    std::vector<Row> saveFirst(const TempDir& home)
    {
        const Gate gate(home.file("first"));
        gate.letPass();
        Writers writers;
        startWriter(writers, home.path(), gate, 1);
        return finish(writers);
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

TEST_F(SharedStoreTest, EightFirstWritersLoseNothing) { writeAtOnce(false); }

TEST_F(SharedStoreTest, EightWritersOfAFileLoseNothing) { writeAtOnce(true); }
