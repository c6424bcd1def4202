#include "host/tools/host_session/Processes.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <set>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace session {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// How long processes may take to end when told to: first the command, then all others. Together
// this is less than the two seconds in which a session must be gone.
const milliseconds kPatience(700);
// Only a process that cannot be killed is left after this.
const milliseconds kKillLimit(5000);

const int kSignalled = 128;

[[noreturn]] void fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

// In a child: makes the kernel send it the signal when its parent, the session, is killed.
void endWithSession(pid_t session, int signal)
{
    prctl(PR_SET_PDEATHSIG, signal);
    if (getppid() != session)
        raise(signal);
}

// In a child that is not the command: makes a process session of its own, and closes the caller's
// files.
void detach(pid_t session, int output, int errors)
{
    setsid();
    endWithSession(session, SIGTERM);
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
}

// In a child: passes the socket to its program, by systemd's protocol.
void handOver(int listening)
{
    listen(listening, SOMAXCONN); // in the child, so that clients see its credentials
    const int place = 3;
    dup2(listening, place);
    fcntl(place, F_SETFD, 0);
    setenv("LISTEN_FDS", "1", 1);
    setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
}

// The children of this process. One may be missing while another ends, but then a SIGCHLD follows.
std::vector<pid_t> children()
{
    std::vector<pid_t> found;
    std::ifstream file("/proc/thread-self/children");
    for (pid_t child = 0; file >> child;)
        found.push_back(child);
    return found;
}

// Signals the process, or its group if it leads one: that of the bus contains the programs that the
// bus has started.
void tell(pid_t process, int signal)
{
    const pid_t whom = getpgid(process) == process ? -process : process;
    kill(whom, signal);
    kill(whom, SIGCONT); // a stopped process cannot end
}

} // namespace

Processes::Processes(Signals& signals, int log)
    : _signals(signals)
    , _log(log)
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

Processes::~Processes()
{
    _endCommand();
    if (!_signals.cameAgain())
        _endAll(SIGTERM, kPatience);
    _endAll(SIGKILL, kKillLimit);
    if (!_noneLeft)
        fputs("host-session: a process of the session cannot be ended\n", stderr);
}

pid_t Processes::startCommand(const Words& words, mode_t umask)
{
    const pid_t session = getpid();
    _command = _start(words, [&] {
        // SIGHUP, because an interactive shell ignores SIGTERM.
        endWithSession(session, SIGHUP);
        ::umask(umask);
    });
    return _command;
}

pid_t Processes::startServer(const Words& words, int listening, const Environment& environment)
{
    const pid_t session = getpid();
    return _start(words, [&] {
        detach(session, _log, _log);
        for (const auto& [name, value] : environment)
            setenv(name.c_str(), value.c_str(), 1);
        if (listening >= 0)
            handOver(listening);
    });
}

pid_t Processes::startQuestion(const Words& words)
{
    const pid_t session = getpid();
    return _start(words, [&] { detach(session, open("/dev/null", O_WRONLY | O_CLOEXEC), _log); });
}

std::optional<int> Processes::waitFor(pid_t process, milliseconds limit)
{
    _waitUntil([&] { return _signals.first() != 0 || _statusOf(process); }, limit);
    if (_signals.first() != 0)
        throw Interrupted();
    return _statusOf(process);
}

pid_t Processes::_start(const Words& words, const std::function<void()>& prepare)
{
    _signals.take();
    if (_signals.first() != 0)
        throw Interrupted();

    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    int failure[2]; // closed when the program begins; else carries errno
    if (pipe2(failure, O_CLOEXEC) != 0)
        fail(words[0]);
    const pid_t child = fork();
    if (child == 0) {
        prepare();
        Signals::release();
        execvp(arguments[0], arguments.data());
        (void)!write(failure[1], &errno, sizeof errno);
        _exit(1);
    }
    const int forkError = errno;
    close(failure[1]);
    int error = child < 0 ? forkError : 0;
    (void)!read(failure[0], &error, sizeof error);
    close(failure[0]);
    if (error != 0) {
        errno = error;
        fail(words[0]);
    }
    _started[child];
    return child;
}

// Waits until done() is true; false when the limit is reached first.
bool Processes::_waitUntil(const std::function<bool()>& done, milliseconds limit)
{
    const auto end = Clock::now() + limit;
    for (;;) {
        _signals.take();
        _reap();
        if (done())
            return true;
        int left = -1;
        if (limit != kNoLimit) {
            left = static_cast<int>(std::chrono::ceil<milliseconds>(end - Clock::now()).count());
            if (left <= 0)
                return false;
        }
        pollfd signals = { _signals.file(), POLLIN, 0 };
        poll(&signals, 1, left);
    }
}

void Processes::_reap()
{
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(-1, &status, WNOHANG)) > 0) {
        const auto found = _started.find(ended);
        if (found != _started.end())
            found->second = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
    }
    _noneLeft = ended < 0;
}

std::optional<int> Processes::_statusOf(pid_t process) const { return _started.at(process); }

// Ends the command before the others, so that it can still use the session.
void Processes::_endCommand()
{
    if (_command == 0 || _statusOf(_command))
        return;
    tell(_command, SIGTERM);
    _waitUntil([this] { return _signals.cameAgain() || _statusOf(_command); }, kPatience);
}

// Signals every process that is left, also those that become children of this one meanwhile.
void Processes::_endAll(int signal, milliseconds limit)
{
    std::set<pid_t> told;
    _waitUntil(
        [&] {
            for (const pid_t child : children()) {
                if (told.insert(child).second)
                    tell(child, signal);
            }
            return _noneLeft || (signal != SIGKILL && _signals.cameAgain());
        },
        limit);
}

} // namespace session
