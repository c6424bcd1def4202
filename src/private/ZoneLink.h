#pragma once

#include <string>

/// The symbolic link to the data of the device's zone.
inline const char* const kZoneLink = "/opt/etc/localtime";

/// The zone's id in the link's target, such as "Asia/Seoul": what follows the folder "zoneinfo/".
/// When the target has no such folder, as many characters are cut as the device's own folder has.
/// Empty when nothing is left.
inline std::string zoneOfLink(const std::string& target)
{
    static const std::string folder = "zoneinfo/";
    static const std::string ownFolder = "/usr/share/zoneinfo/";
    size_t at = target.find(folder);
    while (at != std::string::npos && at != 0 && target[at - 1] != '/')
        at = target.find(folder, at + 1);
    const size_t cut = at == std::string::npos ? ownFolder.size() : at + folder.size();
    return target.size() > cut ? target.substr(cut) : "";
}
