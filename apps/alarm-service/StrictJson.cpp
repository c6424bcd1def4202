#include "StrictJson.h"

#include "common/Failure.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace {

const std::string_view kSpace = " \t\r\n";
const std::string_view kOfTokens = "{}[]:,truefalsn"; // other than texts and numbers
const std::string_view kBehindNumber = ",]} \t\r\n";
const std::string_view kEscaped = R"("\/bfnrt)";
const size_t kTooManyDigits = 20; ///< 64 bits hold any number of one less
const int kDeepest = 512; ///< as the library reads it
const unsigned char kFirstPrintable = ' ';

bool isOneOf(std::string_view all, char c) { return all.find(c) != std::string_view::npos; }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isHexDigit(char c) { return isxdigit(static_cast<unsigned char>(c)) != 0; }

class Scan {
public:
    explicit Scan(const std::string& text)
        : _rest(text)
    {
    }

    void check()
    {
        while (!_rest.empty()) {
            const char c = _rest.front();
            if (!isOneOf(kSpace, c) && _isOver)
                throw badInput("it is not one JSON object");
            if (c == '"') {
                _passText();
            } else if (c == '-' || isDigit(c)) {
                _passNumber();
            } else {
                _passOther(c);
            }
        }
    }

private:
    void _pass(size_t count)
    {
        if (count > _rest.size())
            throw badInput("it is not JSON");
        _rest.remove_prefix(count);
    }

    bool _passIf(std::string_view any)
    {
        const bool isThere = !_rest.empty() && isOneOf(any, _rest.front());
        if (isThere)
            _pass(1);
        return isThere;
    }

    void _passOther(char c)
    {
        if (!isOneOf(kSpace, c) && !isOneOf(kOfTokens, c))
            throw badInput("it is not JSON");
        if ((c == '{' || c == '[') && ++_depth > kDeepest)
            throw badInput("it is nested too deep");
        if (c == '}' || c == ']')
            _isOver = --_depth <= 0;
        _pass(1);
    }

    void _passText()
    {
        _pass(1);
        while (!_rest.empty() && _rest.front() != '"') {
            const char c = _rest.front();
            if (static_cast<unsigned char>(c) < kFirstPrintable)
                throw badInput("it is not JSON");
            if (c == '\\') {
                _passEscape();
            } else {
                _pass(1);
            }
        }
        _pass(1);
    }

    void _passEscape()
    {
        const size_t hexDigits = 4;
        _pass(1);
        const std::string_view digits = _rest.substr(0, hexDigits + 1);
        if (!digits.empty() && isOneOf(kEscaped, digits.front())) {
            _pass(1);
        } else if (digits.size() == hexDigits + 1 && digits.front() == 'u'
            && std::all_of(digits.begin() + 1, digits.end(), isHexDigit)) {
            _pass(digits.size());
        } else {
            throw badInput("it is not JSON");
        }
    }

    void _passNumber()
    {
        _passIf("-");
        if (!_passIf("0") && _passDigits() >= kTooManyDigits)
            throw badInput("a number is out of range");
        if (_passIf("."))
            _passDigits();
        if (_passIf("eE")) {
            _passIf("+-");
            _passDigits();
        }
        if (!_rest.empty() && !isOneOf(kBehindNumber, _rest.front()))
            throw badInput("it is not JSON");
    }

    size_t _passDigits()
    {
        const auto end = std::find_if_not(_rest.begin(), _rest.end(), isDigit);
        const auto count = static_cast<size_t>(end - _rest.begin());
        if (count == 0)
            throw badInput("it is not JSON");
        _pass(count);
        return count;
    }

    std::string_view _rest;
    int _depth = 0;
    bool _isOver = false; ///< the array or object that is the whole
};

} // namespace

void checkStrictJson(const std::string& text) { Scan(text).check(); }
