#include "AppControlDouble.h"

#include <algorithm>
#include <app_control_internal.h>
#include <cstring>

AppControlDouble& appControlDouble()
{
    static AppControlDouble instance;
    return instance;
}

int app_control_create(app_control_h* app_control)
{
    AppControlDouble& state = appControlDouble();
    if (state.createResult != APP_CONTROL_ERROR_NONE)
        return state.createResult;
    ++state.created;
    state.alive.push_back(std::make_unique<app_control_s>());
    *app_control = state.alive.back().get();
    return APP_CONTROL_ERROR_NONE;
}

int app_control_destroy(app_control_h app_control)
{
    AppControlDouble& state = appControlDouble();
    const auto found = std::find_if(state.alive.begin(), state.alive.end(),
        [app_control](const auto& control) { return control.get() == app_control; });
    if (found == state.alive.end()) {
        ++state.wronglyDestroyed;
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    }
    state.alive.erase(found);
    return APP_CONTROL_ERROR_NONE;
}

int app_control_set_operation(app_control_h app_control, const char* operation)
{
    if (!app_control)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    app_control->operation = operation ? operation : "";
    return APP_CONTROL_ERROR_NONE;
}

int app_control_set_app_id(app_control_h app_control, const char* app_id)
{
    if (!app_control)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    const int result = appControlDouble().setAppIdResult;
    if (result != APP_CONTROL_ERROR_NONE)
        return result;
    app_control->applicationId = app_id ? app_id : "";
    return APP_CONTROL_ERROR_NONE;
}

int app_control_add_extra_data(app_control_h app_control, const char* key, const char* value)
{
    if (!app_control)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    app_control->extras.emplace_back(key, value);
    return APP_CONTROL_ERROR_NONE;
}

int app_control_get_extra_data(app_control_h app_control, const char* key, char** value)
{
    const auto found = std::find_if(app_control->extras.begin(), app_control->extras.end(),
        [key](const auto& extra) { return extra.first == key; });
    if (found == app_control->extras.end())
        return APP_CONTROL_ERROR_KEY_NOT_FOUND;
    *value = strdup(found->second.c_str());
    return APP_CONTROL_ERROR_NONE;
}

int app_control_send_launch_request(
    app_control_h app_control, app_control_reply_cb callback, void* user_data)
{
    if (!app_control)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    AppControlDouble& state = appControlDouble();
    if (state.sendResult == APP_CONTROL_ERROR_NONE)
        state.sent.push_back({ *app_control, callback, user_data });
    return state.sendResult;
}

int app_control_reply_to_launch_request(
    app_control_h reply, app_control_h request, app_control_result_e result)
{
    appControlDouble().replies.push_back({ request, *reply, result });
    return APP_CONTROL_ERROR_NONE;
}

int app_control_to_bundle(app_control_h app_control, bundle** data)
{
    if (!app_control)
        return APP_CONTROL_ERROR_INVALID_PARAMETER;
    if (appControlDouble().toBundleResult != APP_CONTROL_ERROR_NONE)
        return appControlDouble().toBundleResult;
    auto& entries = app_control->data.entries;
    entries = { { "__APP_SVC_OP_TYPE__", app_control->operation },
        { "__APP_SVC_PKG_NAME__", app_control->applicationId } };
    entries.insert(entries.end(), app_control->extras.begin(), app_control->extras.end());
    *data = &app_control->data;
    return APP_CONTROL_ERROR_NONE;
}
