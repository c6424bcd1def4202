#pragma once

#include <memory>
#include <string>

class AlarmDbModel;
typedef struct sqlite3 sqlite3;

/** The file that the applications share. */
namespace app {

/// Lets each SQLite connection that the process opens from now on wait while the file is busy.
void waitOnBusyStore();

/**
 * Makes the store when there is none. The library makes it in steps, and takes any file for a whole
 * one; so a process that ends between two of them would leave a file in which nobody can save.
 * Every process of ours calls this before its first connection: then the file is made by one of
 * them at a time, and one that was left unfinished is made anew.
 */
void makeStore();

/// Why the store cannot be read, for the user; empty when it can. The library's reads do not tell.
std::string storeFault();

/**
 * Reads of one moment, which nobody who locks the file can part. Needs waitOnBusyStore(). Others
 * wait to write, so it is to be short.
 */
class StoreReading {
public:
    StoreReading();
    StoreReading(const StoreReading&) = delete;
    StoreReading& operator=(const StoreReading&) = delete;
    ~StoreReading();

    /// Whether the alarms can be read; the library's lists do not tell.
    bool isOpen() const { return _isOpen; }

    AlarmDbModel& model() { return *_model; }

private:
    std::unique_ptr<AlarmDbModel> _model;
    sqlite3* _connection; ///< of the model
    bool _isOpen;
};

/**
 * Writes that are stored together, or not at all: one wait for the disk instead of one for each.
 * Needs waitOnBusyStore(). Others read what was there before, and wait to write; so it is to be
 * short, and no other connection of the process may write meanwhile.
 */
class StoreTransaction {
public:
    StoreTransaction();
    StoreTransaction(const StoreTransaction&) = delete;
    StoreTransaction& operator=(const StoreTransaction&) = delete;
    /// Undoes what was not committed.
    ~StoreTransaction();

    /// Whether it has begun: another process may write for too long.
    bool isOpen() const { return _isOpen; }

    /// Its writes and reads are in the transaction. It announces at the end of the object.
    AlarmDbModel& model() { return *_model; }

    /// Whether all of it is stored.
    bool commit();

private:
    std::unique_ptr<AlarmDbModel> _model;
    sqlite3* _connection; ///< of the model
    bool _isOpen;
};

} // namespace app
