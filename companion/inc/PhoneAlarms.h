#pragma once

#include <AlarmDbData.h>
#include <cstddef>
#include <ctime>

/** The alarms of the paired phone, which the watch keeps and rings beside its own. */
namespace companion {

inline const int kPhoneDevice = 1; ///< as AlarmDbData::deviceType

/// A phone alarm's title, in bytes. Either side refuses a longer one.
inline const size_t kLongestTitle = 1000;

/// The phone's alarms. The watch refuses a list of more.
inline const unsigned kMostPhoneAlarms = 1000;

bool isOfPhone(const AlarmDbData& alarm);

/// Whether the phone's alarms ring on the watch: the phone is of the watch's make, and the user
/// lets them.
bool phoneAlarmsRing();

/// Whether an alarm that is on does not ring here: a phone alarm that is not registered, unless it
/// waits for its instant and the phone's alarms are to ring.
bool isSilent(const AlarmDbData& alarm, time_t now);

} // namespace companion
