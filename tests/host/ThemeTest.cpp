#include "Probing.h"
#include "TempDir.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <ui_extension.h>

namespace {

using Color = std::array<int, 4>;
const Color kUntouched = { 1, 2, 3, 4 };

Color colorOf(const char* code, Eina_Bool found)
{
    Color color = kUntouched;
    EXPECT_EQ(found, uxt_theme_get_color(code, &color[0], &color[1], &color[2], &color[3]));
    return color;
}

std::string colorUnder(const std::string& theme, const std::string& code)
{
    const TempDir home;
    std::filesystem::create_directories(home.file("ro/theme"));
    std::ofstream(home.file("ro/theme/colors")) << theme;
    return probe({ "color", code }, { { "ALARM_HOST_HOME", home.path() } });
}

} // namespace

TEST(ThemeTest, HasTheWeekdaysColors)
{
    EXPECT_EQ((Color{ 98, 58, 158, 255 }), colorOf("AT015", EINA_TRUE));
    EXPECT_EQ((Color{ 98, 58, 158, 102 }), colorOf("AT015D", EINA_TRUE));
    EXPECT_EQ((Color{ 79, 79, 79, 153 }), colorOf("AT014", EINA_TRUE));
    EXPECT_EQ((Color{ 79, 79, 79, 77 }), colorOf("AT014D", EINA_TRUE));
}

TEST(ThemeTest, AnUnknownCodeHasNoColor)
{
    EXPECT_EQ(kUntouched, colorOf("AT016", EINA_FALSE));
    EXPECT_EQ(kUntouched, colorOf("", EINA_FALSE));
    EXPECT_EQ(kUntouched, colorOf(nullptr, EINA_FALSE));
    EXPECT_EQ(kUntouched, colorOf("#", EINA_FALSE));
}

TEST(ThemeTest, NeedsItsArguments)
{
    int part = 5;
    EXPECT_EQ(EINA_FALSE, uxt_theme_get_color("AT015", nullptr, &part, &part, &part));
    EXPECT_EQ(EINA_FALSE, uxt_theme_get_color("AT015", &part, nullptr, &part, &part));
    EXPECT_EQ(EINA_FALSE, uxt_theme_get_color("AT015", &part, &part, nullptr, &part));
    EXPECT_EQ(EINA_FALSE, uxt_theme_get_color("AT015", &part, &part, &part, nullptr));
    EXPECT_EQ(5, part);
}

TEST(ThemeTest, OnlyWholeColorsCount)
{
    EXPECT_EQ("1 2 3 4", colorUnder("A 1 2 3 4 and what it is for\n", "A"));
    EXPECT_EQ("1 2 3 4", colorUnder("A 1 2 3\nA 1 2 3 256\nA 1 2 -3 4\nA 1 2 3 4\n", "A"));
    EXPECT_EQ("none", colorUnder("A 1 2 x 4\n", "A"));
    EXPECT_EQ("none", colorUnder("", "A"));
    const TempDir home;
    EXPECT_EQ("none", probe({ "color", "AT015" }, { { "ALARM_HOST_HOME", home.path() } }));
}
