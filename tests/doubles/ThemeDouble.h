#pragma once

#include <array>
#include <map>
#include <string>
#include <ui_extension.h>
#include <vector>

/// Red, green, blue and alpha by code of the theme.
struct ThemeDouble {
    std::map<std::string, std::array<int, 4>> colors;
    std::vector<std::string> asked;
};

ThemeDouble& themeDouble();
