#include "host/common/Wire.h"
#include "host/tools/hostctl.h"

#include <com.velmora.host.Alarm-proxy.h>
#include <com.velmora.host.Tray-proxy.h>
#include <cstdio>
#include <ctime>
#include <iomanip>
#include <sstream>

namespace hostctl {

namespace {

using Triple = sdbus::Struct<int32_t, int32_t, int32_t>;
using WireAlarm = sdbus::Struct<int32_t, std::string, std::string, int64_t, Triple, int32_t>;

std::string local(std::int64_t instant, const char* format)
{
    const std::time_t seconds = instant;
    std::tm shown = {};
    localtime_r(&seconds, &shown);
    std::ostringstream text;
    text << std::put_time(&shown, format);
    return text.str();
}

std::string clockTime(const Triple& time)
{
    char text[sizeof "-2147483648:-2147483648:-2147483648"];
    snprintf(text, sizeof text, "%02d:%02d:%02d", time.get<0>(), time.get<1>(), time.get<2>());
    return text;
}

std::string days(int weekFlag)
{
    static const char* const names[] = { "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" };
    std::string text;
    for (int day = 0; day < 7; ++day) {
        if ((weekFlag & (1 << day)) != 0)
            text += (text.empty() ? "" : ",") + std::string(names[day]);
    }
    return text.empty() ? "once" : text;
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

void printLines(const std::vector<WireAlarm>& alarms)
{
    for (const WireAlarm& alarm : alarms) {
        const std::int64_t next = alarm.get<3>();
        printf("%d  %s  %lld  %s  %s  %s\n", alarm.get<0>(),
            local(next, "%Y-%m-%d %H:%M:%S").c_str(), static_cast<long long>(next),
            alarm.get<2>().c_str(), clockTime(alarm.get<4>()).c_str(),
            days(alarm.get<5>()).c_str());
    }
}

void printJson(const std::vector<WireAlarm>& alarms)
{
    const char* separator = "";
    fputs("[", stdout);
    for (const WireAlarm& alarm : alarms) {
        const std::int64_t next = alarm.get<3>();
        printf("%s\n  { \"id\": %d, \"package\": %s, \"application\": %s, \"next\": %lld, "
               "\"local\": \"%s\", \"time\": \"%s\", \"weekFlag\": %d }",
            separator, alarm.get<0>(), quoted(alarm.get<1>()).c_str(),
            quoted(alarm.get<2>()).c_str(), static_cast<long long>(next),
            local(next, "%Y-%m-%dT%H:%M:%S%z").c_str(), clockTime(alarm.get<4>()).c_str(),
            alarm.get<5>());
        separator = ",";
    }
    puts(alarms.empty() ? "]" : "\n]");
}

void refuseUnlessEmpty(const Arguments& arguments, const std::string& right)
{
    if (!arguments.empty())
        throw UsageError("\"" + arguments[0] + "\" is too much; it must be " + right);
}

} // namespace

void alarms(const Arguments& arguments)
{
    const bool json = arguments == Arguments{ "--json" };
    if (!json)
        refuseUnlessEmpty(arguments, "alarms or alarms --json");

    const std::vector<WireAlarm> list
        = host::DaemonProxy<com::velmora::host::Alarm_proxy>(bus()).List();
    if (json) {
        printJson(list);
    } else {
        printLines(list);
    }
}

void tray(const Arguments& arguments)
{
    refuseUnlessEmpty(arguments, "tray");
    for (const auto& entry : host::DaemonProxy<com::velmora::host::Tray_proxy>(bus()).List()) {
        printf(
            "%s  %s\n", local(entry.get<0>(), "%Y-%m-%d %H:%M:%S").c_str(), entry.get<1>().c_str());
    }
}

} // namespace hostctl
