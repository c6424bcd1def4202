#pragma once

#include <app_alarm.h>
#include <ctime>
#include <memory>

/// Registers an application for the time of day of the instant, once, as any application of the
/// watch may. The id, or -1 when it was refused.
inline int registerApplication(const char* application, time_t instant, const char* text = nullptr)
{
    app_control_h made = nullptr;
    app_control_create(&made);
    const std::unique_ptr<app_control_s, int (*)(app_control_h)> request(made, app_control_destroy);
    app_control_set_app_id(made, application);
    if (text)
        app_control_add_extra_data(made, "text", text);
    tm date = {};
    localtime_r(&instant, &date);
    int id = -1;
    (void)alarm_schedule_with_recurrence_week_flag(made, &date, 0, &id);
    return id;
}
