#include "AlarmCompanion.h"

#include <AlarmStringUtil.h>
#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <memory>
#include <string>
#include <vconf.h>

namespace {

// For gettext: the language, without its script too, since the catalogues have none in their names.
// A text that it does not have is English.
std::string languagesOf(const std::string& language)
{
    const size_t scriptSize = 4;
    std::string bare = language;
    const size_t script = std::min(language.find('_'), language.size());
    if (std::min(language.find('_', script + 1), language.size()) == script + 1 + scriptSize)
        bare.erase(script, 1 + scriptSize);
    return (language.empty() ? "" : language + ":") + (bare == language ? "" : bare + ":") + "en";
}

} // namespace

namespace companion {

void useDeviceLanguage()
{
    const std::unique_ptr<char, void (*)(void*)> value(
        vconf_get_str("db/menu_widget/language"), free);
    const std::string setting = value ? value.get() : "";
    const std::string language = setting.substr(0, setting.find('.'));
    setenv("LANGUAGE", languagesOf(language).c_str(), 1);
    // Texts are UTF-8, whatever the terminal's language.
    setlocale(LC_ALL, "C.UTF-8");
    AlarmStringUtil::_initTextDomain();
}

} // namespace companion
