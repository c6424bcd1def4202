#include "StoreStory.h"
#include "TempDir.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <random>
#include <thread>
#include <unistd.h>

namespace {

// A file system of 256 kB in a name space of its own.
class SmallDisk {
public:
    explicit SmallDisk(HostSession& session)
        : _keeper({ "unshare", "-rm", "sh", "-c",
            "mount -t tmpfs -o size=256k,mode=0700 small " + _folder.path()
                + " && echo $$ && exec sleep 1000" })
    {
        (void)session.waitFor([this] { return _keeper.output().find('\n') != std::string::npos; });
        _pid = _keeper.output().substr(0, _keeper.output().find('\n'));
    }

    bool isThere() const { return !_pid.empty(); }
    const std::string& path() const { return _folder.path(); }

    /// Runs a command where the disk can be seen.
    CommandResult run(const std::vector<std::string>& command) const
    {
        std::vector<std::string> inside
            = { "nsenter", "--preserve-credentials", "-U", "-m", "-t", _pid, "--" };
        inside.insert(inside.end(), command.begin(), command.end());
        return runCommand(inside);
    }

    CommandResult alarm(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command
            = { "env", "ALARM_HOST_HOME=" + path(), "ALARM_HOST_LOG=S", "alarm" };
        command.insert(command.end(), arguments.begin(), arguments.end());
        return run(command);
    }

    /// The alarms as JSON.
    std::string list() const { return alarm({ "list", "--json" }).out; }

    void fill() const { (void)run({ "sh", "-c", "cat /dev/zero >" + path() + "/filler" }); }
    void clear() const { (void)run({ "rm", path() + "/filler" }); }

private:
    TempDir _folder;
    BackgroundCommand _keeper;
    std::string _pid;
};

} // namespace

// Saves that cannot be finished.
class StoreCrashTest : public StoreStory {
protected:
    /// Has a writer save for so long, and kills it. Returns what it said that it has saved.
    std::vector<Row> saveUntilKilled(const std::string& home, std::chrono::microseconds time)
    {
        const TempDir folder;
        const Gate gate(folder.file("gate"));
        Writers writers;
        startWriter(writers, home, gate, 100000);
        waitUntilReady(writers);
        gate.letPass();
        std::this_thread::sleep_for(time);
        writers[0].signal(SIGKILL);
        const CommandResult result = writers[0].finish();
        EXPECT_EQ(128 + SIGKILL, result.status) << result.err;
        return savedRows(result.out);
    }

    /// How long the first saves of a writer take on this machine, in microseconds.
    int firstSavesTime()
    {
        const TempDir home;
        const Gate gate(home.file("gate"));
        Writers writers;
        startWriter(writers, home.path(), gate, 5);
        waitUntilReady(writers);
        const auto begin = std::chrono::steady_clock::now();
        gate.letPass();
        (void)finish(writers);
        const auto taken = std::chrono::steady_clock::now() - begin;
        return static_cast<int>(
            std::chrono::duration_cast<std::chrono::microseconds>(taken).count());
    }

    std::vector<Row> saveOne(const std::string& home)
    {
        const TempDir folder;
        const Gate gate(folder.file("gate"));
        gate.letPass();
        Writers writers;
        startWriter(writers, home, gate, 1);
        return finish(writers);
    }

    /// Reading comes first: it ends what the killed writer has begun.
    static void expectStored(const std::string& home, const std::vector<Row>& saved)
    {
        if (saved.empty() && access(storeIn(home).c_str(), F_OK) != 0)
            return;
        Store store(storeIn(home));
        EXPECT_EQ("ok", store.text("PRAGMA integrity_check"));
        if (saved.empty())
            return;
        const std::vector<Row> stored = store.rows();
        EXPECT_TRUE(std::includes(stored.begin(), stored.end(), saved.begin(), saved.end()))
            << testing::PrintToString(stored) << "\nlacks some of\n"
            << testing::PrintToString(saved);
    }
};

TEST_F(StoreCrashTest, KilledWriterLeavesWhatItSaved)
{
    const unsigned given = static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
    const unsigned seed = given != 0 ? given : std::random_device()() % 100000;
    printf("the instants are those of --gtest_random_seed=%u\n", seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> instants(0, firstSavesTime());

    size_t savedByKilled = 0;
    for (int first = 0; first < 5 * times() && !HasFailure(); ++first) {
        const TempDir home;
        std::vector<Row> saved;
        for (int kill = 0; kill < 10 && !HasFailure(); ++kill) {
            const int time = instants(random);
            SCOPED_TRACE("killed after " + std::to_string(time) + " us");
            const std::vector<Row> rows
                = saveUntilKilled(home.path(), std::chrono::microseconds(time));
            saved.insert(saved.end(), rows.begin(), rows.end());
            savedByKilled += rows.size();
            expectStored(home.path(), saved);
        }
        const std::vector<Row> after = saveOne(home.path());
        EXPECT_EQ(1U, after.size());
        saved.insert(saved.end(), after.begin(), after.end());
        expectStored(home.path(), saved);
        Store store(storeIn(home.path()));
        expectSound(store);
        expectNothingDoubled(store.rows());
    }
    EXPECT_GT(savedByKilled, 0U);
}

TEST_F(StoreCrashTest, FullDiskRefusesASaveAndKeepsWhatThereIs)
{
    if (runCommand({ "unshare", "-rm", "true" }).status != 0)
        GTEST_SKIP() << "the kernel makes no name spaces for this user";
    const SmallDisk disk(session);
    ASSERT_TRUE(disk.isThere());
    const CommandResult first = disk.alarm({ "add", "07:30", "--days", "daily" });
    ASSERT_EQ(0, first.status) << first.err;
    const std::string before = disk.list();
    ASSERT_EQ(1U, session.alarms().size());

    disk.fill();
    const CommandResult refused
        = disk.alarm({ "add", "08:00", "--days", "daily", "--name", std::string(5000, 'x') });

    EXPECT_EQ(1, refused.status);
    EXPECT_EQ("", refused.out);
    EXPECT_EQ("alarm: the change could not be stored\n", refused.err);
    EXPECT_EQ(before, disk.list());
    EXPECT_EQ(1U, session.alarms().size());

    disk.clear();
    const CommandResult next = disk.alarm({ "add", "09:00", "--days", "daily" });

    EXPECT_EQ(0, next.status) << next.err;
    EXPECT_EQ(2U, session.alarms().size());
    EXPECT_NE(std::string::npos, disk.list().find("\"time\":\"07:30\""));
    EXPECT_NE(std::string::npos, disk.list().find("\"time\":\"09:00\""));
}
