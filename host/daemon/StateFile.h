#pragma once

#include <cstdint>
#include <functional>
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <string>

namespace host {

/// Opens or makes a file of hostd's state, for this user alone, and calls prepare to make the
/// tables. A change is durable when it is committed. A damaged file is moved aside; lost is then
/// called at once with a text that says so, and an empty file takes its place. Who finds the file
/// locked waits so many milliseconds. Throws std::exception when the file cannot be used.
SQLite::Database openStateFile(const std::string& path, int busyMilliseconds,
    const std::function<void(SQLite::Database& db)>& prepare,
    const std::function<void(const std::string& loss)>& lost);

/// Whether the file is damaged. The next openStateFile moves it aside.
bool isDamage(const SQLite::Exception& error);

/// The number of seconds since 2020, 0 to INT_MAX. The ids of a new file begin above it, since
/// applications may still hold ids of a lost one, which has given out fewer than one a second.
int idBySeconds(std::int64_t now);

} // namespace host
