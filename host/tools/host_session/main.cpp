#include "host/tools/host_session/Folder.h"
#include "host/tools/host_session/Processes.h"
#include "host/tools/host_session/Signals.h"
#include "host/tools/host_session/Sound.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

using session::Words;

const char* const kUsage = R"(usage: host-session [--keep DIR] [--no-boot] COMMAND [ARG...]

Runs COMMAND in a session of its own: own bus, own state, own host daemon, and nothing of the user's.
Nothing of the session is left running when COMMAND ends, or a signal such as Ctrl-C's ends both; a
second signal ends them without letting them finish.
  --keep DIR  keeps the state in DIR; a session that has the same DIR goes on with it
  --no-boot   starts none of the applications that otherwise begin with a session
Exit status: COMMAND's; 128 and the signal's number after a signal; 127 when there is no such COMMAND.
)";

const int kFailed = 1;
const int kWrongUsage = 2;
const int kNotExecutable = 126;
const int kNotFound = 127;
const int kSignalled = 128;

// Longer than the time limits of the bus and of dbus-send.
const std::chrono::seconds kStartLimit(30);

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Options {
    bool help = false;
    bool boot = true;
    std::string keep; ///< empty = the state is temporary
    Words command;
};

Options readOptions(Words words)
{
    Options options;
    auto word = words.begin();
    for (; word != words.end() && word->rfind('-', 0) == 0; ++word) {
        if (*word == "--help") {
            options.help = true;
            return options;
        }
        if (*word == "--no-boot") {
            options.boot = false;
        } else if (*word == "--keep" && word + 1 != words.end() && !(word + 1)->empty()) {
            options.keep = *++word;
        } else if (*word == "--keep") {
            throw UsageError("--keep needs a directory");
        } else {
            throw UsageError("there is no option " + *word);
        }
    }
    options.command.assign(word, words.end());
    if (options.command.empty())
        throw UsageError("a command is missing");
    return options;
}

void setEnvironment(const session::Folder& folder, bool boot)
{
    // A session in a session, too, shows its notifications on the user's desktop.
    if (const char* desktop = getenv("DBUS_SESSION_BUS_ADDRESS"))
        setenv("ALARM_HOST_DESKTOP_BUS", desktop, 0);
    folder.exportPaths();
    setenv("ALARM_HOST_PACKAGE", "com.velmora.alarm", 1);
    setenv("EINA_LOG_LEVEL", "0", 1);
    setenv("EINA_LOG_BACKTRACE", "-1", 1);
    unsetenv("ALARM_HOST_BOOT"); // set by a session around this one
    if (!boot)
        setenv("ALARM_HOST_BOOT", "no", 1);
}

// Starts the bus and hostd; returns when hostd has its name on the bus.
void startHost(session::Processes& processes, const session::Folder& folder)
{
    const int bus = folder.makeSocket("bus");
    processes.startServer(
        { "dbus-daemon", "--nofork", "--config-file=" + folder.file("bus.conf") }, bus);
    close(bus);
    processes.startServer({ "hostctl", "supervise" });
    const pid_t starting = processes.startQuestion({ "dbus-send", "--session", "--print-reply",
        "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
        "org.freedesktop.DBus.StartServiceByName", "string:com.velmora.host", "uint32:0" });
    if (processes.waitFor(starting, kStartLimit) != 0)
        throw std::runtime_error("the session does not come up:\n" + folder.logText());
}

int runCommand(session::Processes& processes, const Words& command, mode_t umask)
{
    // The command's own log is not its output, so only fatal errors are shown unless the caller
    // sets otherwise.
    const char* log = getenv("ALARM_HOST_LOG");
    if (!log || !*log)
        setenv("ALARM_HOST_LOG", "F", 1);
    try {
        return *processes.waitFor(processes.startCommand(command, umask));
    } catch (const std::system_error& error) {
        fprintf(stderr, "host-session: %s\n", error.what());
        return error.code().value() == ENOENT ? kNotFound : kNotExecutable;
    }
}

int runSession(session::Signals& signals, const Options& options)
{
    // Files that the session makes are private.
    const mode_t callersUmask = umask(S_IRWXG | S_IRWXO);
    const session::Folder folder(options.keep);
    session::Processes processes(signals, folder.log());
    session::startSound(processes, folder);
    setEnvironment(folder, options.boot);
    startHost(processes, folder);
    return runCommand(processes, options.command, callersUmask);
}

int run(session::Signals& signals, const Words& words)
{
    try {
        const Options options = readOptions(words);
        if (!options.help)
            return runSession(signals, options);
        fputs(kUsage, stdout);
        return 0;
    } catch (const UsageError& error) {
        fprintf(stderr, "host-session: %s\n%s", error.what(), kUsage);
        return kWrongUsage;
    } catch (const session::Interrupted&) {
        return kSignalled + signals.first();
    } catch (const std::exception& error) {
        fprintf(stderr, "host-session: %s\n", error.what());
        return kFailed;
    }
}

} // namespace

int main(int argc, char** argv)
{
    session::Signals signals;
    const int status = run(signals, { argv + 1, argv + argc });
    // A signal that came while the session ended decides the status, too.
    signals.take();
    return signals.first() != 0 ? kSignalled + signals.first() : status;
}
