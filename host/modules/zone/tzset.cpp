// On the watch the C library's default zone is the device's, and it follows the device. On a
// desktop that default is the machine's, so a process of a session has the session's zone as TZ.
// The colon in front tells it from a zone that somebody set.

#include "host/common/Boundary.h"
#include "host/common/Session.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <string>

namespace {

// By its id, under which the C library may already have it: reading its file takes a while. As any
// change of the environment, this is no matter for a thread beside the main one.
void followSession()
{
    const char* zone = getenv("TZ");
    if (zone && *zone != ':')
        return;
    const std::string name = ':' + host::zoneId();
    if (!zone || name != zone)
        setenv("TZ", name.c_str(), 1);
}

} // namespace

// It has no way to fail, and the C library's leaves errno alone where it succeeds.
extern "C" void tzset() noexcept
{
    static const auto readZone = reinterpret_cast<void (*)()>(dlsym(RTLD_NEXT, "tzset"));
    const int error = errno;
    host::guarded("the zone stays as it was", followSession);
    if (readZone)
        readZone();
    errno = error;
}
