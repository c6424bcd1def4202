#ifndef NOTIFICATION_H
#define NOTIFICATION_H

#include <tizen.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _notification *notification_h;

typedef enum {
    NOTIFICATION_ERROR_NONE              = TIZEN_ERROR_NONE,
    NOTIFICATION_ERROR_IO_ERROR          = TIZEN_ERROR_IO_ERROR,
    NOTIFICATION_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    NOTIFICATION_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
    NOTIFICATION_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    NOTIFICATION_ERROR_INVALID_OPERATION = TIZEN_ERROR_INVALID_OPERATION,
    NOTIFICATION_ERROR_FROM_DB           = TIZEN_ERROR_NOTIFICATION | 0x01, /* -18087935 */
    NOTIFICATION_ERROR_ALREADY_EXIST_ID  = TIZEN_ERROR_NOTIFICATION | 0x02,
    NOTIFICATION_ERROR_FROM_DBUS         = TIZEN_ERROR_NOTIFICATION | 0x03,
    NOTIFICATION_ERROR_NOT_EXIST_ID      = TIZEN_ERROR_NOTIFICATION | 0x04,
    NOTIFICATION_ERROR_SERVICE_NOT_READY = TIZEN_ERROR_NOTIFICATION | 0x05
} notification_error_e;

typedef enum {
    NOTIFICATION_TYPE_NONE    = -1,
    NOTIFICATION_TYPE_NOTI    = 0,  /* ordinary */
    NOTIFICATION_TYPE_ONGOING = 1
} notification_type_e;

typedef enum {
    NOTIFICATION_LY_NONE                = 0,
    NOTIFICATION_LY_NOTI_EVENT_SINGLE   = 1,
    NOTIFICATION_LY_NOTI_EVENT_MULTIPLE = 2,
    NOTIFICATION_LY_NOTI_THUMBNAIL      = 3,
    NOTIFICATION_LY_ONGOING_EVENT       = 4,
    NOTIFICATION_LY_ONGOING_PROGRESS    = 5,
    NOTIFICATION_LY_EXTENSION           = 6
} notification_ly_type_e;

typedef enum {
    NOTIFICATION_TEXT_TYPE_NONE      = -1,
    NOTIFICATION_TEXT_TYPE_TITLE     = 0,
    NOTIFICATION_TEXT_TYPE_CONTENT   = 1,
    NOTIFICATION_TEXT_TYPE_EXTENSION = 21  /* name [chosen], value as on the platform */
} notification_text_type_e;

typedef enum {
    NOTIFICATION_VARIABLE_TYPE_NONE = -1
} notification_variable_type_e;

#define NOTIFICATION_DISPLAY_APP_ACTIVE 0x10 /* 16 */

notification_h notification_create(notification_type_e type);
notification_h notification_load_by_tag(const char *tag);
int notification_free(notification_h noti);
/* priv_id: of a posted notification, another one for each post; group_id is 0. NOT_EXIST_ID before
   the post. */
int notification_get_id(notification_h noti, int *group_id, int *priv_id);
int notification_set_time(notification_h noti, time_t input_time);
int notification_set_display_applist(notification_h noti, int applist);
int notification_set_layout(notification_h noti, notification_ly_type_e layout);
int notification_set_text(notification_h noti, notification_text_type_e type, const char *text,
                          const char *key, int args_type, ...);
int notification_set_tag(notification_h noti, const char *tag);
int notification_post(notification_h noti);
int notification_delete(notification_h noti);
int notification_delete_all(notification_type_e type);

#ifdef __cplusplus
}
#endif

#endif
