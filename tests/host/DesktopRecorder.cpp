// A desktop's notification daemon for the tests. It owns org.freedesktop.Notifications, has the
// capabilities that its command line names, and prints what it is asked, a line each:
//
//   notify NUMBER for REPLACED: APPLICATION | ICON | TITLE | BODY | ACTIONS | EXPIRY
//   close NUMBER
//   TITLE, of one that it refuses
//
// It refuses titles that begin with "refuse". With the capability "same" all have the number 1.
// Its interface com.velmora.test.Desktop plays the user: Act(number, action), Dismiss(number).

#include <algorithm>
#include <cstdio>
#include <map>
#include <sdbus-c++/sdbus-c++.h>
#include <string>
#include <vector>

namespace {

const char* const kName = "org.freedesktop.Notifications";
const char* const kTest = "com.velmora.test.Desktop";
const std::uint32_t kDismissed = 2;
const std::uint32_t kClosed = 3;

using Texts = std::vector<std::string>;
using Hints = std::map<std::string, sdbus::Variant>;

std::string oneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', '/');
    return text;
}

} // namespace

int main(int argc, char** argv)
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    Texts capabilities(argv + 1, argv + argc);
    const auto connection = sdbus::createSessionBusConnection();
    const auto object = sdbus::createObject(*connection, "/org/freedesktop/Notifications");
    std::uint32_t last = 0;
    const bool isSame = std::count(capabilities.begin(), capabilities.end(), "same") != 0;
    const auto close = [&](std::uint32_t number, std::uint32_t reason) {
        object->emitSignal("NotificationClosed").onInterface(kName).withArguments(number, reason);
    };

    object->registerMethod("GetCapabilities").onInterface(kName).implementedAs([&] {
        return capabilities;
    });
    object->registerMethod("Notify").onInterface(kName).implementedAs(
        [&](const std::string& application, std::uint32_t replaced, const std::string& icon,
            const std::string& title, const std::string& body, const Texts& actions, const Hints&,
            std::int32_t expiry) {
            if (title.rfind("refuse", 0) == 0) {
                printf("%s\n", title.c_str());
                throw sdbus::Error("com.velmora.test.Desktop.Error.Refused", "not this one");
            }
            const std::uint32_t number = replaced != 0 ? replaced : isSame ? 1 : ++last;
            std::string all;
            for (const std::string& action : actions)
                all += (all.empty() ? "" : ",") + action;
            printf("notify %u for %u: %s | %s | %s | %s | %s | %d\n", number, replaced,
                application.c_str(), icon.c_str(), oneLine(title).c_str(), oneLine(body).c_str(),
                oneLine(all).c_str(), expiry);
            return number;
        });
    object->registerMethod("CloseNotification")
        .onInterface(kName)
        .implementedAs([&](std::uint32_t number) {
            printf("close %u\n", number);
            close(number, kClosed);
        });
    object->registerMethod("Act").onInterface(kTest).implementedAs(
        [&](std::uint32_t number, const std::string& action) {
            object->emitSignal("ActionInvoked").onInterface(kName).withArguments(number, action);
        });
    object->registerMethod("Dismiss").onInterface(kTest).implementedAs(
        [&](std::uint32_t number) { close(number, kDismissed); });
    object->registerSignal("NotificationClosed")
        .onInterface(kName)
        .withParameters<std::uint32_t, std::uint32_t>();
    object->registerSignal("ActionInvoked")
        .onInterface(kName)
        .withParameters<std::uint32_t, std::string>();
    object->finishRegistration();
    connection->requestName(kName);
    connection->enterEventLoop();
    return 0;
}
