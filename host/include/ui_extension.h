#ifndef UI_EXTENSION_H
#define UI_EXTENSION_H

#include <Elementary.h>

#ifdef __cplusplus
extern "C" {
#endif

Eina_Bool uxt_theme_get_color(const char *code, int *red, int *green, int *blue, int *alpha);

#ifdef __cplusplus
}
#endif

#endif
