#pragma once

#include <cstdlib>

/// The link to the data of the device's zone; a session on a desktop names its own.
inline const char* zoneLink()
{
    const char* named = getenv("ALARM_HOST_LOCALTIME");
    return named && *named != '\0' ? named : "/opt/etc/localtime";
}
