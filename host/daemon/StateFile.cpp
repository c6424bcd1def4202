#include "host/daemon/StateFile.h"

#include "host/common/Session.h"

#include <filesystem>
#include <sqlite3.h>

namespace fs = std::filesystem;

namespace host {

namespace {

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

StateFile openStateFile(const std::string& path, int busyMilliseconds, const Prepare& prepare)
{
    try {
        return { openChecked(path, busyMilliseconds, prepare), "" };
    } catch (const SQLite::Exception& error) {
        if (!isDamage(error))
            throw;
        const std::string loss
            = path + " is damaged (" + error.what() + "); it was moved to " + moveAside(path);
        return { openChecked(path, busyMilliseconds, prepare), loss };
    }
}

} // namespace host
