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
 * All processes of a session: those that it starts, and what they start, which becomes its children
 * when it outlives its parent. The object's end is the end of them all, within two seconds, or at
 * once when a second signal comes.
 */
class Processes {
public:
    /// log: the file that takes what the session's processes print.
    Processes(Signals& signals, int log);
    Processes(const Processes&) = delete;
    Processes& operator=(const Processes&) = delete;
    ~Processes();

    /// Starts the session's command, with what the caller gave it: its files, its process group and
    /// the umask. Throws Interrupted, and std::system_error when the program cannot be executed.
    pid_t startCommand(const Words& words, mode_t umask);

    using Environment = std::map<std::string, std::string>;
    /// Starts a process that runs until the session ends, out of the reach of the terminal. It is
    /// told to end when this process is killed. listening: a socket for it, given as systemd does,
    /// on which one can connect when this returns; -1 = none. Throws as above.
    pid_t startServer(const Words& words, int listening = -1, const Environment& environment = {});

    /// Starts a process for the sake of its status, likewise; what it prints but errors is dropped.
    pid_t startQuestion(const Words& words);

    /// Waits for the end of a process that was started: its exit status, or 128 and the number of
    /// the signal that ended it; nothing when it runs on at the limit. Throws Interrupted.
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
    std::map<pid_t, std::optional<int>> _started; ///< with the status of those that have ended
    bool _noneLeft = true;
};

} // namespace session
