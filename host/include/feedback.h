#ifndef FEEDBACK_H
#define FEEDBACK_H

#include <tizen.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    FEEDBACK_ERROR_NONE              = TIZEN_ERROR_NONE,
    FEEDBACK_ERROR_OPERATION_FAILED  = TIZEN_ERROR_NOT_PERMITTED,
    FEEDBACK_ERROR_NOT_SUPPORTED     = TIZEN_ERROR_NO_SUCH_DEVICE,
    FEEDBACK_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
    FEEDBACK_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    FEEDBACK_ERROR_NOT_INITIALIZED   = TIZEN_ERROR_SYSTEM_CLASS | 0x12 /* -131054 */
} feedback_error_e;

typedef enum {
    FEEDBACK_TYPE_NONE      = 0,
    FEEDBACK_TYPE_SOUND     = 1,
    FEEDBACK_TYPE_VIBRATION = 2
} feedback_type_e;

/* the alarm patterns are the device maker's own additions: names [chosen], numbers given */
typedef enum {
    FEEDBACK_PATTERN_ALARM_VIB1_SHORT = 168,
    FEEDBACK_PATTERN_ALARM_VIB1_LONG  = 169,
    FEEDBACK_PATTERN_ALARM_VIB2_SHORT = 170,
    FEEDBACK_PATTERN_ALARM_VIB2_LONG  = 171,
    FEEDBACK_PATTERN_ALARM_VIB3_SHORT = 172,
    FEEDBACK_PATTERN_ALARM_VIB3_LONG  = 173,
    FEEDBACK_PATTERN_ALARM_VIB4_SHORT = 174,
    FEEDBACK_PATTERN_ALARM_VIB4_LONG  = 175,
    FEEDBACK_PATTERN_ALARM_VIB5_SHORT = 176,
    FEEDBACK_PATTERN_ALARM_VIB5_LONG  = 177
} feedback_pattern_e;

int feedback_initialize(void);
int feedback_play_type(feedback_type_e type, feedback_pattern_e pattern);
int feedback_stop(void);

#ifdef __cplusplus
}
#endif

#endif
