#pragma once

#include <cstddef>
#include <string>

/** What the watch and its phone have agreed on. */
namespace app {

/// The phone speaks to the watch over a local socket of this name.
extern const char* const kPhoneSocket;

/// The socket's folder.
std::string phoneSocketFolder();

/// A phone alarm's title, in bytes. Either side refuses a longer one.
inline const size_t kLongestTitle = 1000;

/// The phone's alarms. The watch refuses a list of more.
inline const size_t kMostPhoneAlarms = 1000;

} // namespace app
