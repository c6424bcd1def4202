#ifndef APP_CONTROL_INTERNAL_H
#define APP_CONTROL_INTERNAL_H

#include <app_control.h>
#include <bundle.h>

#ifdef __cplusplus
extern "C" {
#endif

int app_control_to_bundle(app_control_h app_control, bundle **data); /* [chosen] */

#ifdef __cplusplus
}
#endif

#endif
