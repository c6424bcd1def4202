#ifndef SYSTEM_INFO_H
#define SYSTEM_INFO_H

#include <tizen.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    SYSTEM_INFO_ERROR_NONE              = TIZEN_ERROR_NONE,
    SYSTEM_INFO_ERROR_IO_ERROR          = TIZEN_ERROR_IO_ERROR,
    SYSTEM_INFO_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    SYSTEM_INFO_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
    SYSTEM_INFO_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    SYSTEM_INFO_ERROR_REMOTE_IO         = TIZEN_ERROR_REMOTE_IO,
    SYSTEM_INFO_ERROR_NOT_SUPPORTED     = TIZEN_ERROR_NOT_SUPPORTED
} system_info_error_e;

int system_info_get_custom_bool(const char *key, bool *value);

#ifdef __cplusplus
}
#endif

#endif
