// On the watch, the default zone of the C library is the device's, and follows it. On a desktop it
// is the machine's, so a process of a session gets the session's zone in TZ, with a colon in front,
// which distinguishes it from a zone that somebody has set.

#include "host/common/Boundary.h"
#include "host/common/Session.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <string>

namespace {

// Sets TZ to the id of the session's zone, not to its file: the C library may have the zone by that
// id already, and reading the file takes a while. As with any change of the environment, only for
// the main thread.
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

// tzset cannot report a failure, and the C library's leaves errno alone when it succeeds.
extern "C" void tzset() noexcept
{
    static const auto readZone = reinterpret_cast<void (*)()>(dlsym(RTLD_NEXT, "tzset"));
    const int error = errno;
    host::guarded("the device's zone cannot be followed", followSession);
    if (readZone)
        readZone();
    errno = error;
}
