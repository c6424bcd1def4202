#include "host/daemon/DefaultSettings.h"

#include "host/common/SettingsStore.h"

#include <cstdlib>
#include <utility>
#include <vector>

namespace host {

namespace {

const char* const kStore = "vconf";

// The session's locale for times, by the names that a locale is looked up under.
std::string timeLocale()
{
    for (const char* name : { "LC_ALL", "LC_TIME", "LANG" }) {
        const char* locale = getenv(name);
        if (locale && *locale)
            return locale;
    }
    return "en_US.UTF-8";
}

} // namespace

void seedSettings()
{
    const std::vector<std::pair<const char*, SettingValue>> defaults = {
        { "memory/private/vap/conn_type", 0 },
        { "memory/wms/wmanager_connected", false },
        { "db/menu_widget/regionformat", timeLocale() },
        { "db/menu_widget/regionformat_time1224", 1 },
        { "db/setting/sound/call/vibration_type", 0 },
        { "db/setting/sound/vibration_long_on", false },
        { "db/retailmode/enabled", 0 },
    };
    SettingsStore& settings = SettingsStore::session();
    for (const auto& [key, value] : defaults) {
        if (!settings.read(kStore, key))
            settings.write(kStore, key, value);
    }
}

} // namespace host
