#include "common/Language.h"

#include <clocale>
#include <cstdlib>
#include <memory>
#include <string>
#include <vconf.h>

namespace app {

void useDeviceLanguage()
{
    const std::unique_ptr<char, void (*)(void*)> value(
        vconf_get_str("db/menu_widget/language"), free);
    const std::string setting = value ? value.get() : "";
    const std::string language = setting.substr(0, setting.find('.'));
    // A text that a language does not have is English.
    setenv("LANGUAGE", (language.empty() ? "en" : language + ":en").c_str(), 1);
    // Texts are UTF-8, whatever the terminal's language.
    setlocale(LC_ALL, "C.UTF-8");
}

} // namespace app
