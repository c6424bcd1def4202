#pragma once

#include <optional>
#include <string>

namespace host {

/// The form that a locale has in the device's settings, such as "en_GB.UTF-8" for "en_GB",
/// "en_GB.utf8" and "en_GB@euro", or "sr_Latn_RS.UTF-8" for "sr_RS@latin". Nothing for a name
/// without a language, such as "C".
std::optional<std::string> localeSetting(const std::string& name);

} // namespace host
