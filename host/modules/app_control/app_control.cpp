#include "app_control.h"

#include "host/common/ApplicationPort.h"
#include "host/common/Boundary.h"
#include "host/common/Handles.h"
#include "host/common/Wire.h"

#include <app_control_internal.h>
#include <com.velmora.host.Applications-proxy.h>
#include <cstring>
#include <sdbus-c++/sdbus-c++.h>

using host::ApplicationPort;
using host::Entries;

namespace {

using ApplicationsProxy = host::DaemonProxy<com::velmora::host::Applications_proxy>;

const host::OutOfMemoryOr kUnexpected{ APP_CONTROL_ERROR_IO_ERROR };

int setEntry(app_control_h app_control, const char* key, const char* value)
{
    if (!app_control)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    return host::guarded("a launch request failed", kUnexpected, [=] {
        host::setEntry(app_control->data.entries, key, value);
        return APP_CONTROL_ERROR_NONE;
    });
}

int copyEntry(app_control_h app_control, const char* key, char** value)
{
    if (!app_control || !key || !value)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    return host::guarded("a launch request failed", kUnexpected, [=] {
        const std::string* found = host::findEntry(app_control->data.entries, key);
        if (!found)
            return APP_CONTROL_ERROR_KEY_NOT_FOUND;
        *value = host::copyForC(*found);
        return APP_CONTROL_ERROR_NONE;
    });
}

int launchError(const std::exception& failure)
{
    const auto* error = dynamic_cast<const sdbus::Error*>(&failure);
    const std::string name = error ? error->getName() : "";
    if (name == "org.freedesktop.DBus.Error.ServiceUnknown"
        || name == "org.freedesktop.DBus.Error.InvalidArgs") // an id that cannot be a bus name
        return APP_CONTROL_ERROR_APP_NOT_FOUND;
    if (name == "org.freedesktop.DBus.Error.TimedOut"
        || name == "org.freedesktop.DBus.Error.NoReply"
        || name == "org.freedesktop.DBus.Error.Timeout")
        return APP_CONTROL_ERROR_TIMED_OUT;
    if (name == "org.freedesktop.DBus.Error.AccessDenied")
        return APP_CONTROL_ERROR_LAUNCH_REJECTED;
    return host::OutOfMemoryOr{ APP_CONTROL_ERROR_LAUNCH_FAILED }(failure);
}

// The callback gets a copy of the request, since the caller may destroy its own after sending.
ApplicationPort::Answer answerTo(app_control_h request, app_control_reply_cb callback, void* data)
{
    if (!callback)
        return nullptr;
    return [sent = *request, callback, data](int result, const Entries& entries) mutable {
        app_control_s reply;
        reply.data.entries = entries;
        callback(&sent, &reply, static_cast<app_control_result_e>(result), data);
    };
}

} // namespace

extern "C" int app_control_create(app_control_h* app_control)
{
    if (!app_control)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    return host::guarded("a launch request failed", kUnexpected, [=] {
        *app_control = new app_control_s;
        return APP_CONTROL_ERROR_NONE;
    });
}

extern "C" int app_control_destroy(app_control_h app_control)
{
    if (!app_control)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    delete app_control;
    return APP_CONTROL_ERROR_NONE;
}

extern "C" int app_control_get_operation(app_control_h app_control, char** operation)
{
    return copyEntry(app_control, host::kOperationKey, operation);
}

extern "C" int app_control_get_extra_data(app_control_h app_control, const char* key, char** value)
{
    return copyEntry(app_control, key, value);
}

extern "C" int app_control_get_caller(app_control_h app_control, char** id)
{
    if (!app_control || !id)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    return host::guarded("the sender of a request is not known", kUnexpected, [=] {
        std::string package;
        std::string caller;
        if (!app_control->sender.empty())
            std::tie(package, caller) = ApplicationsProxy().Identify(app_control->sender);
        if (caller.empty())
            return APP_CONTROL_ERROR_KEY_NOT_FOUND;
        *id = host::copyForC(caller);
        return APP_CONTROL_ERROR_NONE;
    });
}

extern "C" int app_control_set_operation(app_control_h app_control, const char* operation)
{
    return setEntry(app_control, host::kOperationKey, operation);
}

extern "C" int app_control_set_app_id(app_control_h app_control, const char* app_id)
{
    return setEntry(app_control, host::kApplicationIdKey, app_id);
}

extern "C" int app_control_add_extra_data(
    app_control_h app_control, const char* key, const char* value)
{
    if (!app_control || !key || !*key || !value)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    if (strncmp(key, "__", 2) == 0)
        return APP_CONTROL_ERROR_KEY_REJECTED;
    return setEntry(app_control, key, value);
}

static int launch(
    const std::string& application, app_control_h request, const ApplicationPort::Answer& answer)
{
    const std::string what = "launching " + application + " failed";
    const Entries& entries = request->data.entries;
    if (host::sizeOf(entries) > host::kLongestRequest) {
        host::logError(
            what + ": a request may have " + std::to_string(host::kLongestRequest) + " bytes");
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    }
    return host::guarded(what.c_str(), launchError, [&] {
        ApplicationPort::instance().launch(application, entries, answer);
        return APP_CONTROL_ERROR_NONE;
    });
}

extern "C" int app_control_send_launch_request(
    app_control_h app_control, app_control_reply_cb callback, void* user_data)
{
    const std::string* application = app_control
        ? host::findEntry(app_control->data.entries, host::kApplicationIdKey)
        : nullptr;
    if (!application || application->empty())
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    return host::guarded("a launch request failed", kUnexpected, [=] {
        return launch(*application, app_control, answerTo(app_control, callback, user_data));
    });
}

extern "C" int app_control_reply_to_launch_request(
    app_control_h reply, app_control_h request, app_control_result_e result)
{
    if (!reply || !request)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    if (request->ticket == 0)
        return APP_CONTROL_ERROR_NONE; // the caller wants no reply
    return host::guarded("replying to a request failed",
        host::OutOfMemoryOr{ APP_CONTROL_ERROR_LAUNCH_FAILED }, [=] {
            ApplicationPort::instance().reply(
                request->sender, request->ticket, result, reply->data.entries);
            request->ticket = 0; // a caller gets one reply
            return APP_CONTROL_ERROR_NONE;
        });
}

extern "C" int app_control_to_bundle(app_control_h app_control, bundle** data)
{
    if (!app_control || !data)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    *data = &app_control->data;
    return APP_CONTROL_ERROR_NONE;
}
