#include "host/common/Wire.h"
#include "host/tools/hostctl.h"

#include <com.velmora.host.Alarm-proxy.h>
#include <cstdio>

namespace hostctl {

namespace {

using Triple = sdbus::Struct<int32_t, int32_t, int32_t>;
using WireAlarm = sdbus::Struct<int32_t, std::string, std::string, int64_t, Triple, int32_t>;

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

} // namespace hostctl
