#include "Application.h"

#include <app.h>
#include <service_app.h>

namespace {

template <typename Lifecycle>
int runApplication(const Lifecycle* lifecycle, void* data)
{
    if (!lifecycle || !lifecycle->create)
        return APP_ERROR_INVALID_PARAMETER;
    Application application({
        [=] { return lifecycle->create(data); },
        [=] {
            if (lifecycle->terminate)
                lifecycle->terminate(data);
        },
        [=](app_control_h request) {
            if (lifecycle->app_control)
                lifecycle->app_control(request, data);
        },
    });
    return application.run();
}

} // namespace

extern "C" int ui_app_main(int, char**, ui_app_lifecycle_callback_s* callback, void* user_data)
{
    return runApplication(callback, user_data);
}

extern "C" void ui_app_exit(void) { Application::end(); }

extern "C" int service_app_main(
    int, char**, service_app_lifecycle_callback_s* callback, void* user_data)
{
    return runApplication(callback, user_data);
}

extern "C" void service_app_exit(void) { Application::end(); }
