#include "host/common/Boundary.h"
#include "ThemeColors.h"

#include <ui_extension.h>

extern "C" Eina_Bool uxt_theme_get_color(
    const char* code, int* red, int* green, int* blue, int* alpha)
{
    if (!code || !red || !green || !blue || !alpha)
        return EINA_FALSE;
    return host::guarded("the theme cannot be read", EINA_FALSE, [=]() -> Eina_Bool {
        const ThemeColors::Color* color = ThemeColors::session().find(code);
        if (!color)
            return EINA_FALSE;
        *red = (*color)[0];
        *green = (*color)[1];
        *blue = (*color)[2];
        *alpha = (*color)[3];
        return EINA_TRUE;
    });
}
