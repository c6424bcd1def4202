// The alarm library reads the device's zone from the link /opt/etc/localtime of the watch. This
// readlink answers for that path with the session's own link.

#include "host/common/Boundary.h"
#include "host/common/Session.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

extern "C" ssize_t readlink(const char* path, char* buf, size_t len) noexcept
{
    const char* link = path;
    if (strcmp(path, host::kWatchZoneLink) == 0) {
        link = host::guarded("the link to the zone is not known", nullptr,
            [] { return host::zoneLinkPath().c_str(); });
    }
    if (!link) {
        errno = ENOMEM;
        return -1;
    }
    // The same as readlink of the C library, which is hidden by this function.
    return readlinkat(AT_FDCWD, link, buf, len);
}
