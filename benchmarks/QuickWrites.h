#pragma once

#include <sqlite3.h>

/// While an object lives, new SQLite connections do not wait for the disk, so that the time which
/// the library adds to a write can be seen.
class QuickWrites {
public:
    QuickWrites() { sqlite3_auto_extension(_entry()); }
    QuickWrites(const QuickWrites&) = delete;
    QuickWrites& operator=(const QuickWrites&) = delete;
    ~QuickWrites() { sqlite3_cancel_auto_extension(_entry()); }

private:
    static int _leaveTheDiskAlone(sqlite3* connection, char** /*error*/, const void* /*api*/)
    {
        return sqlite3_exec(connection, "PRAGMA synchronous = OFF; PRAGMA journal_mode = MEMORY",
            nullptr, nullptr, nullptr);
    }
    static void (*_entry())() { return reinterpret_cast<void (*)()>(_leaveTheDiskAlone); }
};
