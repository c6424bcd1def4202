#pragma once

#include <string>

/// The setting with the user's region format, such as "de_DE.UTF-8".
const char* const kRegionFormatKey = "db/menu_widget/regionformat";

/// The locale of a region format, of which only the first limit bytes are looked at.
inline std::string localeOfRegionFormat(const char* regionFormat, size_t limit)
{
    const std::string counted = std::string(regionFormat).substr(0, limit);
    return counted.substr(0, counted.find(".UTF-8"));
}
