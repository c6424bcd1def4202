#pragma once

#include <AlarmDbData.h>
#include <vector>

/**
 * The phone's alarms in the watch's store, each known by its uuid. What is done here can be done
 * again: whatever was written before a kill or a failure is found written, and only the rest is.
 * What writes takes turns with the saves of the other processes, and waits as long as the disk, or
 * another save, makes it wait. Main loop only.
 */
namespace mirror {

/// Stores what the phone says of some of its alarms, where that is not older than what is stored.
/// False when the store cannot be written.
bool take(const std::vector<AlarmDbData>& alarms);

/// Stores what the phone says of all of its alarms, and removes others of the phone. One that was
/// changed here since, and of which the phone has not heard, stays as it is.
bool takeAll(const std::vector<AlarmDbData>& alarms);

/// Removes all of them, those of which the phone has not heard too.
bool drop();

/// What the phone has not heard of, deleted ones too, by row id.
std::vector<AlarmDbData> unsynced();

enum class Settled { Yes, No, ChangedSince };

/// Notes that the phone has heard of what was sent; not when there have been changes since, nor,
/// No, when that cannot be stored now.
Settled settle(const std::vector<AlarmDbData>& sent);

} // namespace mirror
