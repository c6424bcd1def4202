#include "common/LocalSocket.h"

#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace app {

namespace {

class Descriptor {
public:
    explicit Descriptor(int number)
        : _number(number)
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (_number >= 0)
            close(_number);
    }

    int get() const { return _number; }
    int release()
    {
        const int number = _number;
        _number = -1;
        return number;
    }

private:
    int _number;
};

int openFolder(const std::string& folder)
{
    return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

int makeSocket() { return socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

// An address holds 107 characters, and a folder's path may have more. By the open folder's
// descriptor the same file has a short path.
sockaddr_un addressIn(const Descriptor& folder, const char* name)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.get()) + "/" + name;
    strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    return address;
}

} // namespace

int listenIn(const std::string& folder, const char* name)
{
    const Descriptor place(openFolder(folder));
    Descriptor socket(makeSocket());
    const sockaddr_un address = addressIn(place, name);
    const int backlog = 4;
    (void)unlinkat(place.get(), name, 0);
    if (bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || listen(socket.get(), backlog) != 0)
        return -1;
    return socket.release();
}

int acceptFrom(int listener)
{
    return accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
}

int connectIn(const std::string& folder, const char* name)
{
    const Descriptor place(openFolder(folder));
    Descriptor socket(makeSocket());
    const sockaddr_un address = addressIn(place, name);
    if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return -1;
    return socket.release();
}

} // namespace app
