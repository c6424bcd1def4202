#ifndef APP_CONTROL_H
#define APP_CONTROL_H

#include <tizen.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct app_control_s *app_control_h;

#define APP_CONTROL_OPERATION_DEFAULT "http://tizen.org/appcontrol/operation/default"

typedef enum {
    APP_CONTROL_ERROR_NONE              = TIZEN_ERROR_NONE,
    APP_CONTROL_ERROR_IO_ERROR          = TIZEN_ERROR_IO_ERROR,
    APP_CONTROL_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    APP_CONTROL_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
    APP_CONTROL_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    APP_CONTROL_ERROR_KEY_NOT_FOUND     = TIZEN_ERROR_KEY_NOT_AVAILABLE,
    APP_CONTROL_ERROR_KEY_REJECTED      = TIZEN_ERROR_KEY_REJECTED,
    APP_CONTROL_ERROR_TIMED_OUT         = TIZEN_ERROR_TIMED_OUT,
    APP_CONTROL_ERROR_APP_NOT_FOUND     = TIZEN_ERROR_APPLICATION | 0x21, /* -17825759 */
    APP_CONTROL_ERROR_INVALID_DATA_TYPE = TIZEN_ERROR_APPLICATION | 0x22,
    APP_CONTROL_ERROR_LAUNCH_REJECTED   = TIZEN_ERROR_APPLICATION | 0x23,
    APP_CONTROL_ERROR_LAUNCH_FAILED     = TIZEN_ERROR_APPLICATION | 0x24
} app_control_error_e;

typedef enum {
    APP_CONTROL_RESULT_APP_STARTED = 1,
    APP_CONTROL_RESULT_SUCCEEDED   = 0,
    APP_CONTROL_RESULT_FAILED      = -1,
    APP_CONTROL_RESULT_CANCELED    = -2
} app_control_result_e;

typedef void (*app_control_reply_cb)(app_control_h request, app_control_h reply,
                                     app_control_result_e result, void *user_data);

int app_control_create(app_control_h *app_control);
int app_control_destroy(app_control_h app_control);
/* The caller frees the texts that the get functions return. */
int app_control_get_operation(app_control_h app_control, char **operation);
int app_control_get_extra_data(app_control_h app_control, const char *key, char **value);

/* The id of the application that sent a request; KEY_NOT_FOUND when no application sent it. */
int app_control_get_caller(app_control_h app_control, char **id);

int app_control_set_operation(app_control_h app_control, const char *operation);
int app_control_set_app_id(app_control_h app_control, const char *app_id);
int app_control_add_extra_data(app_control_h app_control, const char *key, const char *value);
int app_control_send_launch_request(app_control_h app_control,
                                    app_control_reply_cb callback, void *user_data);
int app_control_reply_to_launch_request(app_control_h reply, app_control_h request,
                                        app_control_result_e result);

#ifdef __cplusplus
}
#endif

#endif
