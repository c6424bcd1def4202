#include "host/common/Wire.h"
#include "host/tools/hostctl.h"

#include <com.velmora.host.Tray-proxy.h>
#include <cstdio>
#include <sstream>

namespace hostctl {

namespace {

using TrayProxy = host::DaemonProxy<com::velmora::host::Tray_proxy>;

const char* const kInstant = "%Y-%m-%d %H:%M:%S";
const char* const kRight = "tray, tray --json, tray tap TAG or tray button TAG N";

// As structured bindings take them.
template <typename... Fields>
const std::tuple<Fields...>& fieldsOf(const sdbus::Struct<Fields...>& structure)
{
    return structure;
}

// Prints the text indented, without lines that are empty.
void printIndented(const std::string& text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty())
            printf("  %s\n", shown(line).c_str());
    }
}

void printLines(TrayProxy& tray)
{
    for (const auto& card : tray.Show()) {
        const auto& [application, tag, posted, title, body, icon, buttons] = fieldsOf(card);
        printf("%s  %s  %s\n", local(posted, kInstant).c_str(), application.c_str(),
            tag.empty() ? "-" : shown(tag).c_str());
        printIndented(title);
        printIndented(body);
        int number = 0;
        for (const std::string& button : buttons)
            printf("  %d: %s\n", ++number, shown(button).c_str());
    }
    for (const auto& report : tray.Reports()) {
        printf(
            "%s  %s\n", local(report.get<0>(), kInstant).c_str(), shown(report.get<1>()).c_str());
    }
}

void printTexts(const std::vector<sdbus::Struct<int32_t, std::string, std::string>>& texts)
{
    const char* separator = "";
    for (const auto& text : texts) {
        printf("%s\n      { \"type\": %d, \"text\": %s, \"key\": %s }", separator, text.get<0>(),
            quoted(text.get<1>()).c_str(), quoted(text.get<2>()).c_str());
        separator = ",";
    }
}

void printJson(TrayProxy& tray)
{
    const char* separator = "";
    fputs("{ \"notifications\": [", stdout);
    for (const auto& notification : tray.List()) {
        const auto& [id, application, posted, tag, type, layout, displays, time, texts]
            = fieldsOf(notification);
        printf("%s\n    { \"id\": %lld, \"application\": %s, \"posted\": %lld, \"tag\": %s, "
               "\"type\": %d, \"layout\": %d, \"displays\": %d, \"time\": %lld, \"texts\": [",
            separator, static_cast<long long>(id), quoted(application).c_str(),
            static_cast<long long>(posted), quoted(tag).c_str(), type, layout, displays,
            static_cast<long long>(time));
        printTexts(texts);
        fputs(" ] }", stdout);
        separator = ",";
    }
    separator = "";
    fputs(" ],\n  \"reports\": [", stdout);
    for (const auto& report : tray.Reports()) {
        printf("%s\n    { \"posted\": %lld, \"text\": %s }", separator,
            static_cast<long long>(report.get<0>()), quoted(report.get<1>()).c_str());
        separator = ",";
    }
    puts(" ] }");
}

int buttonNumber(const std::string& text)
{
    const bool isNumber
        = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    const int number = isNumber && text.size() < 9 ? std::stoi(text) : 0;
    if (number == 0)
        throw UsageError("\"" + text + "\" is no button; it must be 1 for the first, or more");
    return number;
}

// What the application does with the request is its own affair.
void press(const std::string& tag, int button)
{
    printf("handed over to %s\n", TrayProxy(bus()).Press(tag, button).c_str());
}

} // namespace

void tray(const Arguments& arguments)
{
    const std::string what = arguments.empty() ? "" : arguments[0];
    if (what == "tap" && arguments.size() == 2)
        return press(arguments[1], 0);
    if (what == "button" && arguments.size() == 3)
        return press(arguments[1], buttonNumber(arguments[2]));
    if (what == "tap" || what == "button")
        throw UsageError(std::string("it must be ") + kRight);
    const bool json = arguments == Arguments{ "--json" };
    if (!json)
        refuseUnlessEmpty(arguments, kRight);

    TrayProxy proxy(bus());
    if (json) {
        printJson(proxy);
    } else {
        printLines(proxy);
    }
}

} // namespace hostctl
