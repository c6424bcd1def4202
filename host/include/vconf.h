#ifndef VCONF_H
#define VCONF_H

#include <vconf-keys.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VCONF_OK     0
#define VCONF_ERROR (-1)

int   vconf_get_int(const char *in_key, int *intval);
int   vconf_get_bool(const char *in_key, int *boolval);
char *vconf_get_str(const char *in_key);

int vconf_set_int(const char *in_key, const int intval);
int vconf_set_bool(const char *in_key, const int boolval);
int vconf_set_str(const char *in_key, const char *strval);

typedef struct _keynode_t keynode_t;
typedef void (*vconf_callback_fn)(keynode_t *node, void *user_data);

/* Calls cb on the main loop after any process has written the key. A second call for the same key
   and cb replaces user_data. */
int vconf_notify_key_changed(const char *in_key, vconf_callback_fn cb, void *user_data);
int vconf_ignore_key_changed(const char *in_key, vconf_callback_fn cb);

/* The name of the key, valid as long as the callback runs. */
char *vconf_keynode_get_name(keynode_t *keynode);

#ifdef __cplusplus
}
#endif

#endif
