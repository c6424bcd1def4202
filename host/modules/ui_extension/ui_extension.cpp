#include "ThemeColors.h"

#include <exception>
#include <ui_extension.h>

extern "C" Eina_Bool uxt_theme_get_color(
    const char* code, int* red, int* green, int* blue, int* alpha)
{
    if (!code || !red || !green || !blue || !alpha)
        return EINA_FALSE;
    try {
        const ThemeColors::Color* color = ThemeColors::session().find(code);
        if (!color)
            return EINA_FALSE;
        *red = (*color)[0];
        *green = (*color)[1];
        *blue = (*color)[2];
        *alpha = (*color)[3];
        return EINA_TRUE;
    } catch (const std::exception&) {
        return EINA_FALSE; // no session
    }
}
