#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <utils_i18n.h>

namespace {

bool isMemoryGone = false;

// Without memory for C++ while it lives; ICU has its own.
class MemoryGone {
public:
    MemoryGone() { isMemoryGone = true; }
    MemoryGone(const MemoryGone&) = delete;
    MemoryGone& operator=(const MemoryGone&) = delete;
    ~MemoryGone() { isMemoryGone = false; }
};

template <typename Call>
auto withoutMemory(Call call)
{
    const MemoryGone gone;
    return call();
}

// Too long to be kept without memory.
const char* const kText = "America/Argentina/ComodRivadavia";
const char16_t* const kPattern = u"EEEE d MMMM yyyy HH:mm:ss";
const char* const kLocale = "de_DE";
const double kInstant = 1.7e12;

const i18n_uchar* units(const char16_t* text) { return reinterpret_cast<const i18n_uchar*>(text); }

} // namespace

void* operator new(size_t size)
{
    void* made = isMemoryGone ? nullptr : malloc(size);
    if (!made)
        throw std::bad_alloc();
    return made;
}

void operator delete(void* made) noexcept { free(made); }

void operator delete(void* made, size_t /*size*/) noexcept { free(made); }

TEST(I18nMemoryTest, WhatCannotBeMadeIsAnErrorAndLeavesTheHandle)
{
    void* untouched = &isMemoryGone;
    void* handle = untouched;

    EXPECT_EQ(I18N_ERROR_OUT_OF_MEMORY, withoutMemory([&] {
        return i18n_ucalendar_create(
            units(kPattern), -1, kLocale, I18N_UCALENDAR_GREGORIAN, &handle);
    }));
    EXPECT_EQ(I18N_ERROR_OUT_OF_MEMORY,
        withoutMemory([&] { return i18n_udatepg_create(kLocale, &handle); }));
    EXPECT_EQ(I18N_ERROR_OUT_OF_MEMORY, withoutMemory([&] {
        return i18n_udate_create(I18N_UDATE_PATTERN, I18N_UDATE_PATTERN, kLocale, nullptr, -1,
            units(kPattern), -1, &handle);
    }));
    EXPECT_EQ(I18N_ERROR_OUT_OF_MEMORY, withoutMemory([&] {
        return i18n_unumber_create(I18N_UNUMBER_DECIMAL, nullptr, -1, kLocale, nullptr, &handle);
    }));
    EXPECT_EQ(untouched, handle);
}

TEST(I18nMemoryTest, WhatCannotBeFormattedIsAnError)
{
    i18n_udate_format_h format = nullptr;
    i18n_udatepg_h generator = nullptr;
    i18n_unumber_format_h number = nullptr;
    ASSERT_EQ(I18N_ERROR_NONE,
        i18n_udate_create(I18N_UDATE_PATTERN, I18N_UDATE_PATTERN, kLocale, nullptr, -1,
            units(kPattern), -1, &format));
    ASSERT_EQ(I18N_ERROR_NONE, i18n_udatepg_create(kLocale, &generator));
    ASSERT_EQ(I18N_ERROR_NONE,
        i18n_unumber_create(I18N_UNUMBER_DECIMAL, nullptr, -1, kLocale, nullptr, &number));
    i18n_uchar text[64] = { u'#' };
    int32_t length = 4711;

    EXPECT_EQ(I18N_ERROR_OUT_OF_MEMORY, withoutMemory([&] {
        return i18n_udate_format_date(format, kInstant, text, 64, nullptr, &length);
    }));
    EXPECT_EQ(I18N_ERROR_OUT_OF_MEMORY, withoutMemory([&] {
        return i18n_udatepg_get_best_pattern(generator, units(kPattern), -1, text, 64, &length);
    }));
    EXPECT_EQ(I18N_ERROR_OUT_OF_MEMORY,
        withoutMemory([&] { return i18n_unumber_format(number, 42, text, 64, nullptr); }));
    EXPECT_EQ(u'#', text[0]);
    EXPECT_EQ(4711, length);

    EXPECT_EQ(
        I18N_ERROR_NONE, i18n_udate_format_date(format, kInstant, text, 64, nullptr, &length));
    i18n_udate_destroy(format);
    i18n_udatepg_destroy(generator);
    i18n_unumber_destroy(number);
}

TEST(I18nMemoryTest, WhatCannotBeConvertedIsNull)
{
    i18n_uchar wide[64] = {};
    char narrow[64] = {};

    EXPECT_EQ(nullptr, withoutMemory([&] { return i18n_ustring_copy_ua_n(wide, kText, 64); }));
    EXPECT_EQ(wide, i18n_ustring_copy_ua_n(wide, kText, 64));
    EXPECT_EQ(nullptr, withoutMemory([&] { return i18n_ustring_copy_au_n(narrow, wide, 64); }));
    EXPECT_EQ(narrow, i18n_ustring_copy_au_n(narrow, wide, 64));
    EXPECT_STREQ(kText, narrow);
}
