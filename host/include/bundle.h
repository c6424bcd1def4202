#ifndef BUNDLE_H
#define BUNDLE_H

#include <tizen.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _bundle_t bundle;
typedef unsigned char bundle_raw;

typedef enum {
    BUNDLE_ERROR_NONE              = TIZEN_ERROR_NONE,
    BUNDLE_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    BUNDLE_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    BUNDLE_ERROR_KEY_NOT_AVAILABLE = TIZEN_ERROR_KEY_NOT_AVAILABLE,
    BUNDLE_ERROR_KEY_EXISTS        = TIZEN_ERROR_BUNDLE | 0x01 /* [chosen] */
} bundle_error_e;

bundle *bundle_create(void);
int     bundle_free(bundle *b);
int     bundle_add_str(bundle *b, const char *key, const char *str);
int     bundle_get_str(bundle *b, const char *key, char **str);
int     bundle_encode(bundle *b, bundle_raw **r, int *len);
/* The caller frees the bundle. NULL for a text that bundle_encode has not written. */
bundle *bundle_decode(const bundle_raw *r, const int len);

#ifdef __cplusplus
}
#endif

#endif
