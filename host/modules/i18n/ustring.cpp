#include "Icu.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace {

const UChar32 kReplacement = 0xFFFD;
const size_t kLongest = 3; // bytes of UTF-8 for one UTF-16 unit

std::u16string wideOf(const char* text)
{
    const size_t size = strlen(text);
    std::u16string wide(size, u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(wide.data(), static_cast<int32_t>(size), &length, text,
        static_cast<int32_t>(size), kReplacement, nullptr, &status);
    wide.resize(static_cast<size_t>(length));
    return wide;
}

std::string narrowOf(const std::u16string& text)
{
    std::string narrow(text.size() * kLongest, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(narrow.data(), static_cast<int32_t>(narrow.size()), &length, text.data(),
        static_cast<int32_t>(text.size()), kReplacement, nullptr, &status);
    narrow.resize(static_cast<size_t>(length));
    return narrow;
}

// Copies as much of the text as there is room for, without cutting a character in two.
template <typename Text, typename Unit>
void copy(const Text& text, Unit* dest, int32_t n, bool (*isRest)(typename Text::value_type))
{
    const size_t room = static_cast<size_t>(std::max(n, 0));
    size_t length = std::min(text.size(), room);
    while (length > 0 && length < text.size() && isRest(text[length]))
        --length;
    std::copy_n(text.begin(), length, dest);
    if (length < room)
        dest[length] = 0;
}

} // namespace

extern "C" i18n_uchar* i18n_ustring_copy_ua_n(i18n_uchar* dest, const char* src, int32_t n)
{
    if (!dest || !src)
        return nullptr;
    const int code = i18n::guarded([=]() -> int {
        copy(wideOf(src), dest, n, [](char16_t unit) { return U16_IS_TRAIL(unit); });
        return I18N_ERROR_NONE;
    });
    return code == I18N_ERROR_NONE ? dest : nullptr;
}

extern "C" char* i18n_ustring_copy_au_n(char* dest, const i18n_uchar* src, int32_t n)
{
    if (!dest || !src)
        return nullptr;
    const int code = i18n::guarded([=]() -> int {
        copy(narrowOf(i18n::textOf(src, -1)), dest, n,
            [](char byte) -> bool { return U8_IS_TRAIL(byte); });
        return I18N_ERROR_NONE;
    });
    return code == I18N_ERROR_NONE ? dest : nullptr;
}
