#pragma once

#include <string>
#include <sys/types.h>

/// What the bus itself knows about its connections. Errors of the bus are thrown as sdbus::Error.
/// Main thread.
namespace host {

/// The unique name of the connection that has the name; empty when none has.
std::string ownerOf(const std::string& name);

/// The process that made the connection; 0 when the connection has ended.
pid_t processOf(const std::string& connection);

/// Starts what serves the name, unless it is there, and returns when it has the name.
void startService(const std::string& name);

} // namespace host
