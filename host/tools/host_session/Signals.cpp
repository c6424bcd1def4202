#include "host/tools/host_session/Signals.h"

#include <cerrno>
#include <csignal>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace session {

Signals::Signals()
{
    const int numbers[] = { SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGCHLD };
    sigset_t set;
    sigemptyset(&set);
    for (const int number : numbers)
        sigaddset(&set, number);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    // The signals are blocked already, so that none is lost or ends the process here.
    for (const int number : numbers)
        signal(number, SIG_DFL);
    _file = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    if (_file < 0)
        throw std::system_error(errno, std::generic_category(), "signals cannot be taken");
}

Signals::~Signals() { close(_file); }

void Signals::take()
{
    signalfd_siginfo taken;
    while (read(_file, &taken, sizeof taken) == sizeof taken) {
        if (taken.ssi_signo == SIGCHLD)
            continue;
        if (_first == 0) {
            _first = static_cast<int>(taken.ssi_signo);
        } else {
            _cameAgain = true;
        }
    }
}

void Signals::release()
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace session
