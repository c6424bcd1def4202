#pragma once

#include <string>

/** Stream sockets between processes of the watch, by name in a folder. */
namespace app {

/// Listens under the name, in place of a process that did before. A folder's path may be longer
/// than a socket's address. -1 when it cannot.
int listenIn(const std::string& folder, const char* name);

/// The next who has connected; -1 when nobody has, or with an errno other than EAGAIN when the
/// process cannot take one.
int acceptFrom(int listener);

/// Connects to who listens under the name; -1 when nobody does.
int connectIn(const std::string& folder, const char* name);

} // namespace app
