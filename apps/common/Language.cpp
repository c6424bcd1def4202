#include "common/Language.h"

#include <clocale>
#include <cstdlib>
#include <memory>
#include <regex>
#include <string>
#include <vconf.h>

namespace {

// For gettext: the language, without its script too, since the catalogues have none in their names.
// A text that it does not have is English.
std::string languagesOf(const std::string& language)
{
    static const std::regex withScript("([a-z]+)_[A-Z][a-z]{3}(_.+)?");
    std::smatch parts;
    const std::string bare
        = std::regex_match(language, parts, withScript) ? ":" + parts.str(1) + parts.str(2) : "";
    return (language.empty() ? "" : language + bare + ":") + "en";
}

} // namespace

namespace app {

void useDeviceLanguage()
{
    const std::unique_ptr<char, void (*)(void*)> value(
        vconf_get_str("db/menu_widget/language"), free);
    const std::string setting = value ? value.get() : "";
    const std::string language = setting.substr(0, setting.find('.'));
    setenv("LANGUAGE", languagesOf(language).c_str(), 1);
    // Texts are UTF-8, whatever the terminal's language.
    setlocale(LC_ALL, "C.UTF-8");
}

} // namespace app
