#include "ThemeColors.h"

#include "host/common/Session.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace {

const int kHighest = 255;

} // namespace

const ThemeColors& ThemeColors::session()
{
    static const ThemeColors colors(host::homePath() + "ro/theme/colors");
    return colors;
}

ThemeColors::ThemeColors(const std::string& file)
{
    std::ifstream theme(file);
    for (std::string line; std::getline(theme, line);) {
        std::istringstream words(line);
        std::string code;
        Color color = {};
        words >> code;
        for (int& part : color)
            words >> part;
        const bool fits = std::all_of(
            color.begin(), color.end(), [](int part) { return part >= 0 && part <= kHighest; });
        if (words && fits)
            _colors.emplace(code, color);
    }
}

const ThemeColors::Color* ThemeColors::find(const std::string& code) const
{
    const auto found = _colors.find(code);
    return found == _colors.end() ? nullptr : &found->second;
}
