#include "host/common/Wire.h"
#include "host/tools/hostctl.h"

#include <app_control.h>
#include <com.velmora.host.Applications-proxy.h>

namespace hostctl {

namespace {

const char* const kRight
    = "it must be launch APPLICATION [--operation OPERATION] [--extra KEY=VALUE]...";

void addExtra(host::Entries& extras, const std::string& text)
{
    const std::size_t at = text.find('=');
    if (at == std::string::npos || at == 0)
        throw UsageError("\"" + text + "\" is no extra; it must be KEY=VALUE");
    const std::string key = text.substr(0, at);
    if (key.compare(0, 2, "__") == 0)
        throw UsageError("\"" + key + "\" is the platform's own; an extra must not begin with __");
    host::setEntry(extras, key, text.c_str() + at + 1);
}

// Calls Launch, which is answered when the application's callback has returned.
void send(const std::string& application, const host::Entries& request)
{
    const std::string connection
        = host::DaemonProxy<com::velmora::host::Applications_proxy>(bus()).Find(application);
    sdbus::createProxy(bus(), connection, host::kApplicationPath)
        ->callMethod("Launch")
        .onInterface("com.velmora.host.Application")
        .withArguments(host::toWire(request), std::string(), std::uint64_t{ 0 });
}

} // namespace

void launch(const Arguments& arguments)
{
    if (arguments.empty() || arguments[0].empty() || arguments[0][0] == '-')
        throw UsageError(std::string("the application is missing; ") + kRight);
    const std::string& application = arguments[0];
    std::string operation = APP_CONTROL_OPERATION_DEFAULT;
    host::Entries extras;
    for (std::size_t at = 1; at < arguments.size(); at += 2) {
        const std::string& option = arguments[at];
        if (option != "--operation" && option != "--extra")
            throw UsageError("\"" + option + "\" is unknown; " + kRight);
        if (at + 1 == arguments.size())
            throw UsageError(option + " lacks its value; " + kRight);
        if (option == "--operation") {
            operation = arguments[at + 1];
        } else {
            addExtra(extras, arguments[at + 1]);
        }
    }

    host::Entries request
        = { { host::kOperationKey, operation }, { host::kApplicationIdKey, application } };
    request.insert(request.end(), extras.begin(), extras.end());
    try {
        send(application, request);
    } catch (const sdbus::Error& error) {
        if (error.getName() == "org.freedesktop.DBus.Error.ServiceUnknown")
            throw std::runtime_error("this session has no application " + application);
        throw std::runtime_error(application + " did not take the request: " + error.getMessage());
    }
}

} // namespace hostctl
