#pragma once

#include <AlarmDbData.h>
#include <functional>
#include <vector>

class AlarmDbModel;

namespace app {
class SaveLock;
}

/**
 * The rows of the phone's alarms, each with its registration. The library does not tell of a write
 * that was lost, so each is read back; a registration goes only when no row names it any more. Main
 * loop only, and within a turn.
 */
namespace rows {

/// All of them, deleted ones too.
std::vector<AlarmDbData> stored();

/// Whether they ring at the same times.
bool isSameTime(const AlarmDbData& left, const AlarmDbData& right);

/// Whether they are the same for the phone, and to be told to it or not.
bool isSameContent(const AlarmDbData& left, const AlarmDbData& right);

// Each is announced, and false when it is not found done. Then the alarm rings as before.

bool insert(AlarmDbModel& store, AlarmDbData alarm);
bool change(AlarmDbModel& store, const AlarmDbData& before, AlarmDbData after);
bool remove(AlarmDbModel& store, AlarmDbData alarm);

/// The same for a change of nothing but when it rings and how it is registered, which is news to
/// nobody and not announced.
bool changeRinging(AlarmDbModel& store, const AlarmDbData& before, const AlarmDbData& after);

const int kWritesOfATurn = 100;

enum class Turn { NothingToWrite, Written, Failed };

/**
 * Repeats the turn until it finds nothing to write. Between two turns the other processes have
 * theirs; so a turn begins with what is stored, and writes kWritesOfATurn times at most. False,
 * with a log line, when the store cannot be written or another process keeps it for long.
 */
bool inTurns(const std::function<Turn(app::SaveLock& lock)>& turn);

} // namespace rows
