#include "common/LocalSocket.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace app {

namespace {

// A new socket, once join has bound or connected it to that name in the folder; -1 when that fails.
// An address holds 107 characters, and a folder's path may have more. By the open folder's
// descriptor the same file has a short path.
template <typename Join>
int openSocket(const std::string& folder, const char* name, const Join& join)
{
    const int place = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", place, name);
    const bool isJoined = join(made, address);
    close(place);
    if (isJoined)
        return made;
    close(made);
    return -1;
}

} // namespace

int listenIn(const std::string& folder, const char* name)
{
    return openSocket(folder, name, [](int made, const sockaddr_un& address) {
        const int backlog = 4;
        (void)unlink(address.sun_path);
        return bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
            && listen(made, backlog) == 0;
    });
}

int acceptFrom(int listener)
{
    return accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
}

int connectIn(const std::string& folder, const char* name)
{
    return openSocket(folder, name, [](int made, const sockaddr_un& address) {
        return connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    });
}

} // namespace app
