// On the watch the C library's default zone is the device's, and it follows the device. On a
// desktop that default is the machine's, so a process of a session has the session's zone as TZ.
// The colon in front tells it from a zone that somebody set.

#include "host/common/Session.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <string>
#include <unistd.h>

namespace {

const char* const kZoneData = "/usr/share/zoneinfo/";

// By its id, under which the C library may already have it: reading its file takes a while.
void followSession()
{
    const char* zone = getenv("TZ");
    if (zone && *zone != ':')
        return;
    char target[1024];
    const ssize_t size = readlink(host::zoneLinkPath().c_str(), target, sizeof target);
    if (size < 0)
        return;
    std::string name(target, static_cast<size_t>(size));
    if (name.compare(0, strlen(kZoneData), kZoneData) == 0)
        name.erase(0, strlen(kZoneData));
    name.insert(0, 1, ':');
    if (!zone || name != zone)
        setenv("TZ", name.c_str(), 1);
}

} // namespace

extern "C" void tzset() noexcept
{
    static const auto readZone = reinterpret_cast<void (*)()>(dlsym(RTLD_NEXT, "tzset"));
    followSession();
    readZone();
}
