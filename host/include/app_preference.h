#ifndef APP_PREFERENCE_H
#define APP_PREFERENCE_H

#include <tizen.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    PREFERENCE_ERROR_NONE              = TIZEN_ERROR_NONE,
    PREFERENCE_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    PREFERENCE_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    PREFERENCE_ERROR_NO_KEY            = TIZEN_ERROR_APPLICATION | 0x30, /* -17825744 */
    PREFERENCE_ERROR_IO_ERROR          = TIZEN_ERROR_IO_ERROR
} preference_error_e;

int preference_is_existing(const char *key, bool *existing);
int preference_get_int(const char *key, int *value);
int preference_set_int(const char *key, int value);

/* Called on the main loop after any process of the package has written the key. */
typedef void (*preference_changed_cb)(const char *key, void *user_data);

/* A second call for the same key replaces the callback. */
int preference_set_changed_cb(const char *key, preference_changed_cb callback, void *user_data);
/* PREFERENCE_ERROR_NO_KEY when the key has no callback. */
int preference_unset_changed_cb(const char *key);

#ifdef __cplusplus
}
#endif

#endif
