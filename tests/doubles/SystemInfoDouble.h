#pragma once

#include <map>
#include <string>
#include <system_info.h>

/// Features of the device. A key that is not in the map is unknown.
struct SystemInfoDouble {
    int result = SYSTEM_INFO_ERROR_NONE;
    std::map<std::string, bool> features;
};

SystemInfoDouble& systemInfoDouble();
