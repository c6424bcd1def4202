#include "StoreMaking.h"

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

int noteRow(void* found, int, char**, char**)
{
    *static_cast<bool*>(found) = true;
    return 0;
}

// The result of the query; found says whether there is a row.
int look(sqlite3* store, const char* query, bool& found)
{
    found = false;
    return sqlite3_exec(store, query, noteRow, &found, nullptr);
}

// A file that cannot be read, has alarms or is somebody else's is not taken for unfinished. The
// library makes table tone last.
State stateOf(const std::string& path)
{
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> store(opened, sqlite3_close);
    if (result != SQLITE_OK)
        return State::None;
    bool found = false;
    if (look(opened, "SELECT 1 FROM sqlite_master WHERE name NOT IN ('alarm', 'sqlite_sequence')",
            found)
            != SQLITE_OK
        || found)
        return State::Whole;
    const int read = look(opened, "SELECT 1 FROM alarm LIMIT 1", found);
    const bool isEmpty = read == SQLITE_ERROR || (read == SQLITE_OK && !found);
    return isEmpty ? State::Unfinished : State::Whole;
}

// Waits while whoever makes the file may still be at it. A process that knows the library alone
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
    if (!turn.isLate())
        makeStoreInTurn();
}

} // namespace companion
