#pragma once

#include <glib.h>
#include <string>

/**
 * How deep arrays and objects are nested in a text. JSON-GLib calls itself for
 * each level, and the process ends when the stack is used up.
 *
 * Texts and comments are passed over just as JSON-GLib does, which reads more than
 * JSON: a single quote reaches to the next one, what begins with a slash to the next
 * slash, and a broken escape swallows characters that follow it. After a fault at which
 * JSON-GLib stops reading, brackets may be miscounted, which does no harm.
 */
class JsonNesting {
public:
    explicit JsonNesting(const std::string& text)
        : _text(text)
    {
    }

    bool isDeeperThan(int limit)
    {
        int depth = 0;
        _at = 0;
        while (_at < _text.size()) {
            const char c = _take();
            if (c == '[' || c == '{') {
                if (++depth > limit)
                    return true;
            } else if (depth > 0 && (c == ']' || c == '}')) {
                --depth;
            } else if (c == '"') {
                _passText();
            } else if (c == '\'' || c == '/') {
                _passBehind(c);
            }
        }
        return false;
    }

private:
    char _peek() const { return _at < _text.size() ? _text[_at] : '\0'; }

    char _take()
    {
        const char c = _peek();
        ++_at;
        return c;
    }

    void _passBehind(char end)
    {
        const size_t found = _text.find(end, _at);
        _at = found == std::string::npos ? _text.size() : found + 1;
    }

    void _passText()
    {
        while (_at < _text.size()) {
            const char c = _take();
            if (c == '"')
                return;
            if (c == '\\')
                _passEscape();
        }
    }

    void _passEscape()
    {
        if (_take() != 'u' || !g_ascii_isxdigit(_peek()))
            return;
        const bool isHalf = (_takeUnit() & 0xF800U) == 0xD800;
        if (isHalf && _take() == '\\' && _take() == 'u')
            _takeUnit();
    }

    /// Reads up to four hexadecimal digits, and with them the first character that is none.
    unsigned int _takeUnit()
    {
        unsigned int unit = 0;
        for (int shift = 12; shift >= 0; shift -= 4) {
            const int digit = g_ascii_xdigit_value(_take());
            if (digit < 0)
                break;
            unit |= static_cast<unsigned int>(digit) << shift;
        }
        return unit;
    }

    const std::string& _text;
    size_t _at = 0;
};
