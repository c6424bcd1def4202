#include "host/common/Keys.h"
#include "host/common/Locale.h"
#include "host/common/Session.h"
#include "host/common/SettingsStore.h"
#include "host/tools/hostctl.h"

namespace hostctl {

namespace {

// The setting for a locale. Texts of the device are UTF-8, so another character set is refused
// rather than ignored.
std::optional<std::string> settingOf(const std::string& locale)
{
    const size_t dot = locale.find('.');
    const std::string charset = dot == std::string::npos ? "" : locale.substr(dot);
    return charset.empty() || charset == ".UTF-8" || charset == ".utf8"
        ? host::localeSetting(locale)
        : std::nullopt;
}

} // namespace

void locale(const Arguments& arguments)
{
    if (arguments.size() != 1)
        throw UsageError("it must be locale LOCALE, such as locale ko_KR");
    const std::optional<std::string> setting = settingOf(arguments[0]);
    if (!setting) {
        throw UsageError("\"" + arguments[0]
            + "\" is no locale; it must be a language and a region, such as ko_KR");
    }
    host::SettingsStore::session().write(host::kDeviceStore,
        { { host::kLanguageKey, *setting }, { host::kRegionFormatKey, *setting } });
}

void clock(const Arguments& arguments)
{
    if (arguments.size() != 1)
        throw UsageError("it must be clock 12 or clock 24");
    if (arguments[0] != "12" && arguments[0] != "24")
        throw UsageError("\"" + arguments[0] + "\" is no clock; it must be 12 or 24");
    host::SettingsStore::session().write(
        host::kDeviceStore, host::kClockKey, arguments[0] == "12" ? 1 : 2);
}

void zone(const Arguments& arguments)
{
    if (arguments.size() != 1)
        throw UsageError("it must be zone ZONE, such as zone Asia/Seoul");
    if (!host::isZoneId(arguments[0])) {
        throw UsageError("there is no zone \"" + arguments[0]
            + "\"; it must be one of the zone data's, such as Asia/Seoul");
    }
    host::setZoneId(arguments[0]);
}

} // namespace hostctl
