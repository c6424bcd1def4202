#pragma once

#include "common/StoreFile.h"

#include <AlarmDbData.h>
#include <functional>
#include <vector>

namespace app {
class SaveLock;
}

/// The rows of the phone's alarms, each with its registration. Main loop only.
namespace rows {

/// All of them, deleted ones too.
std::vector<AlarmDbData> stored();

/// Whether they ring at the same times.
bool isSameTime(const AlarmDbData& left, const AlarmDbData& right);

/// Whether they are the same for the phone, and to be told to it or not.
bool isSameContent(const AlarmDbData& left, const AlarmDbData& right);

enum class Turn { NothingToWrite, Written, Failed };

/**
 * Repeats the turn until it finds nothing to write. Between two turns the other processes have
 * theirs; so a turn begins with what is stored. False, with a log line, when the store cannot be
 * written or another process keeps it for long.
 */
bool inTurns(const std::function<Turn(app::SaveLock& lock)>& turn);

/**
 * The writes of a turn, which are stored together. The library does not tell of one that was lost,
 * so each is read back, and the first that is not found is the last. A registration goes only when
 * no row names it any more: when writes fail, the alarms ring as before. Of a process that is
 * killed, registrations may be left that have no row; the alert cancels them when they come due.
 */
class Writer {
public:
    bool mayWrite() const
    {
        return _transaction.isOpen() && !_hasFailed && _writes < kWritesOfATurn;
    }

    // Each is announced.
    void insert(AlarmDbData alarm);
    void change(const AlarmDbData& before, AlarmDbData after);
    void remove(AlarmDbData alarm);

    /// For a change of nothing but when it rings and how it is registered, which is news to nobody.
    /// The row is written whole, so before is to be what is stored since the turn began.
    void changeRinging(const AlarmDbData& before, AlarmDbData after);

    /// For a change that could not be made.
    void fail() { _hasFailed = true; }

    /// Stores the writes.
    Turn end();

    static const int kWritesOfATurn = 100;

private:
    void _check(const AlarmDbData& before, const AlarmDbData& after);

    int _writes = 0;
    bool _hasFailed = false;
    std::vector<int> _former; ///< registrations that the writes replace
    std::vector<int> _fresh; ///< and those in their place
    app::StoreTransaction _transaction;
};

} // namespace rows
