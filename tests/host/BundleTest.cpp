#include <bundle.h>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <string>

namespace {

bool noMemory = false;

// While it lives, C++ finds no memory.
class NoMemory {
public:
    NoMemory() { noMemory = true; }
    NoMemory(const NoMemory&) = delete;
    NoMemory& operator=(const NoMemory&) = delete;
    ~NoMemory() { noMemory = false; }
};

} // namespace

void* operator new(std::size_t size)
{
    void* memory = noMemory ? nullptr : malloc(size == 0 ? 1 : size);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept { free(memory); }

void operator delete(void* memory, std::size_t) noexcept { free(memory); }

namespace {

const char* const kLong = "a text that is too long to lie within a string object itself";

struct BundleFree {
    void operator()(bundle* b) const { bundle_free(b); }
};
using Bundle = std::unique_ptr<bundle, BundleFree>;

std::string encoded(bundle* b)
{
    bundle_raw* raw = nullptr;
    int size = -1;
    EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_encode(b, &raw, &size));
    const std::string text = reinterpret_cast<char*>(raw);
    EXPECT_EQ(static_cast<size_t>(size), text.size());
    free(raw);
    return text;
}

Bundle decoded(const std::string& text)
{
    return Bundle(bundle_decode(
        reinterpret_cast<const bundle_raw*>(text.data()), static_cast<int>(text.size())));
}

std::string textUnder(bundle* b, const char* key)
{
    char* text = nullptr;
    EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_get_str(b, key, &text)) << key;
    return text ? text : "";
}

class BundleTest : public testing::Test {
protected:
    Bundle b{ bundle_create() };
};

} // namespace

TEST_F(BundleTest, KeepsCopiesOfItsTexts)
{
    char key[] = "key";
    char value[] = "value";
    ASSERT_EQ(BUNDLE_ERROR_NONE, bundle_add_str(b.get(), key, value));
    key[0] = value[0] = 'x';

    EXPECT_EQ("value", textUnder(b.get(), "key"));
}

TEST_F(BundleTest, KeepsTheOldValueOfAKey)
{
    bundle_add_str(b.get(), "key", "old");

    EXPECT_EQ(BUNDLE_ERROR_KEY_EXISTS, bundle_add_str(b.get(), "key", "new"));

    EXPECT_EQ("old", textUnder(b.get(), "key"));
}

TEST_F(BundleTest, LendsATextUntilItsEntryGoes)
{
    bundle_add_str(b.get(), "key", "value");
    char* text = nullptr;
    ASSERT_EQ(BUNDLE_ERROR_NONE, bundle_get_str(b.get(), "key", &text));

    for (int i = 0; i < 1000; ++i)
        bundle_add_str(b.get(), std::to_string(i).c_str(), "x");

    EXPECT_STREQ("value", text);
    char* again = nullptr;
    bundle_get_str(b.get(), "key", &again);
    EXPECT_EQ(text, again);
}

TEST_F(BundleTest, TakesAnEmptyText)
{
    EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_add_str(b.get(), "key", ""));
    EXPECT_EQ("", textUnder(b.get(), "key"));
}

TEST_F(BundleTest, RefusesWhatIsMissing)
{
    char untouched[] = "untouched";
    char* text = untouched;
    bundle_raw* raw = nullptr;
    int size = 4711;

    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_free(nullptr));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_add_str(nullptr, "key", "value"));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_add_str(b.get(), nullptr, "value"));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_add_str(b.get(), "", "value"));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_add_str(b.get(), "key", nullptr));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_get_str(nullptr, "key", &text));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_get_str(b.get(), nullptr, &text));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_get_str(b.get(), "key", nullptr));
    EXPECT_EQ(BUNDLE_ERROR_KEY_NOT_AVAILABLE, bundle_get_str(b.get(), "key", &text));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_encode(nullptr, &raw, &size));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_encode(b.get(), nullptr, &size));
    EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_encode(b.get(), &raw, nullptr));

    EXPECT_EQ(untouched, text);
    EXPECT_EQ(nullptr, raw);
    EXPECT_EQ(4711, size);
}

TEST_F(BundleTest, ComesBackFromItsText)
{
    bundle_add_str(b.get(), "second", "2");
    bundle_add_str(b.get(), "first", kLong);

    const std::string text = encoded(b.get());
    const Bundle copy = decoded(text);

    ASSERT_TRUE(copy);
    EXPECT_EQ("2", textUnder(copy.get(), "second"));
    EXPECT_EQ(kLong, textUnder(copy.get(), "first"));
    EXPECT_EQ(text, encoded(copy.get()));
}

TEST_F(BundleTest, ComesBackEmpty)
{
    const Bundle copy = decoded(encoded(b.get()));

    ASSERT_TRUE(copy);
    EXPECT_EQ(encoded(b.get()), encoded(copy.get()));
}

TEST_F(BundleTest, IsRefusedAsAnyOtherText)
{
    bundle_add_str(b.get(), "key", "value");
    const std::string text = encoded(b.get());
    const auto* raw = reinterpret_cast<const bundle_raw*>(text.data());
    const int size = static_cast<int>(text.size());

    EXPECT_EQ(nullptr, bundle_decode(nullptr, size));
    EXPECT_EQ(nullptr, bundle_decode(raw, -1));
    EXPECT_EQ(nullptr, bundle_decode(raw, 0));
    EXPECT_EQ(nullptr, bundle_decode(raw, size - 1));
    EXPECT_EQ(nullptr, bundle_decode(raw, size + 1));
    EXPECT_FALSE(decoded("not a bundle"));
}

TEST_F(BundleTest, SaysWhenThereIsNoMemory)
{
    bundle_add_str(b.get(), "key", kLong);
    const std::string text = encoded(b.get());
    const auto* raw = reinterpret_cast<const bundle_raw*>(text.data());
    bundle_raw* out = nullptr;
    int size = 4711;
    int addCode = 0;
    int encodeCode = 0;
    bundle* made = nullptr;
    bundle* read = nullptr;
    {
        const NoMemory none;
        made = bundle_create();
        addCode = bundle_add_str(b.get(), "other", kLong);
        encodeCode = bundle_encode(b.get(), &out, &size);
        read = bundle_decode(raw, static_cast<int>(text.size()));
    }

    EXPECT_EQ(nullptr, made);
    EXPECT_EQ(BUNDLE_ERROR_OUT_OF_MEMORY, addCode);
    EXPECT_EQ(BUNDLE_ERROR_OUT_OF_MEMORY, encodeCode);
    EXPECT_EQ(nullptr, read);
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(4711, size);
    EXPECT_EQ(text, encoded(b.get()));
}
