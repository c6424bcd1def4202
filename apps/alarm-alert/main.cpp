#include "AlarmAlert.h"

#include <AlarmReading.h>
#include <AlertState.h>
#include <app.h>
#include <app_alarm.h>
#include <app_preference.h>
#include <cstdlib>
#include <cstring>
#include <dlog.h>
#include <memory>
#include <string>

namespace {

const char* const kTag = "alarm-alert";

using Text = std::unique_ptr<char, void (*)(void*)>;

Text operationOf(app_control_h request)
{
    char* text = nullptr;
    (void)app_control_get_operation(request, &text);
    return { text, free };
}

Text alarmOf(app_control_h request)
{
    char* text = nullptr;
    (void)app_control_get_extra_data(request, APP_CONTROL_DATA_ALARM_ID, &text);
    return { text, free };
}

void reply(app_control_h request, const AlarmAlert::Answer& answer)
{
    app_control_h made = nullptr;
    if (app_control_create(&made) != APP_CONTROL_ERROR_NONE)
        return;
    const std::unique_ptr<app_control_s, int (*)(app_control_h)> control(made, app_control_destroy);
    if (answer.id >= 0)
        (void)app_control_add_extra_data(
            made, companion::kAlarmExtra, std::to_string(answer.id).c_str());
    if (!answer.reason.empty())
        (void)app_control_add_extra_data(made, companion::kReasonExtra, answer.reason.c_str());
    (void)app_control_reply_to_launch_request(made, request,
        answer.reason.empty() ? APP_CONTROL_RESULT_SUCCEEDED : APP_CONTROL_RESULT_FAILED);
}

void endWhenQuiet(const AlarmAlert& alert)
{
    if (alert.isRinging())
        return;
    // An alert that was killed may have left an alarm there that is off or gone now.
    companion::setRingingAlarms({});
    ui_app_exit();
}

AlarmAlert& alertOf(void* data) { return **static_cast<std::unique_ptr<AlarmAlert>*>(data); }

void storeChangedCb(const char*, void* data)
{
    AlarmAlert& alert = alertOf(data);
    alert.endChanged();
    endWhenQuiet(alert);
    alert.sound();
}

bool createCb(void*) { return true; }

void appControlCb(app_control_h request, void* data)
{
    timespec began = {};
    clock_gettime(CLOCK_REALTIME, &began);

    AlarmAlert& alert = alertOf(data);
    const Text alarm = alarmOf(request);
    if (alarm)
        alert.prepareSound();
    // Not later, when an answer to what rings would have to wait for the store.
    if (!alert.isRinging()) {
        companion::start();
        for (const char* key : companion::kChangedKeys)
            (void)preference_set_changed_cb(key, storeChangedCb, data);
        alert.resume();
    }
    const Text operation = operationOf(request);
    if (alarm) {
        alert.ring(static_cast<int>(strtol(alarm.get(), nullptr, 10)), began);
    } else if (operation && strcmp(operation.get(), companion::kSnoozeOperation) == 0) {
        reply(request, alert.snooze());
    } else if (operation && strcmp(operation.get(), companion::kDismissOperation) == 0) {
        reply(request, alert.dismiss());
    } else {
        dlog_print(DLOG_WARN, kTag, "a launch request without an alarm");
    }
    endWhenQuiet(alert);
    alert.sound();
}

// The last moment with a main loop, of which the sound has timers.
void terminateCb(void* data)
{
    for (const char* key : companion::kChangedKeys)
        (void)preference_unset_changed_cb(key);
    static_cast<std::unique_ptr<AlarmAlert>*>(data)->reset();
}

} // namespace

int main(int argc, char** argv)
{
    auto alert = std::make_unique<AlarmAlert>();
    ui_app_lifecycle_callback_s lifecycle = {};
    lifecycle.create = createCb;
    lifecycle.terminate = terminateCb;
    lifecycle.app_control = appControlCb;
    return ui_app_main(argc, argv, &lifecycle, &alert);
}
