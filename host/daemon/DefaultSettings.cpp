#include "host/daemon/DefaultSettings.h"

#include "host/common/Keys.h"
#include "host/common/SettingsStore.h"

#include <cstdlib>
#include <utility>
#include <vector>

namespace host {

namespace {

const char* const kLocale = "en_US.UTF-8";

bool namesLanguage(const std::string& locale)
{
    const std::string name = locale.substr(0, locale.find('.'));
    return name != "C" && name != "POSIX";
}

// The session's locale for a category, by the names that a locale is looked up under.
std::string localeOf(const char* category)
{
    for (const char* name : { "LC_ALL", category, "LANG" }) {
        const char* locale = getenv(name);
        if (locale && *locale)
            return namesLanguage(locale) ? locale : kLocale;
    }
    return kLocale;
}

} // namespace

void seedSettings()
{
    const std::vector<std::pair<const char*, SettingValue>> defaults = {
        { "memory/private/vap/conn_type", 0 },
        { "memory/wms/wmanager_connected", false },
        { kLanguageKey, localeOf("LC_MESSAGES") },
        { kRegionFormatKey, localeOf("LC_TIME") },
        { kClockKey, 1 },
        { "db/setting/sound/call/vibration_type", 0 },
        { "db/setting/sound/vibration_long_on", false },
        { "db/retailmode/enabled", 0 },
    };
    SettingsStore& settings = SettingsStore::session();
    for (const auto& [key, value] : defaults) {
        if (!settings.read(kDeviceStore, key))
            settings.write(kDeviceStore, key, value);
    }
}

} // namespace host
