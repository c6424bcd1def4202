#pragma once

#include <AlarmDbData.h>
#include <ctime>
#include <functional>

/**
 * Saving alarms so that none is lost. The library does not wait for a store that another process
 * writes, and answers success for a write that was attempted. So every process waits on a busy
 * store, and every save takes turns with the others, reads back what it wrote, and writes again
 * when it read that it is not there. Registration and row change together: when a save gives up,
 * the alarm rings as it did before; where it cannot read what is stored, as whatever is. Each
 * change is announced. Those of a phone alarm that the phone would see are marked for the phone,
 * which is told when it is near, and have a time later than what they change.
 * Main loop only; a save may block for some seconds.
 */
namespace app {

enum class Saved {
    Yes,
    NoSuchAlarm,
    Unreadable,
    NotRegistered,
    NotStored,
    StillRegistered, ///< not stored, and the alarm service did not forget it either
    NotRemoved,
    Unknown, ///< tried, and the store cannot be read since; what was registered stays
};

/// One line for the user about a save that was not done.
const char* textOf(Saved result);

/// Makes an alarm into what it is to be, given the time; tells whether that sets when it rings.
/// Then its instant must be later than now, and it is registered anew when it is on, else not at
/// all.
using Edit = std::function<bool(AlarmDbData& alarm, time_t now)>;

/// Saves a new alarm: what edit makes of alarm. alarm is the stored record afterwards.
Saved addAlarm(AlarmDbData& alarm, const Edit& edit);

/// Saves what edit makes of the stored alarm. alarm is the stored record afterwards.
Saved changeAlarm(int id, const Edit& edit, AlarmDbData& alarm);

/// Takes an alarm out of the store and cancels it. alarm is the record as it was.
Saved removeAlarm(int id, AlarmDbData& alarm);

/// Returns when the save that another process is at, if any, is done.
void waitForSave();

} // namespace app
