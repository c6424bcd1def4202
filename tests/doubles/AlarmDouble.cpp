#include "AlarmDouble.h"

#include "AppControlDouble.h"

AlarmDouble& alarmDouble()
{
    static AlarmDouble instance;
    return instance;
}

int alarm_schedule_with_recurrence_week_flag(
    app_control_h app_control, struct tm* date, int week_flag, int* alarm_id)
{
    AlarmDouble& state = alarmDouble();
    state.scheduled.push_back(
        { app_control ? app_control->applicationId : "", *date, week_flag, *alarm_id });
    if (state.onSchedule)
        state.onSchedule();
    if (state.scheduleResult == ALARM_ERROR_NONE) {
        *alarm_id = state.nextId++;
        state.registered.insert(*alarm_id);
    } else {
        *alarm_id = state.idOnRefusal.value_or(*alarm_id);
    }
    return state.scheduleResult;
}

int alarm_cancel(int alarm_id)
{
    AlarmDouble& state = alarmDouble();
    state.cancelled.push_back(alarm_id);
    if (state.onCancel)
        state.onCancel();
    if (state.cancelResult == ALARM_ERROR_NONE)
        state.registered.erase(alarm_id);
    return state.cancelResult;
}
