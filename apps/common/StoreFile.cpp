#include "common/StoreFile.h"

#include "common/SaveLock.h"

#include <AlarmDbModel.h>
#include <app_common.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sqlite3.h>
#include <unistd.h>

namespace app {

namespace {

const char* const kFileName = ".alarm.db";
const int kBusyTimeout = 2000; // milliseconds
const int kSettleTries = 40;
const useconds_t kSettlePause = 50000;

enum class State { None, Unfinished, Whole };

using Store = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

std::string storePath()
{
    const std::unique_ptr<char, void (*)(void*)> folder(app_get_data_path(), free);
    return folder ? std::string(folder.get()) + kFileName : "";
}

// The library keeps its connection to itself.
sqlite3* lastOpened = nullptr;

int prepareConnection(sqlite3* connection, char**, const void*)
{
    const char* const path = sqlite3_db_filename(connection, nullptr); // without symbolic links
    const char* const name = path ? strrchr(path, '/') : nullptr;
    if (name && strcmp(name + 1, kFileName) == 0)
        lastOpened = connection;
    return sqlite3_busy_timeout(connection, kBusyTimeout);
}

std::unique_ptr<AlarmDbModel> openModel()
{
    lastOpened = nullptr;
    return std::make_unique<AlarmDbModel>();
}

bool run(sqlite3* connection, const char* statement)
{
    return connection
        && sqlite3_exec(connection, statement, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// Opens a file that is there; sqlite3_errcode() tells whether it could be.
Store openFile(const std::string& path)
{
    sqlite3* opened = nullptr;
    (void)sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    return { opened, sqlite3_close };
}

int noteRow(void* found, int, char**, char**)
{
    *static_cast<bool*>(found) = true;
    return 0;
}

// The result of the query; found says whether there is a row.
int look(const Store& store, const char* query, bool& found)
{
    found = false;
    return sqlite3_exec(store.get(), query, noteRow, &found, nullptr);
}

// What cannot be read, has alarms or is somebody else's is not taken for unfinished. Table tone is
// made last.
State stateOf(const std::string& path)
{
    const Store store = openFile(path);
    if (sqlite3_errcode(store.get()) != SQLITE_OK)
        return State::None;
    bool found = false;
    if (look(store, "SELECT 1 FROM sqlite_master WHERE name NOT IN ('alarm', 'sqlite_sequence')",
            found)
            != SQLITE_OK
        || found)
        return State::Whole;
    const int read = look(store, "SELECT 1 FROM alarm LIMIT 1", found);
    const bool isEmpty = read == SQLITE_ERROR || (read == SQLITE_OK && !found);
    return isEmpty ? State::Unfinished : State::Whole;
}

// Waits while whoever makes the file may still be at it. A process that is not ours takes no lock.
State settledStateOf(const std::string& path)
{
    State state = stateOf(path);
    for (int i = 0; state == State::Unfinished && i < kSettleTries; ++i) {
        usleep(kSettlePause);
        state = stateOf(path);
    }
    return state;
}

// The result of a look into table alarm, with SQLite's words for it.
int lookIntoAlarms(const std::string& path, std::string& text)
{
    const Store store = openFile(path);
    int code = sqlite3_errcode(store.get());
    bool found = false;
    if (code == SQLITE_OK)
        code = look(store, "SELECT count(*) FROM alarm", found);
    text = sqlite3_errmsg(store.get());
    return code;
}

} // namespace

void waitOnBusyStore() { sqlite3_auto_extension(reinterpret_cast<void (*)()>(prepareConnection)); }

void makeStore()
{
    const std::string path = storePath();
    if (path.empty() || stateOf(path) == State::Whole)
        return;
    const SaveLock lock;
    if (!lock.isHeld())
        return;
    const State state = settledStateOf(path);
    if (state == State::Whole)
        return;
    if (state == State::Unfinished) {
        // Its journal first: it would be taken for the new file's.
        (void)remove((path + "-journal").c_str());
        (void)remove(path.c_str());
    }
    const AlarmDbModel made;
}

std::string storeFault()
{
    const std::string path = storePath();
    if (path.empty())
        return "there is no data folder";
    if (access(path.c_str(), F_OK) != 0 && errno == ENOENT)
        return "";

    // Another process may have made the file and not yet the table.
    const int tries = 20;
    const useconds_t pause = 50000;
    std::string text;
    for (int i = 0; i < tries; ++i) {
        const int code = lookIntoAlarms(path, text);
        if (code == SQLITE_OK)
            return "";
        if (code != SQLITE_ERROR)
            break;
        usleep(pause);
    }
    return text;
}

// The first read begins the moment. It goes through the whole table, and so finds what is broken.
StoreReading::StoreReading()
    : _model(openModel())
    , _connection(lastOpened)
    , _isOpen(run(_connection, "BEGIN") && run(_connection, "SELECT count(*) FROM alarm"))
{
}

StoreReading::~StoreReading() { run(_connection, "ROLLBACK"); }

StoreTransaction::StoreTransaction()
    : _model(openModel())
    , _connection(lastOpened)
    , _isOpen(run(_connection, "BEGIN IMMEDIATE"))
{
}

StoreTransaction::~StoreTransaction()
{
    if (_isOpen)
        run(_connection, "ROLLBACK");
}

bool StoreTransaction::commit()
{
    if (!_isOpen || !run(_connection, "COMMIT"))
        return false;
    _isOpen = false;
    return true;
}

} // namespace app
