#pragma once

#include <string>

/// The link to the data of the device's zone.
inline const char* const kZoneLink = "/opt/etc/localtime";

/// The zone's id in the link's target, such as "Asia/Seoul": what is below the folder of the zone
/// data, wherever a link relative or absolute says that it lies. Of another folder the characters
/// of the device's own are cut. Empty when nothing is left.
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
