#pragma once

#include <app_preference.h>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// The application's preference store, with integers only.
struct PreferenceDouble {
    std::map<std::string, int> values;
    /// What every call answers when it is not 0; the store is then neither read nor written.
    int error = PREFERENCE_ERROR_NONE;
    /// What was set, in order, failed sets included.
    std::vector<std::pair<std::string, int>> sets;
    std::function<void()> whenSet; ///< runs in each set
};

PreferenceDouble& preferenceDouble();
