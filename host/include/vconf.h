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

#ifdef __cplusplus
}
#endif

#endif
