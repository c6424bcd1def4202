#ifndef APP_COMMON_H
#define APP_COMMON_H

#include <tizen.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    APP_ERROR_NONE              = TIZEN_ERROR_NONE,
    APP_ERROR_NO_SUCH_FILE      = TIZEN_ERROR_NO_SUCH_FILE,
    APP_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    APP_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
    APP_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    APP_ERROR_INVALID_CONTEXT   = TIZEN_ERROR_APPLICATION | 0x01  /* -17825791 */
} app_error_e;

int   app_get_id(char **id);
char *app_get_data_path(void);
char *app_get_resource_path(void);
char *app_get_shared_resource_path(void);
char *app_get_shared_trusted_path(void);

#ifdef __cplusplus
}
#endif

#endif
