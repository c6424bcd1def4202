#include "CompanionFixture.h"

#include <AlarmReading.h>
#include <fstream>
#include <sys/mman.h>

using companion::Saved;

namespace {

const int kKilled = 77;

/// Counts what a process does to the world outside it, and ends the process before one of these
/// steps: SQLite's calls of the system, and the calls of the platform.
int stepsLeft = -1;

void step()
{
    if (stepsLeft == 0)
        _exit(kKilled);
    --stepsLeft;
}

ssize_t stepPwrite(int number, const void* bytes, size_t size, off_t at)
{
    step();
    return pwrite(number, bytes, size, at);
}

int stepUnlink(const char* path)
{
    step();
    return unlink(path);
}

int stepFtruncate(int number, off_t size)
{
    step();
    return ftruncate(number, size);
}

void countSteps(int steps)
{
    stepsLeft = steps;
    sqlite3_vfs* vfs = sqlite3_vfs_find(nullptr);
    const std::pair<const char*, sqlite3_syscall_ptr> calls[] = {
        { "pwrite", reinterpret_cast<sqlite3_syscall_ptr>(stepPwrite) },
        { "pwrite64", reinterpret_cast<sqlite3_syscall_ptr>(stepPwrite) },
        { "unlink", reinterpret_cast<sqlite3_syscall_ptr>(stepUnlink) },
        { "ftruncate", reinterpret_cast<sqlite3_syscall_ptr>(stepFtruncate) },
    };
    for (const auto& [name, call] : calls)
        vfs->xSetSystemCall(vfs, name, call);
}

/// The registrations of the alarm service, which lives longer than a process that is killed.
struct Registrations {
    bool isRegistered[100];
};

} // namespace

// A process that is killed at any step of a save.
class SavingKillTest : public CompanionFixture {
protected:
    SavingKillTest()
        : _service(static_cast<Registrations*>(mmap(nullptr, sizeof(Registrations),
            PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
    }

    ~SavingKillTest() override { munmap(_service, sizeof(Registrations)); }

    /// Kills a process at each step of the work in turn, on the store as it is now, until the work
    /// comes to its end. Whatever the step, the store is as before or as after the work, each alarm
    /// that is on is registered, and the next save is done.
    void killAtEachStep(const std::function<void()>& work)
    {
        clockDouble().sleep = [] {}; // nobody else makes the file
        const std::string store = file.exists() ? file.bytes() : "";
        const std::string before = alarms();
        const std::set<int> atFirst = registered();
        std::string after;
        std::set<std::string> left;
        int steps = 0;
        int status = kKilled;
        for (; status == kKilled && steps < 200; ++steps) {
            SCOPED_TRACE("killed before step " + std::to_string(steps));
            restore(store, atFirst);
            OtherProcess process([&](const auto& ready) {
                ready();
                remember();
                countSteps(steps);
                work();
            });
            status = process.status();
            companion::start(); // as each process does
            after = alarms();
            left.insert(after);
            expectAllRegistered();
            const int rows = rowCount();
            alarmDouble().nextId = 90;
            added(ringAt(23, 0));
            EXPECT_EQ(rows + 1, rowCount());
        }
        EXPECT_EQ(0, status);
        EXPECT_GT(steps, 5);
        EXPECT_EQ((std::set<std::string>{ before, after }), left);
    }

    std::string alarms() const
    {
        return file.exists() ? file.value("SELECT ifnull(group_concat(id || ' ' || hour, ','), '')"
                                          " FROM alarm")
                             : "";
    }

private:
    void restore(const std::string& store, const std::set<int>& ids)
    {
        (void)unlink((file.path() + "-journal").c_str());
        (void)unlink(file.path().c_str());
        if (!store.empty())
            file.write(store);
        *_service = {};
        for (const int id : ids)
            _service->isRegistered[id] = true;
        alarmDouble().registered = ids;
        alarmDouble().onSchedule = nullptr;
        alarmDouble().onCancel = nullptr;
        preferenceDouble() = {};
    }

    /// Lets the double keep its registrations where the test sees them. Each call is two steps, as
    /// a process may be killed before it and after it.
    void remember()
    {
        alarmDouble().onSchedule = [this] {
            step();
            _service->isRegistered[alarmDouble().nextId] = true;
            step();
        };
        alarmDouble().onCancel = [this] {
            step();
            _service->isRegistered[alarmDouble().cancelled.back()] = false;
            step();
        };
    }

    void expectAllRegistered() const
    {
        for (const auto& column :
            file.rows("SELECT alarm_mgr_id FROM alarm WHERE enable = 1 AND isDeleted = 0")) {
            EXPECT_TRUE(_service->isRegistered[std::stoi(column[0])])
                << "registration " << column[0];
        }
    }

    Registrations* _service;
};

TEST_F(SavingKillTest, NewAlarmIsThereOrNot)
{
    added(ringAt(6, 0));
    killAtEachStep([] { added(ringAt(7, 30)); });
}

TEST_F(SavingKillTest, ChangedAlarmIsTheFormerOrTheNew)
{
    const AlarmDbData alarm = added(ringAt(6, 0));
    killAtEachStep([&] {
        AlarmDbData after;
        EXPECT_EQ(Saved::Yes, companion::changeAlarm(alarm.id, ringAt(7, 30), after));
    });
}

TEST_F(SavingKillTest, RemovedAlarmIsThereOrNot)
{
    const AlarmDbData alarm = added(ringAt(6, 0));
    killAtEachStep([&] {
        AlarmDbData removed;
        EXPECT_EQ(Saved::Yes, companion::removeAlarm(alarm.id, removed));
    });
}

TEST_F(SavingKillTest, OfManyAllAreStoredOrNone)
{
    const AlarmDbData first = added(ringAt(6, 0));
    const AlarmDbData second = added(ringAt(7, 0));
    killAtEachStep([&] {
        companion::AlarmSaving saving;
        AlarmDbData alarm;
        EXPECT_EQ(Saved::Yes, saving.add(alarm, ringAt(8, 0)));
        EXPECT_EQ(Saved::Yes, saving.change(first.id, ringAt(9, 0), alarm));
        EXPECT_EQ(Saved::Yes, saving.remove(second.id, alarm));
        EXPECT_EQ(Saved::Yes, saving.commit());
    });
}

TEST_F(SavingKillTest, FirstAlarmOfAllIsThereOrNot)
{
    ASSERT_EQ(0, unlink(file.path().c_str()));
    killAtEachStep([] {
        companion::start();
        added(ringAt(7, 30));
    });
}
