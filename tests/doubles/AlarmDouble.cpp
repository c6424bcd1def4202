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
    if (state.scheduleResult == ALARM_ERROR_NONE) {
        *alarm_id = state.nextId++;
    } else {
        *alarm_id = state.idOnRefusal.value_or(*alarm_id);
    }
    return state.scheduleResult;
}

int alarm_cancel(int alarm_id)
{
    alarmDouble().cancelled.push_back(alarm_id);
    return alarmDouble().cancelResult;
}
