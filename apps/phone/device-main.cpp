// The simulated phone: stays from its first command to the session's end.
#include "Device.h"
#include "DeviceCommands.h"
#include "Requests.h"

#include <memory>
#include <service_app.h>

namespace {

using DevicePtr = std::unique_ptr<Device>;

// It lives as long as the main loop.
bool createCb(void* data)
{
    *static_cast<DevicePtr*>(data) = std::make_unique<Device>();
    return true;
}

void terminateCb(void* data) { static_cast<DevicePtr*>(data)->reset(); }

void requestCb(app_control_h request, void* data)
{
    requests::answer(
        request, runCommand(**static_cast<DevicePtr*>(data), requests::argumentsOf(request)));
}

} // namespace

int main(int argc, char** argv)
{
    DevicePtr device;
    service_app_lifecycle_callback_s lifecycle = {};
    lifecycle.create = createCb;
    lifecycle.terminate = terminateCb;
    lifecycle.app_control = requestCb;
    return service_app_main(argc, argv, &lifecycle, &device);
}
