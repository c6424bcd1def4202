#include <unicode/utf16.h>
#include <unicode/utf8.h>
#include <utils_i18n.h>

namespace {

const UChar32 kReplacement = 0xFFFD;

} // namespace

// Both stop before a character that does not fit, so that no half of one is left behind.

extern "C" i18n_uchar* i18n_ustring_copy_ua_n(i18n_uchar* dest, const char* src, int32_t n)
{
    if (!dest || !src)
        return nullptr;
    int32_t length = 0;
    for (int32_t at = 0;;) {
        UChar32 character = 0;
        U8_NEXT_OR_FFFD(src, at, -1, character);
        if (character == 0 || U16_LENGTH(character) > n - length)
            break;
        U16_APPEND_UNSAFE(dest, length, character);
    }
    if (length < n)
        dest[length] = 0;
    return dest;
}

extern "C" char* i18n_ustring_copy_au_n(char* dest, const i18n_uchar* src, int32_t n)
{
    if (!dest || !src)
        return nullptr;
    int32_t length = 0;
    while (*src != 0) {
        UChar32 character = *src++;
        if (U16_IS_LEAD(character) && U16_IS_TRAIL(*src))
            character = U16_GET_SUPPLEMENTARY(character, *src++);
        if (U_IS_SURROGATE(character))
            character = kReplacement;
        if (U8_LENGTH(character) > n - length)
            break;
        U8_APPEND_UNSAFE(dest, length, character);
    }
    if (length < n)
        dest[length] = '\0';
    return dest;
}
