#pragma once

#include "host/daemon/NextOccurrence.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <SQLiteCpp/Database.h>
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
    std::int64_t since = 0; ///< due is the first occurrence later than this
    std::int64_t fired = 0; ///< the last instant that rang; 0 = none
    std::int64_t due = 0;
    int round = 0; ///< how often its past was forgotten because the clock went far back
};

struct TrayEntry {
    std::int64_t posted = 0;
    std::string text;
};

/**
 * Alarms and tray on disk. A change is durable when the call returns, or when the enclosing
 * transaction ends. Throws SQLite::Exception when the file cannot be read or written.
 */
class AlarmStore {
public:
    /// Opens or makes the file. A damaged one is moved aside, logged, and replaced by an empty one
    /// whose ids begin above all that may be known elsewhere.
    AlarmStore(const std::string& path, std::int64_t now);

    /// Returns the id, which was never given out before.
    int add(const Alarm& alarm);
    bool remove(int id);
    bool remove(int id, const std::string& package);
    void updateTimes(const Alarm& alarm);

    std::optional<Alarm> find(int id);
    std::vector<Alarm> all(); ///< the earliest due first
    /// Hands over the alarms due until then, the earliest first, until visit returns false.
    void visitDue(std::int64_t until, const std::function<bool(const Alarm&)>& visit);
    std::optional<std::int64_t> earliestDueAfter(std::int64_t instant);

    void post(const TrayEntry& entry);
    std::vector<TrayEntry> tray(); ///< the oldest first

    /// Runs change and keeps all of it, or nothing when it throws.
    void transaction(const std::function<void()>& change);

private:
    SQLite::Database _db;
};

} // namespace host
