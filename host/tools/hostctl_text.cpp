#include "host/common/Boundary.h"
#include "host/tools/hostctl.h"

#include <cstdio>
#include <ctime>
#include <glib.h>
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

std::string shown(const std::string& text)
{
    const host::CText valid(g_utf8_make_valid(text.c_str(), static_cast<gssize>(text.size())));
    std::string safe;
    for (const char* at = valid.get(); *at; at = g_utf8_next_char(at)) {
        if (g_unichar_isprint(g_utf8_get_char(at)) != FALSE) {
            safe.append(at, static_cast<size_t>(g_utf8_next_char(at) - at));
        } else {
            safe += '?';
        }
    }
    return safe;
}

void refuseUnlessEmpty(const Arguments& arguments, const std::string& right)
{
    if (!arguments.empty())
        throw UsageError("\"" + arguments[0] + "\" is too much; it must be " + right);
}

} // namespace hostctl
