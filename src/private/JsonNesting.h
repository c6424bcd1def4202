#pragma once

#include <charconv>
#include <string>

/// The unit of UTF-16 that the escape \uXXXX at the position stands for, -1 when there is none.
inline int escapedUnit(const std::string& text, size_t at)
{
    const size_t digits = 4;
    if (text.compare(at, 2, "\\u") != 0 || text.size() - at < 2 + digits)
        return -1;
    const char* first = text.data() + at + 2;
    unsigned int unit = 0;
    const auto read = std::from_chars(first, first + digits, unit, 16);
    return read.ptr == first + digits ? static_cast<int>(unit) : -1;
}

/// Length of the escape at the position, 0 when it is broken.
inline size_t escapeLength(const std::string& text, size_t at)
{
    const auto isHigh = [](int unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
    const auto isLow = [](int unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
    if (text.compare(at, 2, "\\u") != 0)
        return 2;
    const int unit = escapedUnit(text, at);
    if (unit < 0 || isLow(unit))
        return 0;
    if (!isHigh(unit))
        return 6;
    return isLow(escapedUnit(text, at + 6)) ? 12 : 0;
}

/**
 * Whether arrays and objects stand in each other deeper than limit. JSON-GLib
 * calls itself for each, and ends the process when its stack does.
 *
 * JSON-GLib reads more than JSON: comments, other quotes, broken escapes. From
 * such a thing on it may be that a bracket stands in a text or not, so each
 * opening one counts: the answer is never less than what JSON-GLib would do.
 */
inline bool isNestedDeeperThan(const std::string& text, int limit)
{
    int depth = 0;
    bool inText = false;
    bool isJson = true;
    for (size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (inText) {
            if (c == '"')
                inText = false;
            if (c != '\\')
                continue;
            const size_t length = escapeLength(text, at);
            isJson = length != 0;
            inText = isJson;
            at += isJson ? length - 1 : 0;
        } else if (c == '[' || c == '{') {
            if (++depth > limit)
                return true;
        } else if (c == '\'' || c == '/') {
            isJson = false;
        } else if (isJson && c == '"') {
            inText = true;
        } else if (isJson && depth > 0 && (c == ']' || c == '}')) {
            --depth;
        }
    }
    return false;
}
