#pragma once

#include <memory>
#include <sdbus-c++/sdbus-c++.h>
#include <string>

namespace host {

extern const char* const kDaemonName; ///< bus name of hostd
extern const char* const kDaemonPath; ///< path of hostd's one object
extern const char* const kApplicationPath; ///< path of any application's one object
extern const char* const kApplicationEnded; ///< error: takes no more requests, it ends
extern const char* const kNoNotification; ///< error: the tray has no such notification
extern const char* const kBusName; ///< the bus's own name
extern const char* const kBusPath; ///< path of the bus's object

/// A connection to the session's bus on which a call waits for its answer for 10 seconds at most.
/// Throws sdbus::Error.
std::unique_ptr<sdbus::IConnection> connectToBus();

/**
 * The process's one connection to the session's bus, made by the first use and flushed when the
 * process ends. Main thread only.
 */
sdbus::IConnection& bus();

/// Serves bus() from the Ecore main loop from now on; initialises Ecore; later calls do nothing.
/// When the bus goes away the main loop is ended, since a session's processes end with it.
void serveBusOnLoop();

} // namespace host
