#pragma once

#include "host/common/Bus.h"

#include <string>
#include <sys/types.h>

/// What the bus knows about its connections. Errors of the bus are thrown as sdbus::Error. Main
/// thread.
namespace host {

/// The unique name of the connection that owns the bus name; empty when none does. Asks on the
/// connection, whose thread is the caller.
std::string ownerOf(const std::string& name, sdbus::IConnection& connection = bus());

/// The id of the bus, which no other bus has, nor this one after it was started again. Asks on the
/// connection, whose thread is the caller.
std::string busId(sdbus::IConnection& connection);

/// The process that made the connection; 0 when the connection has ended.
pid_t processOf(const std::string& connection);

/// Whether a call failed because the application that it was for has ended, or is about to end.
bool hasEnded(const sdbus::Error& error);

/// Starts the program that serves the bus name, unless it runs; returns when it owns the name.
void startService(const std::string& name);

} // namespace host
