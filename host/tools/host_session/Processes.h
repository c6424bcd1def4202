#pragma once

#include "host/tools/host_session/Signals.h"

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace session {

using Words = std::vector<std::string>;

/**
 * All processes of a session: those that this object starts, and those that they start, which
 * become children of this process when they outlive their parents. The destructor ends them all
 * within two seconds, or at once when a second signal comes.
 */
class Processes {
public:
    /// log: descriptor of the file for the output of the session's processes.
    Processes(Signals& signals, int log);
    Processes(const Processes&) = delete;
    Processes& operator=(const Processes&) = delete;
    ~Processes();

    /// Starts the session's command with the files, the process group and the umask of the caller.
    /// Throws Interrupted, and std::system_error when the program cannot be executed.
    pid_t startCommand(const Words& words, mode_t umask);

    using Environment = std::map<std::string, std::string>;
    /// Starts a process that runs until the session ends, out of reach of the terminal. It is told
    /// to end when this process is killed. listening: a socket that is passed to it as systemd
    /// does, and accepts connections when this returns; -1 = none. Throws as startCommand.
    pid_t startServer(const Words& words, int listening = -1, const Environment& environment = {});

    /// Starts a process only for its exit status, otherwise as startServer; its standard output is
    /// dropped.
    pid_t startQuestion(const Words& words);

    /// Waits for the end of a process that was started here. Returns its exit status, or 128 and
    /// the number of the signal that ended it; nothing when the limit is reached first. Throws
    /// Interrupted.
    std::optional<int> waitFor(pid_t process, std::chrono::milliseconds limit = kNoLimit);

private:
    static constexpr std::chrono::milliseconds kNoLimit{ -1 };

    pid_t _start(const Words& words, const std::function<void()>& prepare);
    bool _waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);
    void _reap();
    std::optional<int> _statusOf(pid_t process) const;
    void _endCommand();
    void _endAll(int signal, std::chrono::milliseconds limit);

    Signals& _signals;
    const int _log;
    pid_t _command = 0;
    std::map<pid_t, std::optional<int>> _started; ///< by process, the status once it has ended
    bool _noneLeft = true;
};

} // namespace session
