#pragma once

#include "PlatformHandle.h"

#include <string>

/// The text with U+FFFD in place of what is not UTF-8.
inline std::string validText(const char* text)
{
    return GlibText(g_utf8_make_valid(text, -1)).get();
}

/// The longest beginning of the text that has at most size bytes and no part of a character.
inline std::string cutText(const std::string& text, size_t size)
{
    if (text.size() <= size)
        return text;
    const auto isInside
        = [&text](size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80; };
    while (size > 0 && isInside(size))
        --size;
    return text.substr(0, size);
}
