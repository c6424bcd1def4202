#include "StoreConnection.h"

#include "HeapText.h"

#include <algorithm>
#include <app_common.h>
#include <cstring>
#include <sqlite3.h>
#include <unistd.h>

namespace companion {

namespace {

const char* const kFileName = ".alarm.db";
const int kBusyTimeout = 2000; // milliseconds
const useconds_t kLongestPause = 20000;

// SQLite gives a path in which symbolic links are resolved, so only the name is compared.
bool isStore(const char* path)
{
    const char* const name = path ? strrchr(path, '/') : nullptr;
    return name && strcmp(name + 1, kFileName) == 0;
}

} // namespace

thread_local StoreConnection* StoreConnection::_opening = nullptr;

std::string dataFile(const char* name)
{
    const std::string folder = takeText(app_get_data_path());
    return folder.empty() ? "" : folder + name;
}

std::string storePath() { return dataFile(kFileName); }

void waitOnBusyStore()
{
    AlarmDbModel::_maxRetryTimeout = AlarmDbModel::_initialRetryTimeout;
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(StoreConnection::_openedCb));
}

StoreConnection::StoreConnection(Time end)
    : _end(end)
{
    waitOnBusyStore();
    _opening = this;
    _model.emplace();
    _opening = nullptr;
}

bool StoreConnection::run(const char* statement) const
{
    return _handle && sqlite3_exec(_handle, statement, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// SQLite promises this code after a call that failed; after one that was done it is SQLITE_OK since
// SQLite keeps it for the handle and clears it with each statement.
int StoreConnection::code() const { return _handle ? sqlite3_errcode(_handle) : SQLITE_CANTOPEN; }

std::string StoreConnection::error() const
{
    return _handle ? sqlite3_errmsg(_handle) : sqlite3_errstr(SQLITE_CANTOPEN);
}

int StoreConnection::_openedCb(sqlite3* connection, char** /*error*/, const void* /*api*/) noexcept
{
    if (!_opening || !isStore(sqlite3_db_filename(connection, nullptr)))
        return sqlite3_busy_timeout(connection, kBusyTimeout);
    _opening->_handle = connection;
    sqlite3_trace_v2(connection, SQLITE_TRACE_CLOSE, _closedCb, _opening);
    return sqlite3_busy_handler(
        connection, _busyCb, const_cast<Time*>(&_opening->_end)); // read only
}

// Processes that save with the companion stand in a line. Whoever else has the file tells nobody
// when it lets go, so the file is tried again and again.
int StoreConnection::_busyCb(void* end, int tries) noexcept
{
    if (std::chrono::steady_clock::now() >= *static_cast<const Time*>(end))
        return 0;
    const useconds_t millisecond = 1000;
    usleep(std::min(millisecond * static_cast<useconds_t>(tries + 1), kLongestPause));
    return 1;
}

int StoreConnection::_closedCb(unsigned int, void* self, void*, void*) noexcept
{
    static_cast<StoreConnection*>(self)->_handle = nullptr;
    return 0;
}

} // namespace companion
