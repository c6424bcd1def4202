#include "JsonNesting.h"

#include <gtest/gtest.h>
#include <json-glib/json-glib.h>
#include <random>

namespace {
int depthOf(const std::string& text)
{
    int depth = 0;
    while (isNestedDeeperThan(text, depth))
        ++depth;
    return depth;
}

/// How deep JSON-GLib calls itself for a text, also for one that it then refuses.
class JsonGlibDepth {
public:
    explicit JsonGlibDepth(const std::string& text)
    {
        JsonParser* parser = json_parser_new();
        for (const char* name : { "array-start", "object-start" })
            g_signal_connect_swapped(parser, name, G_CALLBACK(_begin), this);
        for (const char* name : { "array-end", "object-end" })
            g_signal_connect_swapped(parser, name, G_CALLBACK(_end), this);
        json_parser_load_from_data(parser, text.data(), static_cast<gssize>(text.size()), nullptr);
        g_object_unref(parser);
    }

    int deepest() const { return _deepest; }

private:
    static void _begin(JsonGlibDepth* self)
    {
        self->_deepest = std::max(self->_deepest, ++self->_depth);
    }
    static void _end(JsonGlibDepth* self) { --self->_depth; }

    int _depth = 0;
    int _deepest = 0;
};

struct NestingCase {
    const char* name;
    const char* text;
    int depth;
};
class JsonNestingTest : public testing::TestWithParam<NestingCase> {};
} // namespace

TEST_P(JsonNestingTest, IsThatOfItsDeepestBracket)
{
    EXPECT_EQ(GetParam().depth, depthOf(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Table, JsonNestingTest,
    testing::Values(NestingCase{ "Nothing", "", 0 }, NestingCase{ "Number", "1", 0 },
        NestingCase{ "Array", "[]", 1 }, NestingCase{ "Object", "{}", 1 },
        NestingCase{ "Both", R"({"a":[{}]})", 3 }, NestingCase{ "Neighbours", "[[],[],[]]", 2 },
        NestingCase{ "Unended", "[[[", 3 }, NestingCase{ "OnlyEnds", "]]]", 0 },
        NestingCase{ "EndsFirst", "]]][[", 2 }, NestingCase{ "InText", R"(["[[["])", 1 },
        NestingCase{ "BehindAQuote", R"(["\"[[["])", 1 },
        NestingCase{ "BehindABackslash", R"(["\\",[["a"]]])", 3 },
        NestingCase{ "BehindAnEscape", R"(["\u0022[[["])", 1 },
        NestingCase{ "BehindAPair", R"(["\ud83d\ude00[[["])", 1 },
        NestingCase{ "EscapeAtTheEnd", "[\"\\", 1 },
        NestingCase{ "HalfEscapeAtTheEnd", "[\"\\u0", 1 },
        NestingCase{ "AfterAComment", "/* \" */[[]]", 2 },
        NestingCase{ "AfterACommentEndsDoNotCount", "/* */[[],[]]", 3 },
        NestingCase{ "AfterAnotherQuote", "['[[']", 3 },
        NestingCase{ "AfterABrokenEscape", R"(["\u00"[["])", 3 },
        NestingCase{ "AfterHalfAPair", R"(["\ud83d"[["])", 3 },
        NestingCase{ "AfterTheOtherHalf", R"(["\ude00"[["])", 3 }),
    [](const auto& row) { return row.param.name; });

TEST(JsonNestingLimitTest, IsDeeperOnlyAboveTheLimit)
{
    EXPECT_FALSE(isNestedDeeperThan("[[]]", 2));
    EXPECT_TRUE(isNestedDeeperThan("[[]]", 1));
}

TEST(JsonNestingLimitTest, IsNeverLessThanTheDepthOfJsonGlib)
{
    const std::vector<std::string> pieces = { "[", "[", "{\"a\":", "{", "]", "}", "\"", "\"", "'",
        "\\", "\\u", "\\u00", "\\ud83d", "\\ude00", "\\ud83d\\ude00", "/*", "*/", "//", "/", "\n",
        "0", "1", ",", ":", "a", "#", "var a = ", "null" };
    std::mt19937 random(1);
    std::uniform_int_distribution<size_t> which(0, pieces.size() - 1);
    std::uniform_int_distribution<int> length(1, 24);
    int nested = 0;
    for (int i = 0; i < 200000; ++i) {
        std::string text = "[";
        for (int left = length(random); left > 0; --left)
            text += pieces[which(random)];
        const int deepest = JsonGlibDepth(text).deepest();
        ASSERT_LE(deepest, depthOf(text)) << text;
        nested += deepest > 2 ? 1 : 0;
    }
    EXPECT_GT(nested, 1000);
}
