#include "host/common/Keys.h"
#include "host/common/Session.h"
#include "host/common/SettingsStore.h"
#include "host/tools/hostctl.h"

#include <regex>

namespace hostctl {

namespace {

void set(const char* key, const host::SettingValue& value)
{
    host::SettingsStore::session().write(host::kDeviceStore, key, value);
}

} // namespace

void locale(const Arguments& arguments)
{
    static const std::regex name("([a-z]{2,3}(_[A-Z][a-z]{3})?(_([A-Z]{2}|[0-9]{3}))?)(\\.UTF-8)?");
    std::smatch parts;
    if (arguments.size() != 1)
        throw UsageError("it must be locale LOCALE, such as locale ko_KR");
    if (!std::regex_match(arguments[0], parts, name)) {
        throw UsageError("\"" + arguments[0]
            + "\" is no locale; it must be a language and a region, such as ko_KR");
    }
    const std::string locale = parts.str(1) + ".UTF-8";
    set(host::kLanguageKey, locale);
    set(host::kRegionFormatKey, locale);
}

void clock(const Arguments& arguments)
{
    if (arguments.size() != 1)
        throw UsageError("it must be clock 12 or clock 24");
    if (arguments[0] != "12" && arguments[0] != "24")
        throw UsageError("\"" + arguments[0] + "\" is no clock; it must be 12 or 24");
    set(host::kClockKey, arguments[0] == "12" ? 1 : 2);
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
