#include "host/daemon/StateFile.h"

#include "host/common/Session.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <sqlite3.h>

namespace fs = std::filesystem;

namespace host {

namespace {

const std::int64_t kFirstSecond = 1577836800; ///< the beginning of 2020

using Prepare = std::function<void(SQLite::Database& db)>;

SQLite::Database openChecked(const std::string& path, int busyMilliseconds, const Prepare& prepare)
{
    makePrivateFile(path);
    SQLite::Database db(path, SQLite::OPEN_READWRITE, busyMilliseconds);
    db.exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
    const std::string state = db.execAndGet("PRAGMA integrity_check(1)").getString();
    if (state != "ok")
        throw SQLite::Exception(state, SQLITE_CORRUPT);
    prepare(db);
    return db;
}

std::string moveAside(const std::string& path)
{
    int number = 1;
    while (fs::exists(path + ".damaged-" + std::to_string(number)))
        ++number;
    const std::string suffix = ".damaged-" + std::to_string(number);
    // The database file is moved last: as long as it is there, the next start tries again.
    for (const char* part : { "-wal", "-shm", "" }) {
        if (fs::exists(path + part))
            fs::rename(path + part, path + suffix + part);
    }
    return path + suffix;
}

} // namespace

bool isDamage(const SQLite::Exception& error)
{
    return error.getErrorCode() == SQLITE_CORRUPT || error.getErrorCode() == SQLITE_NOTADB;
}

SQLite::Database openStateFile(const std::string& path, int busyMilliseconds,
    const Prepare& prepare, const std::function<void(const std::string& loss)>& lost)
{
    try {
        return openChecked(path, busyMilliseconds, prepare);
    } catch (const SQLite::Exception& error) {
        if (!isDamage(error))
            throw;
        lost(path + " is damaged (" + error.what() + "); it was moved to " + moveAside(path));
        return openChecked(path, busyMilliseconds, prepare);
    }
}

int idBySeconds(std::int64_t now)
{
    return static_cast<int>(std::clamp<std::int64_t>(now - kFirstSecond, 0, INT_MAX));
}

} // namespace host
