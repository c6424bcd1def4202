#pragma once

#include <functional>
#include <sqlite3.h>
#include <string>
#include <vector>

/// Follows the first connection that is opened while it lives, and makes its statements fail in the
/// ways in which SQLite itself fails. One at a time.
class SqliteProbe {
public:
    SqliteProbe();
    SqliteProbe(const SqliteProbe&) = delete;
    SqliteProbe& operator=(const SqliteProbe&) = delete;
    ~SqliteProbe();

    /// Texts of the statements that ran, in order; one that was tried again is there again.
    std::vector<std::string> statements;

    /// A statement is not prepared when this says so of one of its actions (SQLITE_CREATE_TABLE and
    /// the like) and the name that goes with it.
    std::function<bool(int action, const std::string& name)> refuses;

    void refuseAll();

    sqlite3* connection() const { return _connection; }

    bool isClosed = false; ///< the connection, or about to be

    /// When above 0, a statement is interrupted once it has given so many rows.
    int interruptAfterRows = 0;

private:
    static int _opened(sqlite3* connection, char** error, const void* api);
    static int _traced(unsigned int event, void* probe, void* stmt, void* text);
    static int _authorize(void* probe, int action, const char* name, const char* second,
        const char* database, const char* trigger);

    sqlite3* _connection = nullptr;
    int _rows = 0;
};
