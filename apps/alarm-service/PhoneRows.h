#pragma once

#include <AlarmDbData.h>
#include <AlarmSaving.h>
#include <functional>
#include <vector>

/// The rows of the phone's alarms, each with its registration. Main loop only.
namespace rows {

/// Whether two alarms ring at the same times.
bool isSameTime(const AlarmDbData& left, const AlarmDbData& right);

/// Whether two alarms are the same for the phone, and both to be told to it or neither.
bool isSameContent(const AlarmDbData& left, const AlarmDbData& right);

enum class Turn { NothingToWrite, Written, Failed };

/// The writes of a turn, which are stored together. The first that fails is the last.
class Writer {
public:
    /// Yes, or why nothing can be written.
    companion::Saved state() const { return _saving.state(); }

    bool mayWrite() const { return state() == companion::Saved::Yes && _writes < kWritesOfATurn; }

    /// All rows of the phone's alarms, deleted ones too.
    std::vector<AlarmDbData> stored() { return _saving.phoneAlarms(); }

    // Each is announced. An alarm is registered when it is to ring here; one that the alarm service
    // refuses is stored unregistered.
    void insert(AlarmDbData alarm);
    void change(const AlarmDbData& before, AlarmDbData after);
    void remove(const AlarmDbData& alarm);

    /// Registers the alarm as it is to ring now, or not at all, which is news to nobody. The turn
    /// fails when the alarm service refuses the alarm.
    void changeRinging(const AlarmDbData& before, bool isToRing);

    /// Stores the writes.
    Turn end();

private:
    static const int kWritesOfATurn = 100;

    int _writes = 0;
    bool _isRefused = false;
    companion::AlarmSaving _saving;
};

/**
 * Repeats the turn until it finds nothing to write. Between two turns the other processes have
 * theirs; so a turn begins with what is stored. False, with a log line, when the store cannot be
 * written or another process keeps it for long.
 */
bool inTurns(const std::function<Turn(Writer& writer)>& turn);

} // namespace rows
