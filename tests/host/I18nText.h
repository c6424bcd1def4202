#pragma once

#include <string>
#include <utils_i18n.h>

/// A terminated text for the platform's calls.
inline std::basic_string<i18n_uchar> units(const std::u16string& text)
{
    return { text.begin(), text.end() };
}

/// What a call has written, up to its terminator.
inline std::u16string textOf(const i18n_uchar* written)
{
    std::u16string text;
    while (*written)
        text += static_cast<char16_t>(*written++);
    return text;
}

const int32_t kUntouched = 4711;
