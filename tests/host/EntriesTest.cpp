#include "host/common/Entries.h"

#include "host/common/Boundary.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>

using host::decodeEntries;
using host::encodeEntries;
using host::Entries;

namespace {

std::string base64(const std::string& bytes)
{
    const host::CText text(
        g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size()));
    return text.get();
}

struct EntriesCase {
    const char* name;
    Entries entries;
};

template <typename Row>
std::string rowName(const testing::TestParamInfo<Row>& row)
{
    return row.param.name;
}

class EntriesRoundTripTest : public testing::TestWithParam<EntriesCase> {};

} // namespace

TEST_P(EntriesRoundTripTest, GivesEveryEntryBackInItsOrder)
{
    const std::string text = encodeEntries(GetParam().entries);

    const auto decoded = decodeEntries(text);

    ASSERT_TRUE(decoded);
    EXPECT_EQ(GetParam().entries, *decoded);
}

TEST_P(EntriesRoundTripTest, WritesTheBase64AlphabetOnly)
{
    const std::string text = encodeEntries(GetParam().entries);

    EXPECT_EQ(std::string::npos,
        text.find_first_not_of(
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/="));
}

TEST_P(EntriesRoundTripTest, RefusesEveryTextThatWasCutOff)
{
    std::string text = encodeEntries(GetParam().entries);
    if (text.size() > 1000)
        text.erase(0, text.size() - text.size() % 1000); // the long ones by a sample
    for (size_t size = 0; size < text.size(); ++size)
        EXPECT_FALSE(decodeEntries(text.substr(0, size))) << size;
}

INSTANTIATE_TEST_SUITE_P(Table, EntriesRoundTripTest,
    testing::Values(EntriesCase{ "None", {} }, EntriesCase{ "One", { { "key", "value" } } },
        EntriesCase{ "NotSorted", { { "b", "1" }, { "a", "2" }, { "c", "3" } } },
        EntriesCase{ "EmptyValue", { { "key", "" }, { "other", "" } } },
        EntriesCase{ "BytesOfThePacking", { { "3:ab", "12:" }, { ":", "::1:" }, { "0", "0:" } } },
        EntriesCase{ "Quotes", { { "\"key\"", "a \"b\" \\ \n\t\r{}" } } },
        EntriesCase{ "Utf8", { { "Schlüssel", "目覚まし時計 ⏰" } } },
        EntriesCase{ "NotUtf8", { { "\xff\xfe", "\x80\xc0" } } },
        EntriesCase{ "Long", { { std::string(5000, 'k'), std::string(1000000, 'v') } } }),
    rowName<EntriesCase>);

TEST(EntriesTest, EqualEntriesMakeOneText)
{
    const Entries entries = { { "a", "1" }, { "b", "2" } };

    EXPECT_EQ(encodeEntries(entries), encodeEntries(Entries(entries)));
    EXPECT_NE(encodeEntries(entries), encodeEntries({ { "b", "2" }, { "a", "1" } }));
}

TEST(EntriesTest, FindsAnEntryByItsWholeKey)
{
    const Entries entries = { { "key", "value" }, { "key2", "other" } };

    ASSERT_NE(nullptr, host::findEntry(entries, "key"));
    EXPECT_EQ("value", *host::findEntry(entries, "key"));
    EXPECT_EQ(nullptr, host::findEntry(entries, "ke"));
    EXPECT_EQ(nullptr, host::findEntry(entries, ""));
}

TEST(EntriesTest, AFoundEntryStaysWhileOthersAreAdded)
{
    Entries entries = { { "key", "value" } };
    const std::string* found = host::findEntry(entries, "key");

    for (int i = 0; i < 1000; ++i)
        entries.emplace_back("key" + std::to_string(i), "x");

    EXPECT_EQ(found, host::findEntry(entries, "key"));
    EXPECT_EQ("value", *found);
}

namespace {

struct PackedCase {
    const char* name;
    std::string packed;
    bool good;
};

class EntriesPackedTest : public testing::TestWithParam<PackedCase> {};

} // namespace

TEST_P(EntriesPackedTest, IsTakenOnlyWhenItIsWhole)
{
    EXPECT_EQ(GetParam().good, decodeEntries(base64(GetParam().packed)).has_value());
}

INSTANTIATE_TEST_SUITE_P(Table, EntriesPackedTest,
    testing::Values(PackedCase{ "None", "0:", true }, PackedCase{ "One", "1:1:a1:b", true },
        PackedCase{ "Two", "2:1:a1:b1:c0:", true }, PackedCase{ "Nothing", "", false },
        PackedCase{ "NoCount", "1:a1:b", false }, PackedCase{ "CountTooHigh", "2:1:a1:b", false },
        PackedCase{ "CountTooLow", "1:1:a1:b1:c1:d", false },
        PackedCase{ "CountOfNothing", "0:1:a1:b", false },
        PackedCase{ "HugeCount", "18446744073709551616:1:a1:b", false },
        PackedCase{ "KeyWithoutValue", "1:1:a", false },
        PackedCase{ "LengthTooLong", "1:1:a2:b", false },
        PackedCase{ "LengthTooShort", "1:1:a1:bc", false },
        PackedCase{ "HugeLength", "1:1:a99999999999999999999999999:b", false },
        PackedCase{ "LengthThatWrapsToOne", "1:1:a18446744073709551617:b", false },
        PackedCase{ "NegativeLength", "1:1:a-1:b", false },
        PackedCase{ "SignedLength", "1:1:a+1:b", false },
        PackedCase{ "LeadingZero", "1:1:a01:b", false },
        PackedCase{ "LeadingSpace", "1:1:a 1:b", false },
        PackedCase{ "HexLength", "1:1:a0x1:b", false }, PackedCase{ "NoLength", "1:1:a:b", false },
        PackedCase{ "NoColon", "1:1:a1", false }, PackedCase{ "EmptyKey", "1:0:1:b", false },
        PackedCase{ "KeyTwice", "2:1:a1:b1:a1:c", false },
        PackedCase{ "ZeroByteInKey", std::string("1:2:a\0001:b", 9), false },
        PackedCase{ "ZeroByteInValue", std::string("1:1:a2:b\000", 9), false },
        PackedCase{ "ZeroByteBehind", std::string("1:1:a1:b\000", 9), false }),
    rowName<PackedCase>);

namespace {

struct TextCase {
    const char* name;
    std::string text;
};

class EntriesTextTest : public testing::TestWithParam<TextCase> {};

} // namespace

// "MToxOmExOmI=" is base64 of 1:1:a1:b
TEST_P(EntriesTextTest, IsRefused)
{
    ASSERT_TRUE(decodeEntries("MToxOmExOmI="));
    EXPECT_FALSE(decodeEntries(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Table, EntriesTextTest,
    testing::Values(TextCase{ "Empty", "" }, TextCase{ "NotBase64", "{\"key\":\"value\"}" },
        TextCase{ "NoPadding", "MToxOmExOmI" }, TextCase{ "OtherPadding", "MToxOmExOmI==" },
        TextCase{ "SpareBits", "MToxOmExOmJ=" }, TextCase{ "SpaceInside", "MTox OmExOmI=" },
        TextCase{ "LineFeedBehind", "MToxOmExOmI=\n" }, TextCase{ "SpaceBefore", " MToxOmExOmI=" },
        TextCase{ "TextBehind", "MToxOmExOmI=x" },
        TextCase{ "TwiceTheText", "MToxOmExOmI=MToxOmExOmI=" },
        TextCase{ "ZeroByteBehind", std::string("MToxOmExOmI=\0", 13) },
        TextCase{ "ZeroByteInside", std::string("MTox\0OmExOmI=", 13) },
        TextCase{ "OtherAlphabet", "MToxOmExOmI_" }, TextCase{ "HighBytes", "\xff\xfe\xfd\xfc" }),
    rowName<TextCase>);

// Whatever is accepted must be exactly what the encoder writes for it.
TEST(EntriesTest, NoiseIsRefusedOrItIsAnEncodersText)
{
    std::mt19937 random(20240501);
    const std::string good = "3:3:key5:value1:a0:4:1:2:3:c::";
    int taken = 0;
    for (int round = 0; round < 50000; ++round) {
        std::string bytes = good;
        if (round % 2 == 0) {
            bytes.resize(random() % 40);
            for (char& byte : bytes)
                byte = static_cast<char>(random());
        } else {
            for (unsigned change = random() % 3; change > 0; --change)
                bytes[random() % bytes.size()] = static_cast<char>(random() % 128);
        }
        const std::string text = round % 5 == 0 ? bytes : base64(bytes);
        const auto entries = decodeEntries(text);
        if (entries) {
            ++taken;
            ASSERT_EQ(text, encodeEntries(*entries));
        }
    }
    EXPECT_GT(taken, 0);
}

TEST(EntriesTest, ManyEntriesAreReadInTheirOrder)
{
    Entries entries;
    for (int i = 0; i < 200000; ++i)
        entries.emplace_back(std::to_string(i), "");

    EXPECT_EQ(entries, decodeEntries(encodeEntries(entries)));
}
