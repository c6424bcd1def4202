#include "AlarmSaving.h"
#include "SaveTurn.h"
#include "StoreConnection.h"

#include <AlarmDbModel.h>
#include <cstdio>
#include <memory>
#include <sqlite3.h>
#include <unistd.h>

namespace companion {

namespace {

const int kSettleTries = 40;
const useconds_t kSettlePause = 50000;

enum class State { None, Unfinished, Whole };

int stopAtRow(void*, int, char**, char**) { return 1; }

// SQLITE_ABORT when the query has a row, SQLITE_OK when it has none.
int look(sqlite3* store, const char* query)
{
    return sqlite3_exec(store, query, stopAtRow, nullptr, nullptr);
}

// Unfinished is a file in which nothing can be lost: without tables, or with an empty table alarm
// alone, as the library makes table tone last. Any other, also one that cannot be read, is Whole.
State stateOf(const std::string& path)
{
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> store(opened, sqlite3_close);
    if (result != SQLITE_OK)
        return State::None;
    const char* const others
        = "SELECT 1 FROM sqlite_master WHERE name NOT IN ('alarm', 'sqlite_sequence')";
    if (look(opened, others) != SQLITE_OK)
        return State::Whole;
    const int alarms = look(opened, "SELECT 1 FROM alarm");
    const bool isMissing = alarms == SQLITE_ERROR;
    return isMissing || alarms == SQLITE_OK ? State::Unfinished : State::Whole;
}

// Waits while another process may still be making the file: one that does not use the companion
// takes no turn.
State settledStateOf(const std::string& path)
{
    State state = stateOf(path);
    for (int i = 0; state == State::Unfinished && i < kSettleTries; ++i) {
        usleep(kSettlePause);
        state = stateOf(path);
    }
    return state;
}

} // namespace

void makeStoreInTurn()
{
    const std::string path = storePath();
    const State state = settledStateOf(path);
    if (state == State::Whole)
        return;
    if (state == State::Unfinished) {
        // The journal first: SQLite would take it for the new file's.
        (void)remove((path + "-journal").c_str());
        (void)remove(path.c_str());
    }
    const AlarmDbModel made;
}

void start()
{
    waitOnBusyStore();
    const std::string path = storePath();
    if (path.empty() || stateOf(path) == State::Whole)
        return;
    const SaveTurn turn(std::chrono::steady_clock::now() + AlarmSaving::kPatience);
    if (turn.isHeld())
        makeStoreInTurn();
}

} // namespace companion
