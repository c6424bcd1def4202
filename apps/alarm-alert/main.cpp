#include "AlarmAlert.h"
#include "common/Request.h"

#include <AlarmReading.h>
#include <AlertState.h>
#include <app.h>
#include <app_alarm.h>
#include <app_preference.h>
#include <cstdlib>
#include <dlog.h>
#include <HeapText.h>
#include <memory>
#include <string>

namespace {

const char* const kTag = "alarm-alert";

std::string operationOf(app_control_h request)
{
    char* operation = nullptr;
    (void)app_control_get_operation(request, &operation);
    return companion::takeText(operation);
}

void reply(app_control_h request, const AlarmAlert::Answer& answer)
{
    const app::Control made = app::makeControl();
    if (answer.id >= 0)
        app::addExtra(made, companion::kAlarmExtra, std::to_string(answer.id));
    app::reply(request, answer.reason, made);
}

void endWhenQuiet(const AlarmAlert& alert)
{
    if (alert.isRinging())
        return;
    // An alert that was killed may have left an alarm named as ringing that is off or gone now.
    companion::setRingingAlarms({});
    ui_app_exit();
}

AlarmAlert& alertOf(void* data) { return **static_cast<std::unique_ptr<AlarmAlert>*>(data); }

void storeChangedCb(const char*, void* data) noexcept
{
    AlarmAlert& alert = alertOf(data);
    alert.endChanged();
    endWhenQuiet(alert);
    alert.sound();
}

bool createCb(void*) { return true; }

void appControlCb(app_control_h request, void* data) noexcept
{
    timespec began = {};
    clock_gettime(CLOCK_REALTIME, &began);

    AlarmAlert& alert = alertOf(data);
    const std::string extra = app::extraOf(request, APP_CONTROL_DATA_ALARM_ID).value_or("");
    const auto registration = static_cast<int>(strtol(extra.c_str(), nullptr, 10));
    if (registration > 0)
        alert.prepareSound();
    // The store is looked into before the first alarm rings, so that an answer to one that rings
    // does not have to wait for it.
    if (!alert.isRinging()) {
        companion::start();
        for (const char* key : companion::kChangedKeys)
            (void)preference_set_changed_cb(key, storeChangedCb, data);
        alert.resume();
    }
    const std::string operation = operationOf(request);
    if (registration > 0) {
        alert.ring(registration, began);
    } else if (operation == companion::kSnoozeOperation) {
        reply(request, alert.snooze());
    } else if (operation == companion::kDismissOperation) {
        reply(request, alert.dismiss());
    } else {
        dlog_print(DLOG_WARN, kTag, "a launch request without an alarm");
    }
    endWhenQuiet(alert);
    alert.sound();
}

// The sound has timers on the main loop, which is still there at this moment and not later.
void terminateCb(void* data) noexcept
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
