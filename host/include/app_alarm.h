#ifndef APP_ALARM_H
#define APP_ALARM_H

#include <tizen.h>
#include <time.h>
#include <app_control.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    ALARM_ERROR_NONE              = TIZEN_ERROR_NONE,
    ALARM_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    ALARM_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
    ALARM_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    ALARM_ERROR_INVALID_TIME      = TIZEN_ERROR_APPLICATION | 0x05, /* -17825787 */
    ALARM_ERROR_INVALID_DATE      = TIZEN_ERROR_APPLICATION | 0x06,
    ALARM_ERROR_CONNECTION_FAIL   = TIZEN_ERROR_APPLICATION | 0x07,
    ALARM_ERROR_NOT_PERMITTED_APP = TIZEN_ERROR_APPLICATION | 0x08
} alarm_error_e;

typedef enum {
    ALARM_WEEK_FLAG_SUNDAY    = 0x01,
    ALARM_WEEK_FLAG_MONDAY    = 0x02,
    ALARM_WEEK_FLAG_TUESDAY   = 0x04,
    ALARM_WEEK_FLAG_WEDNESDAY = 0x08,
    ALARM_WEEK_FLAG_THURSDAY  = 0x10,
    ALARM_WEEK_FLAG_FRIDAY    = 0x20,
    ALARM_WEEK_FLAG_SATURDAY  = 0x40
} alarm_week_flag_e;

/* key of the extra that carries the alarm id in the launch request: [chosen] */
#define APP_CONTROL_DATA_ALARM_ID "http://tizen.org/appcontrol/data/alarm_id"

int alarm_schedule_with_recurrence_week_flag(app_control_h app_control, struct tm *date,
                                             int week_flag, int *alarm_id);
int alarm_cancel(int alarm_id);

typedef bool (*alarm_registered_alarm_cb)(int alarm_id, void *user_data);
int alarm_foreach_registered_alarm(alarm_registered_alarm_cb callback, void *user_data);
int alarm_get_scheduled_date(int alarm_id, struct tm *date);
int alarm_get_scheduled_recurrence_week_flag(int alarm_id, int *week_flag);

#ifdef __cplusplus
}
#endif

#endif
