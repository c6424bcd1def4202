#pragma once

#include <AlarmDbData.h>
#include <ctime>
#include <functional>
#include <optional>
#include <vector>

/**
 * What every application needs beside the library, so that no alarm is lost, late, doubled or
 * silent: the library keeps the behaviour that its clients know, and the rest is done here.
 *
 * This header is what a first application needs. AlarmSaving.h saves many alarms in one
 * transaction, AlarmReading.h reads many of one moment, AlarmTime.h works out instants,
 * AlertState.h speaks to the alert, PhoneAlarms.h knows the phone's part.
 *
 * Main loop only. A read waits for a busy store for two seconds at most, a save for ten; an alarm
 * service that hangs holds a save up for as long as the platform waits for an answer.
 */
namespace companion {

/// Prepares the process for the store, which is made when there is none, and made anew when a
/// process was killed while it made it. Called before the first use of an alarm; again is harmless.
/// From then on each SQLite connection of the process waits two seconds for a busy file, and an
/// AlarmDbModel does not wait on top of that.
void start();

/// Shows texts in the device's language as it is now, from the package's catalogues. An application
/// main function does the first by itself, and follows the setting.
void useDeviceLanguage();

enum class Found { Yes, No, Unreadable };

/// Reads the alarm with the row id into alarm, which is left alone when there is none.
Found findAlarm(int id, AlarmDbData& alarm);

/// Every alarm, the phone's too, by time of day; none that was deleted and waits for the phone to
/// hear of it. No value when the store cannot be read.
std::optional<std::vector<AlarmDbData>> allAlarms();

/// An alarm that is on, at the volume of a new alarm; a default record is off and silent.
AlarmDbData newAlarm();

/// What became of a save. Whatever it is but Yes, the alarm rings as it did before, or not at all
/// when it is new.
enum class Saved {
    Yes, ///< on the disk, registered, and announced to the other processes
    NoSuchAlarm,
    Unreadable,
    NotRegistered, ///< the alarm service refused the alarm
    NotStored,
    Busy, ///< not stored, as another process held the file for all of the ten seconds
    StillRegistered, ///< not stored, and the alarm service did not take the registration back
};

/// One line for the user about a save that was not done.
const char* textOf(Saved result);

/// Makes an alarm into what it is to be, given the time. Answers whether it is to be registered
/// anew; it is so anyway when the edit has changed when it rings, or has switched it. Then its
/// instant must be later than now, unless it is off. May be called again, with the alarm as it was
/// and a later time. Must not save.
using Edit = std::function<bool(AlarmDbData& alarm, time_t now)>;

// A record that is passed is the stored one when the answer is Yes, and else what it was.

/// Saves a new alarm: what edit makes of alarm.
[[nodiscard]] Saved addAlarm(AlarmDbData& alarm, const Edit& edit);

/// Saves what edit makes of the stored alarm.
[[nodiscard]] Saved changeAlarm(int id, const Edit& edit, AlarmDbData& alarm);

/// Takes an alarm out of the store and cancels it. alarm is the record as it was stored.
[[nodiscard]] Saved removeAlarm(int id, AlarmDbData& alarm);

/// The second that has begun. time() is some milliseconds late to tell it, in which an alarm that
/// is registered for it would be lost.
time_t currentTime();

/// Prepares an alarm for its next hour:min after now, on one of its days when it repeats: its
/// instant, its zone, no snooze taken, and for a one-shot the weekday on which it rings.
void setNextRing(AlarmDbData& alarm, time_t now);

/// The row ids of the alarms that ring now, the newest first.
std::vector<int> ringingAlarms();

} // namespace companion
