#pragma once

#include <optional>
#include <string>

namespace host {

/// The device's setting for a locale, such as "en_GB.UTF-8" for "en_GB", "en_GB.utf8" and
/// "en_GB@euro", and "sr_Latn_RS.UTF-8" for "sr_RS@latin". None for what names no language: "C".
std::optional<std::string> localeSetting(const std::string& name);

} // namespace host
