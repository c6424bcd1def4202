#pragma once

#include "host/daemon/NextOccurrence.h"
#include "host/daemon/StateFile.h"
#include "host/daemon/TrayStore.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// A registered alarm. Instants are seconds since the epoch.
struct Alarm {
    int id = 0;
    std::string package;
    std::string application;
    std::string request; ///< the launch request's entries, encoded
    AlarmTime time;
    std::int64_t since = 0; ///< the alarm is due at its first occurrence after this instant
    std::int64_t fired = 0; ///< the last instant that rang; 0 = none
    std::int64_t due = 0;
    int round = 0; ///< how often fired was reset because the clock went far back
    std::string secret; ///< random, set by AlarmStore::add
};

/// A number that outlives a lost store: all ids below it may have been given out.
struct IdMark {
    std::function<int()> read; ///< 0 when there is none
    std::function<void(int)> write; ///< on disk when it returns
};

/**
 * The alarms on disk. A change is durable when the call returns, or when the enclosing
 * transaction ends. Throws SQLite::Exception when the file cannot be read or written.
 */
class AlarmStore {
public:
    /// Opens or makes the file, for this user alone. A damaged file is moved aside and replaced by
    /// an empty one. The log and the tray report a file that was damaged or is lost. Ids of a new
    /// file begin above the mark and above the number of seconds since 2020, since applications may
    /// still hold ids of the lost one.
    AlarmStore(const std::string& path, std::int64_t now, const IdMark& mark, TrayStore& tray)
        : AlarmStore(path, now, mark, tray, "")
    {
    }

    /// Returns the new alarm's id, which was never given out before.
    int add(const Alarm& alarm);
    int countOf(const std::string& package); ///< the number of its alarms
    bool remove(int id);
    bool remove(int id, const std::string& package);
    void updateTimes(const Alarm& alarm);

    std::optional<Alarm> find(int id);
    std::vector<Alarm> all(); ///< the earliest due first, without their requests
    std::vector<Alarm> of(const std::string& package); ///< likewise
    /// The alarms that are due later than after, but not later than until, and for which wanted
    /// returns true; the earliest first.
    using Wanted
        = std::function<bool(int id, const std::string& application, const std::string& package)>;
    std::vector<Alarm> due(std::int64_t after, std::int64_t until, const Wanted& wanted);
    std::optional<std::int64_t> earliestDueAfter(std::int64_t instant);

    /// Runs change in a transaction, which is rolled back when change throws.
    void transaction(const std::function<void()>& change);

private:
    AlarmStore(const std::string& path, std::int64_t now, const IdMark& mark, TrayStore& tray,
        std::string loss);
    void _moveReports(TrayStore& tray);
    int _reserved(int id);
    void _raiseIds(const std::string& path, std::int64_t now, std::string loss, TrayStore& tray);
    std::vector<Alarm> _select(const std::string& condition, const std::string& package);

    IdMark _mark;
    SQLite::Database _db;
};

} // namespace host
