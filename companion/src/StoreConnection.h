#pragma once

#include <AlarmDbModel.h>
#include <chrono>
#include <optional>
#include <string>

struct sqlite3;

namespace companion {

/// The path of a file in the package's data folder; empty when the platform names none.
std::string dataFile(const char* name);

/// The path of the file with the alarms.
std::string storePath();

/// Makes the store when there is none, and anew when it was left unfinished. For whoever has the
/// turn. The library makes the file in steps, and takes any file for a whole one: a process that
/// ends between two of them leaves a file in which nobody can save.
void makeStoreInTurn();

/// Lets each SQLite connection that the process opens from now on wait while its file is busy. The
/// library's own waiting, which would come on top of that, ends.
void waitOnBusyStore();

/**
 * A connection of the library, which keeps it to itself: an AlarmDbModel, and the handle with which
 * it works. All waits of the connection for a busy file, those of its opening too, have one end.
 */
class StoreConnection {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit StoreConnection(Time end);
    StoreConnection(const StoreConnection&) = delete;
    StoreConnection& operator=(const StoreConnection&) = delete;

    AlarmDbModel& model() { return *_model; }

    /// Null when the library could not open the file, or has closed it.
    sqlite3* handle() const { return _handle; }

    bool run(const char* statement) const;

    /// SQLite's code of what was done last, by the library too: SQLITE_OK when it was done whole.
    int code() const;
    std::string error() const;

private:
    static int _openedCb(sqlite3* connection, char** error, const void* api) noexcept;
    static int _busyCb(void* end, int tries) noexcept;
    static int _closedCb(unsigned int event, void* self, void* connection, void* unused) noexcept;
    friend void waitOnBusyStore();

    static thread_local StoreConnection* _opening;

    const Time _end;
    sqlite3* _handle = nullptr;
    std::optional<AlarmDbModel> _model;
};

} // namespace companion
