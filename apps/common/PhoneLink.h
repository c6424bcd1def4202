#pragma once

#include <string>

/** Where the watch and its simulated phone meet. */
namespace app {

/// The phone speaks to the watch over a local socket of this name.
extern const char* const kPhoneSocket;

/// The socket's folder.
std::string phoneSocketFolder();

} // namespace app
