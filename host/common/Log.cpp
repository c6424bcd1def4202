#include "host/common/Log.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlog.h>
#include <string>
#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

namespace host {

namespace {

const char* const kLetters = "??VDIWEFS";
const char* const kTag = "host";

std::atomic<LogHook> logHook{ nullptr };

int lowestPriority()
{
    const char* letter = getenv("ALARM_HOST_LOG");
    const char* found = letter && *letter ? strchr(kLetters, *letter) : nullptr;
    return found && *found != '?' ? static_cast<int>(found - kLetters) : DLOG_INFO;
}

// The journal sets JOURNAL_STREAM to the device and inode of the stream that it gave to the
// process.
bool isStderrTheJournal()
{
    const char* stream = getenv("JOURNAL_STREAM");
    struct stat status = {};
    if (!stream || fstat(STDERR_FILENO, &status) != 0)
        return false;
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

int journalPriority(int priority)
{
    switch (priority) {
    case DLOG_FATAL:
        return LOG_CRIT;
    case DLOG_ERROR:
        return LOG_ERR;
    case DLOG_WARN:
        return LOG_WARNING;
    case DLOG_INFO:
        return LOG_INFO;
    default:
        return LOG_DEBUG;
    }
}

// Whether the character is shown as it is. An escape character begins a colour in the library's
// lines.
bool isPlain(unsigned char character)
{
    const unsigned char escape = 0x1b;
    const unsigned char deletion = 0x7f;
    return (character >= ' ' && character != deletion) || character == '\t' || character == escape;
}

std::string printable(const char* text)
{
    std::string shown;
    for (; *text; ++text) {
        if (isPlain(static_cast<unsigned char>(*text))) {
            shown += *text;
        } else if (*text == '\n') {
            shown += "\\n";
        } else if (*text == '\r') {
            shown += "\\r";
        } else {
            char code[8];
            snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(*text));
            shown += code;
        }
    }
    return shown;
}

// Writes without a SIGPIPE, so that a reader that went away does not end this process.
void writeQuietly(int file, const std::string& line)
{
    sigset_t brokenPipe;
    sigset_t pending;
    sigset_t before;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
    if (write(file, line.data(), line.size()) < 0 && errno == EPIPE
        && sigismember(&pending, SIGPIPE) == 0) {
        const timespec now = {};
        sigtimedwait(&brokenPipe, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace

void setLogHook(LogHook hook) { logHook = hook; }

void writeLog(int priority, const char* tag, const char* text)
{
    if (const LogHook hook = logHook) {
        hook(priority, tag, text);
        return;
    }
    static const int lowest = lowestPriority();
    static const bool journal = isStderrTheJournal();
    if (priority < lowest)
        return;
    if (journal) {
        sd_journal_send("MESSAGE=%s", printable(text).c_str(), "PRIORITY=%d",
            journalPriority(priority), "SYSLOG_IDENTIFIER=%s", printable(tag).c_str(), nullptr);
        return;
    }
    const char letter
        = priority >= DLOG_VERBOSE && priority < DLOG_PRIO_MAX ? kLetters[priority] : '?';
    std::string line;
    line += letter;
    line += '/' + printable(tag) + '(' + std::to_string(getpid()) + "): " + printable(text) + '\n';
    // One write per line, so that the lines of several processes do not mix.
    writeQuietly(STDERR_FILENO, line);
}

void logInfo(const std::string& text) { writeLog(DLOG_INFO, kTag, text.c_str()); }

void logWarning(const std::string& text) { writeLog(DLOG_WARN, kTag, text.c_str()); }

void logError(const std::string& text) { writeLog(DLOG_ERROR, kTag, text.c_str()); }

void logFailure(const char* what, const std::exception& error) noexcept
{
    try {
        logError(std::string(what) + ": " + error.what());
    } catch (const std::bad_alloc&) {
    }
}

} // namespace host
