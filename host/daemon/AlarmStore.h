#pragma once

#include "host/daemon/NextOccurrence.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
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
    std::string secret; ///< known to nobody else; given by AlarmStore::add
};

/// What outlives a store that is lost: the lowest id that was never given out.
struct IdMark {
    std::function<int()> read; ///< 0 when there is none
    std::function<void(int)> write; ///< on disk when it returns
};

/// Whether the file is damaged, which a new start of the daemon mends by moving it aside.
bool isDamage(const SQLite::Exception& error);

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
    /// Opens or makes the file, which nobody else may read. A damaged one is moved aside and
    /// replaced by an empty one; that one, and one that is lost, are told in the log and the tray.
    /// Applications may still hold ids of what is lost: those of a new file begin above the mark,
    /// and above the seconds since 2020.
    AlarmStore(const std::string& path, std::int64_t now, const IdMark& mark);

    /// Returns the id, which was never given out before.
    int add(const Alarm& alarm);
    int countOf(const std::string& package); ///< its registrations
    bool remove(int id);
    bool remove(int id, const std::string& package);
    void updateTimes(const Alarm& alarm);

    std::optional<Alarm> find(int id);
    std::vector<Alarm> all(); ///< the earliest due first, without their requests
    std::vector<Alarm> of(const std::string& package); ///< likewise
    /// The alarms due after the one instant and until the other, the earliest first, of those that
    /// are wanted.
    using Wanted
        = std::function<bool(int id, const std::string& application, const std::string& package)>;
    std::vector<Alarm> due(std::int64_t after, std::int64_t until, const Wanted& wanted);
    std::optional<std::int64_t> earliestDueAfter(std::int64_t instant);

    void post(const TrayEntry& entry);
    std::vector<TrayEntry> tray(); ///< the oldest first

    /// Runs change and keeps all of it, or nothing when it throws.
    void transaction(const std::function<void()>& change);

private:
    struct Opened {
        SQLite::Database db;
        std::string loss; ///< what became of the file before; empty when nothing is lost
    };
    static Opened _open(const std::string& path);
    AlarmStore(Opened opened, const std::string& path, std::int64_t now, const IdMark& mark);
    int _reserved(int id);
    void _raiseIds(const std::string& path, std::int64_t now, std::string loss);
    std::vector<Alarm> _select(const std::string& condition, const std::string& package);

    IdMark _mark;
    SQLite::Database _db;
};

} // namespace host
