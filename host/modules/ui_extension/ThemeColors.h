#pragma once

#include <array>
#include <map>
#include <string>

/// The colours of the session's theme, by their codes.
class ThemeColors {
public:
    /// Red, green, blue and alpha, 0 to 255 each.
    using Color = std::array<int, 4>;

    /// Read at the first use. Has no colours when there is no theme.
    static const ThemeColors& session();

    /// Reads a file whose lines each consist of a code, its four numbers, and what it is for. Other
    /// lines are ignored.
    explicit ThemeColors(const std::string& file);

    /// Null for a code that the theme does not have.
    const Color* find(const std::string& code) const;

private:
    std::map<std::string, Color> _colors;
};
