#ifndef RECORDER_H
#define RECORDER_H

#include <tizen.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    RECORDER_TYPE_AUDIO = 0,
    RECORDER_TYPE_VIDEO = 1
} recorder_type_e;

typedef enum {
    RECORDER_DEVICE_STATE_IDLE      = 0,
    RECORDER_DEVICE_STATE_RECORDING = 1,
    RECORDER_DEVICE_STATE_PAUSED    = 2
} recorder_device_state_e;

#define RECORDER_ERROR_CLASS (TIZEN_ERROR_RECORDER | 0x10)

typedef enum {
    RECORDER_ERROR_NONE              = TIZEN_ERROR_NONE,
    RECORDER_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    RECORDER_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
    RECORDER_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    RECORDER_ERROR_INVALID_OPERATION = TIZEN_ERROR_INVALID_OPERATION,
    RECORDER_ERROR_NOT_SUPPORTED     = TIZEN_ERROR_NOT_SUPPORTED,
    RECORDER_ERROR_INVALID_STATE     = RECORDER_ERROR_CLASS | 0x02, /* -26542062 */
    RECORDER_ERROR_DEVICE            = RECORDER_ERROR_CLASS | 0x04
} recorder_error_e;

int recorder_get_device_state(recorder_type_e type, recorder_device_state_e *state);

#ifdef __cplusplus
}
#endif

#endif
