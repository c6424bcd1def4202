#include "host/daemon/DefaultSettings.h"

#include "host/common/Keys.h"
#include "host/common/Locale.h"
#include "host/common/Session.h"
#include "host/common/SettingsStore.h"

#include <cstdlib>
#include <utility>
#include <vector>

namespace host {

namespace {

const char* const kLocale = "en_US.UTF-8";

// The caller's locale for a category, from the variables that the C library reads.
std::string localeOf(const char* category)
{
    for (const char* name : { "LC_ALL", category, "LANG" }) {
        const char* locale = getenv(name);
        if (locale && *locale)
            return localeSetting(locale).value_or(kLocale);
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
    announceZone();
}

void announceZone()
{
    SettingsStore& settings = SettingsStore::session();
    const SettingValue zone = zoneId();
    if (settings.read(kDeviceStore, kZoneKey) != zone)
        settings.write(kDeviceStore, kZoneKey, zone);
}

} // namespace host
