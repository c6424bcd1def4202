// The simulated phone. It runs from the first command that asks it to the end of the session.
#include "common/Failure.h"
#include "Device.h"
#include "DeviceCommands.h"
#include "Requests.h"

#include <exception>
#include <memory>
#include <service_app.h>

namespace {

using DevicePtr = std::unique_ptr<Device>;

// The Device uses the main loop, so it is made and destroyed while that runs.
bool createCb(void* data)
{
    try {
        *static_cast<DevicePtr*>(data) = std::make_unique<Device>();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void terminateCb(void* data) { static_cast<DevicePtr*>(data)->reset(); }

void requestCb(app_control_h request, void* data)
{
    try {
        Device& device = **static_cast<DevicePtr*>(data);
        requests::answer(request, runCommand(device, requests::argumentsOf(request)));
    } catch (const std::exception& error) {
        requests::answer(request, { Failure::kFailed, "", error.what() });
    }
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
