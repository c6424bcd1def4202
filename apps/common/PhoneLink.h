#pragma once

#include <cstddef>
#include <string>

/** What the watch knows of its phone's link, and where the two speak. */
namespace app {

inline const int kPhoneDevice = 1; ///< as AlarmDbData::deviceType

/// A phone alarm's title, in bytes. Either side refuses a longer one.
inline const size_t kLongestTitle = 1000;

/// The phone's alarms. The watch refuses a list of more.
inline const unsigned kMostPhoneAlarms = 1000;

/// The phone speaks to the watch over a local socket of this name.
extern const char* const kPhoneSocket;

/// The socket's folder.
std::string phoneSocketFolder();

/// Whether the phone's alarms ring on the watch: it is of our make, and the user lets them.
bool phoneAlarmsRing();

} // namespace app
