#pragma once

#include "common/Failure.h"

#include <AlarmCompanion.h>
#include <vector>

/** Reads and saves whose failure is one of the command. */

Failure noSuchAlarm(int id);

/// Throws for a save of the alarm with that id that was not done, and says why.
void check(companion::Saved result, int id);

/// Every alarm, by time of day. Throws when they cannot be read.
std::vector<AlarmDbData> storedAlarms();

/// The alarm with that id. Throws when there is none, or it cannot be read.
AlarmDbData storedAlarm(int id);
