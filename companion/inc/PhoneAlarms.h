#pragma once

#include <AlarmDbData.h>
#include <ctime>

/** The alarms of the paired phone, which the watch keeps and rings beside its own. */
namespace companion {

inline const int kPhoneDevice = 1; ///< as AlarmDbData::deviceType

bool isOfPhone(const AlarmDbData& alarm);

/// Whether the phone's alarms ring on the watch: the phone is of the watch's make, and the user
/// lets them.
bool phoneAlarmsRing();

/// Whether an alarm that is on does not ring here: a phone alarm that is not registered, unless it
/// waits for its instant and the phone's alarms are to ring.
bool isSilent(const AlarmDbData& alarm, time_t now);

} // namespace companion
