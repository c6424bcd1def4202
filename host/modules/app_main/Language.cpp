#include "Language.h"

#include "host/common/Boundary.h"
#include "host/common/Keys.h"
#include "host/common/SettingsStore.h"

#include <algorithm>
#include <appcore-common.h>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <libintl.h>
#include <string>
#include <utils_i18n.h>
#include <vconf.h>

namespace {

// The locale in a setting, without its character set; empty when the setting is not set.
std::string localeUnder(const char* key)
{
    const host::CText value(vconf_get_str(key));
    const std::string locale = value ? value.get() : "";
    return locale.substr(0, locale.find('.'));
}

// The value of LANGUAGE for gettext: the language, the same without its script, since no catalogue
// has one in its name, and English for texts that the language lacks.
std::string languagesOf(const std::string& language)
{
    const size_t scriptSize = 4;
    std::string bare = language;
    const size_t script = std::min(language.find('_'), language.size());
    if (std::min(language.find('_', script + 1), language.size()) == script + 1 + scriptSize)
        bare.erase(script, 1 + scriptSize);
    return (language.empty() ? "" : language + ":") + (bare == language ? "" : bare + ":") + "en";
}

// gettext goes by LANGUAGE in any locale but "C", so the machine needs no locales of its own. The
// other categories stay "C": "C.UTF-8" is the same for them, and loading it would delay an alert.
void adopt()
{
    const std::string language = localeUnder(host::kLanguageKey);
    setenv("LANGUAGE", languagesOf(language).c_str(), 1);
    setlocale(LC_MESSAGES,
        "C"); // a change of the locale makes gettext forget the texts that it has found
    setlocale(LC_MESSAGES, "C.UTF-8");
    setlocale(LC_CTYPE, "C.UTF-8");
    const std::string region = localeUnder(host::kRegionFormatKey);
    if (!region.empty())
        (void)i18n_ulocale_set_default(region.c_str());
}

} // namespace

Language::Language()
{
    adopt();
    host::guarded("the language is not followed", [this] {
        for (const char* key : { host::kLanguageKey, host::kRegionFormatKey }) {
            _watches.push_back(
                host::SettingsStore::session().watch(host::kDeviceStore, key, adopt));
        }
    });
}

extern "C" int appcore_set_i18n(const char* domainname, const char* dirname)
{
    const bool isBound = domainname && dirname && bindtextdomain(domainname, dirname)
        && bind_textdomain_codeset(domainname, "UTF-8") && textdomain(domainname);
    if (!isBound) {
        errno = EINVAL;
        return -1;
    }
    return host::guarded("the language is not known", -1, [] {
        adopt();
        return 0;
    });
}
