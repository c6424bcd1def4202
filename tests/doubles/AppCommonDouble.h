#pragma once

#include <app_common.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The process's identity and paths; without a value the platform has no answer.
struct AppCommonDouble {
    std::optional<std::string> id;
    std::optional<std::string> dataPath;
    std::optional<std::string> resourcePath;
    std::optional<std::string> sharedResourcePath;
    std::optional<std::string> sharedTrustedPath;

    /// The text domains that were set, each with its folder.
    std::vector<std::pair<std::string, std::string>> textDomains;
};

AppCommonDouble& appCommonDouble();
