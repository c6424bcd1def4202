#include "host/tools/hostctl.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iomanip>
#include <sstream>

namespace hostctl {

std::string local(std::int64_t instant, const char* format)
{
    const std::time_t seconds = instant;
    std::tm shown = {};
    localtime_r(&seconds, &shown);
    std::ostringstream text;
    text << std::put_time(&shown, format);
    return text.str();
}

std::string quoted(const std::string& text)
{
    std::string json = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[sizeof "\\u0000"];
            snprintf(escape, sizeof escape, "\\u%04x", c);
            json += escape;
        } else {
            json += c;
        }
    }
    return json + '"';
}

std::string shown(std::string text)
{
    const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

void refuseUnlessEmpty(const Arguments& arguments, const std::string& right)
{
    if (!arguments.empty())
        throw UsageError("\"" + arguments[0] + "\" is too much; it must be " + right);
}

} // namespace hostctl
