#include "common/Text.h"

#include <cstdio>
#include <cwchar>
#include <glib.h>

namespace {

const char* const kReplacement = "\xEF\xBF\xBD";
const char* const kEllipsis = "\xE2\x80\xA6";

struct Character {
    char32_t code = 0;
    size_t size = 1;
    bool isValid = false;
};

// The character that begins at that byte of the text. A byte that is not UTF-8 counts as one.
Character characterAt(const std::string& text, size_t at)
{
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80)
        return { lead, 1, true };
    const char* const bytes = text.data() + at;
    const gunichar code = g_utf8_get_char_validated(bytes, static_cast<gssize>(text.size() - at));
    // Above all characters lie the codes by which GLib says that the bytes are none.
    if (code > 0x10FFFF)
        return {};
    return { code, static_cast<size_t>(g_utf8_next_char(bytes) - bytes), true };
}

bool isControl(char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }

// Control characters, separators of lines and paragraphs, and marks that reorder the text after
// them.
bool disturbsTheLine(char32_t code)
{
    return isControl(code) || code == 0x2028 || code == 0x2029 || (code >= 0x202A && code <= 0x202E)
        || (code >= 0x2066 && code <= 0x2069);
}

size_t widthOf(const Character& character)
{
    const int width = wcwidth(static_cast<wchar_t>(character.code));
    return width < 0 ? 1 : static_cast<size_t>(width);
}

} // namespace

bool isCleanText(const std::string& text)
{
    for (size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        if (!character.isValid || disturbsTheLine(character.code))
            return false;
        at += character.size;
    }
    return true;
}

std::string printable(const std::string& text)
{
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        if (character.isValid && !disturbsTheLine(character.code)) {
            result.append(text, at, character.size);
        } else {
            result += kReplacement;
        }
        at += character.size;
    }
    return result;
}

std::string quoted(const std::string& text)
{
    const size_t columns = 40;
    return "\"" + cutToWidth(printable(text), columns) + "\"";
}

size_t displayWidth(const std::string& text)
{
    size_t width = 0;
    for (size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        width += widthOf(character);
        at += character.size;
    }
    return width;
}

std::string cutToWidth(const std::string& text, size_t columns)
{
    if (displayWidth(text) <= columns)
        return text;
    size_t width = 0;
    size_t at = 0;
    while (true) {
        const Character character = characterAt(text, at);
        if (width + widthOf(character) > columns - 1)
            return text.substr(0, at) + kEllipsis;
        width += widthOf(character);
        at += character.size;
    }
}

std::string padToWidth(const std::string& text, size_t columns)
{
    const size_t width = displayWidth(text);
    return width < columns ? text + std::string(columns - width, ' ') : text;
}

std::string jsonString(const std::string& text)
{
    std::string result = "\"";
    for (size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        if (!character.isValid) {
            result += kReplacement;
        } else if (character.code == '"' || character.code == '\\') {
            result += '\\';
            result += text[at];
        } else if (disturbsTheLine(character.code)) {
            char escape[8];
            snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character.code));
            result += escape;
        } else {
            result.append(text, at, character.size);
        }
        at += character.size;
    }
    return result + '"';
}
