#include "ThemeDouble.h"

ThemeDouble& themeDouble()
{
    static ThemeDouble instance;
    return instance;
}

Eina_Bool uxt_theme_get_color(const char* code, int* red, int* green, int* blue, int* alpha)
{
    themeDouble().asked.emplace_back(code);
    const auto found = themeDouble().colors.find(code);
    if (found == themeDouble().colors.end())
        return EINA_FALSE;
    *red = found->second[0];
    *green = found->second[1];
    *blue = found->second[2];
    *alpha = found->second[3];
    return EINA_TRUE;
}
