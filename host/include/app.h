#ifndef APP_H
#define APP_H

#include <app_common.h>
#include <app_control.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef bool (*app_create_cb)(void *user_data);
typedef void (*app_terminate_cb)(void *user_data);
typedef void (*app_pause_cb)(void *user_data);
typedef void (*app_resume_cb)(void *user_data);
typedef void (*app_control_cb)(app_control_h app_control, void *user_data);

typedef struct {
    app_create_cb create;
    app_terminate_cb terminate;
    app_pause_cb pause;
    app_resume_cb resume;
    app_control_cb app_control;
} ui_app_lifecycle_callback_s;

/*
 * Runs the application: calls create, passes each launch request to app_control, and calls terminate
 * at the end. The first request has been waiting since the process was started. Ends when
 * ui_app_exit is called, on SIGTERM and SIGINT, and with the session.
 * 0, or APP_ERROR_INVALID_CONTEXT when the application could not run: the process is no installed
 * application, create returned false or called ui_app_exit, or the application runs already. The
 * process must then exit with a status other than 0, or whoever launches it keeps waiting.
 */
int ui_app_main(int argc, char **argv, ui_app_lifecycle_callback_s *callback, void *user_data);
void ui_app_exit(void);

#ifdef __cplusplus
}
#endif

#endif
