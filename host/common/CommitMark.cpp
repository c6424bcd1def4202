#include "host/common/CommitMark.h"

#include <atomic>
#include <sqlite3.h>

namespace host {

namespace {

const int kIndexPageSize = 32768;

} // namespace

CommitMark::CommitMark(sqlite3* connection)
{
    sqlite3_file* file = nullptr;
    if (sqlite3_file_control(connection, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK)
        return;
    sqlite3_stmt* mode = nullptr;
    sqlite3_prepare_v2(connection, "PRAGMA journal_mode", -1, &mode, nullptr);
    const bool logged = sqlite3_step(mode) == SQLITE_ROW
        && sqlite3_stricmp(reinterpret_cast<const char*>(sqlite3_column_text(mode, 0)), "wal") == 0;
    sqlite3_finalize(mode);
    void volatile* index = nullptr;
    // Shared memory came with the second version of a file's methods.
    if (logged && file && file->pMethods && file->pMethods->iVersion >= 2
        && file->pMethods->xShmMap(file, 0, kIndexPageSize, 0, &index) == SQLITE_OK)
        _index = static_cast<const volatile unsigned char*>(index);
}

bool CommitMark::moved()
{
    if (!_index)
        return true;
    Header now;
    for (size_t i = 0; i < now.size(); ++i)
        now[i] = _index[i];
    std::atomic_thread_fence(std::memory_order_acquire);
    const bool same = now == _seen;
    _seen = now;
    return !same;
}

} // namespace host
