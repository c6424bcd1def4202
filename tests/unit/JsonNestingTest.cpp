#include "JsonNesting.h"

#include <gtest/gtest.h>
#include <json-glib/json-glib.h>
#include <random>
#include <utility>
#include <vector>

namespace {
int depthOf(const std::string& text)
{
    int depth = 0;
    while (JsonNesting(text).isDeeperThan(depth))
        ++depth;
    return depth;
}

/// How deep JSON-GLib calls itself for a text, also for one that it then refuses.
class JsonGlibReading {
public:
    explicit JsonGlibReading(const std::string& text)
    {
        JsonParser* parser = json_parser_new();
        for (const char* name : { "array-start", "object-start" })
            g_signal_connect_swapped(parser, name, G_CALLBACK(_begin), this);
        for (const char* name : { "array-end", "object-end" })
            g_signal_connect_swapped(parser, name, G_CALLBACK(_end), this);
        _accepted = json_parser_load_from_data(
                        parser, text.data(), static_cast<gssize>(text.size()), nullptr)
            != FALSE;
        g_object_unref(parser);
    }

    int deepest() const { return _deepest; }
    bool accepted() const { return _accepted; }

private:
    static void _begin(JsonGlibReading* self)
    {
        self->_deepest = std::max(self->_deepest, ++self->_depth);
    }
    static void _end(JsonGlibReading* self) { --self->_depth; }

    int _depth = 0;
    int _deepest = 0;
    bool _accepted = false;
};

class RandomTexts {
public:
    RandomTexts(std::vector<std::string> pieces, size_t longest)
        : _pieces(std::move(pieces))
        , _which(0, _pieces.size() - 1)
        , _length(1, longest)
    {
    }

    std::string next()
    {
        std::string text;
        for (size_t left = _length(_random); left > 0; --left)
            text += _pieces[_which(_random)];
        return text;
    }

private:
    const std::vector<std::string> _pieces;
    std::mt19937 _random{ 1 };
    std::uniform_int_distribution<size_t> _which;
    std::uniform_int_distribution<size_t> _length;
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
        NestingCase{ "InAComment", "/*[[*/[]", 1 },
        NestingCase{ "AfterAComment", "/* \" */[[],[]]", 2 },
        NestingCase{ "AfterTheShortestComment", "/*/[[]]", 2 },
        NestingCase{ "AfterACommentOfStars", "[/***/[]]", 2 },
        NestingCase{ "InAnUnendedComment", "[/*[[", 1 },
        NestingCase{ "BetweenSlashes", "/[[/[]", 1 },
        NestingCase{ "ACommentEndsAtItsSecondSlash", "/*a/[]*/[[]]", 1 },
        NestingCase{ "AfterTwoSlashes", "//[[]]", 2 }, NestingCase{ "BehindASlash", "[/[[]]", 1 },
        NestingCase{ "InSingleQuotes", "['[[',[]]", 2 },
        NestingCase{ "AfterABackslashInSingleQuotes", R"(['\',[]])", 2 },
        NestingCase{ "AfterAnEscapeWithoutDigits", R"(["\u",[]])", 2 },
        NestingCase{ "AnEscapeWithFewDigitsTakesTheNext", R"(["\u00"[["])", 1 },
        NestingCase{ "AnEscapeTakesNoMoreThanFourDigits", R"(["\u00000",[]])", 2 },
        NestingCase{ "HalfAPairTakesTheNext", R"(["\ud83d"[["])", 1 },
        NestingCase{ "TheOtherHalfTakesTheNext", R"(["\ude00"[["])", 1 },
        NestingCase{ "HalfAPairTakesAnEscapedQuote", R"(["\ud83d\",[]])", 1 },
        NestingCase{ "HalfAPairTakesAnEscapedQuoteOnly", R"(["\ud83d\"",[]])", 2 },
        NestingCase{ "ThePairsSecondTakesTheNext", R"(["\ud83d\ude0"[["])", 1 },
        NestingCase{ "BesideThePairs", R"(["\ud7ff",["\ue000",[]]])", 3 }),
    [](const auto& row) { return row.param.name; });

TEST(JsonNestingLimitTest, IsDeeperOnlyAboveTheLimit)
{
    EXPECT_FALSE(JsonNesting("[[]]").isDeeperThan(2));
    EXPECT_TRUE(JsonNesting("[[]]").isDeeperThan(1));
}

TEST(JsonNestingLimitTest, IsNeverLessThanTheDepthOfJsonGlib)
{
    RandomTexts texts({ "[", "[", "{\"a\":", "{", "]", "}", "\"", "\"", "'", "\\", "\\u", "\\u00",
                          "\\ud83d", "\\ude00", "\\ud83d\\ude00", "/*", "*/", "//", "/", "\n", "0",
                          "1", ",", ":", "a", "#", "$", ".", "var a = ", "null" },
        24);
    int nested = 0;
    for (int i = 0; i < 200000; ++i) {
        const std::string text = "[" + texts.next();
        const int deepest = JsonGlibReading(text).deepest();
        ASSERT_LE(deepest, depthOf(text)) << text;
        nested += deepest > 2 ? 1 : 0;
    }
    EXPECT_GT(nested, 1000);
}

TEST(JsonNestingLimitTest, IsTheDepthOfJsonGlibForWhatThatAccepts)
{
    RandomTexts insides({ "[", "]", "{", "}", "\"", "'", ",", "\\", "\\\\", "\\\"", "\\n", "\\u",
                            "\\u0", "\\ud8", "\\u0041", "\\ud83d", "\\ude00", "\\ud83d\\ude00",
                            "\\12", "4", "a", "u", "\xC3\xA9", "/*", "*/", "*", "/" },
        6);
    std::mt19937 random(2);
    const auto element = [&] {
        const char* const quotes[] = { "\"", "'" };
        const std::string quote = quotes[random() % 2];
        const std::string comment = random() % 4 == 0 ? "/*" + insides.next() + "*/" : "";
        return comment + quote + insides.next() + quote;
    };
    int accepted = 0;
    for (int i = 0; i < 40000; ++i) {
        const std::string text = "[" + element() + ",[" + element() + "],{'a':[" + element() + "]},"
            + element() + ",[]]";
        const JsonGlibReading reading(text);
        if (reading.accepted()) {
            ASSERT_EQ(reading.deepest(), depthOf(text)) << text;
            ++accepted;
        }
    }
    EXPECT_GT(accepted, 1000);
}
