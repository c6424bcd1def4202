#pragma once

#include <exception>
#include <string>

namespace host {

/// Writes one line of the device's log: to standard error as "<letter>/<tag>(<pid>): <text>", or to
/// the journal when standard error goes there. Control characters of the tag and the text, but for
/// tabs and the escapes of colours, are shown as "\n", "\r" or "\x07", so that a text is always one
/// line. priority is dlog's log_priority; lines below the letter in ALARM_HOST_LOG (V D I W E F S;
/// I by default) are dropped. A line that cannot be written is dropped, too. Any thread; no lock is
/// taken.
void writeLog(int priority, const char* tag, const char* text);

void logInfo(const std::string& text);
void logWarning(const std::string& text);
void logError(const std::string& text);

/// Logs the error "<what>: <the exception's text>", if there is memory for that. Never throws.
void logFailure(const char* what, const std::exception& error) noexcept;

/// Receives every line in place of the log, for tests; null ends that.
using LogHook = void (*)(int priority, const char* tag, const char* text);
void setLogHook(LogHook hook);

} // namespace host
