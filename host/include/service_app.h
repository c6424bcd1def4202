#ifndef SERVICE_APP_H
#define SERVICE_APP_H

#include <app_common.h>
#include <app_control.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef bool (*service_app_create_cb)(void *user_data);
typedef void (*service_app_terminate_cb)(void *user_data);
typedef void (*service_app_control_cb)(app_control_h app_control, void *user_data);

typedef struct {
    service_app_create_cb create;
    service_app_terminate_cb terminate;
    service_app_control_cb app_control;
} service_app_lifecycle_callback_s;

/* The same as ui_app_main, for an application without a window. */
int service_app_main(int argc, char **argv, service_app_lifecycle_callback_s *callback,
                     void *user_data);
void service_app_exit(void);

#ifdef __cplusplus
}
#endif

#endif
