#pragma once

#include <functional>
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <string>

namespace host {

/// A file of hostd's state. A change is durable when it is committed.
struct StateFile {
    SQLite::Database db;
    std::string loss; ///< what happened to a damaged file; empty when there was none
};

/// Opens or makes the file, for this user alone, and calls prepare to make the tables. A damaged
/// file is moved aside and replaced by an empty one. Who finds the file locked waits so many
/// milliseconds. Throws std::exception when the file cannot be used.
StateFile openStateFile(const std::string& path, int busyMilliseconds,
    const std::function<void(SQLite::Database& db)>& prepare);

/// Whether the file is damaged. The next openStateFile moves it aside.
bool isDamage(const SQLite::Exception& error);

} // namespace host
