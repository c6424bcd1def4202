#pragma once

#include <string>

/** Stream sockets between processes of the watch, by a name in a folder, whose path may be longer
 * than a socket's address. No socket blocks; each is the caller's to close. */
namespace app {

/// A socket that listens under that name; one that an earlier process left there is replaced. -1
/// when it cannot be made.
int listenIn(const std::string& folder, const char* name);

/// The next connection. -1 when there is none, with errno EAGAIN, or when the process cannot accept
/// it, with another errno.
int acceptFrom(int listener);

/// A connection to the process that listens under that name; -1 when none does.
int connectIn(const std::string& folder, const char* name);

} // namespace app
