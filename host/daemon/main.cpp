#include "host/common/Boundary.h"
#include "host/common/Bus.h"
#include "host/common/Session.h"
#include "host/daemon/AlarmService.h"
#include "host/daemon/ApplicationsService.h"
#include "host/daemon/BootApplications.h"
#include "host/daemon/DefaultSettings.h"
#include "host/daemon/Desktop.h"
#include "host/daemon/FocusService.h"
#include "host/daemon/TrayService.h"
#include "host/daemon/VibrationService.h"
#include "host/daemon/VolumeService.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <Ecore.h>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

Eina_Bool endCb(void*, int, void*)
{
    ecore_main_loop_quit();
    return ECORE_CALLBACK_PASS_ON;
}

void takeName()
{
    try {
        host::bus().requestName(host::kDaemonName);
    } catch (const sdbus::Error&) {
        throw std::runtime_error(std::string("the bus does not give the name ") + host::kDaemonName
            + "; most likely another hostd runs in this session");
    }
}

// Starts the applications of the device, unless the session is to have none.
std::unique_ptr<host::BootApplications> startApplications(host::Applications& applications)
{
    const char* boot = getenv("ALARM_HOST_BOOT");
    if (boot && strcmp(boot, "no") == 0)
        return nullptr;
    return std::make_unique<host::BootApplications>(applications);
}

} // namespace

// hostd: one daemon for a session, which does the work of several system services of the watch.
int main()
{
    try {
        host::serveBusOnLoop();
        ecore_event_handler_add(ECORE_EVENT_SIGNAL_EXIT, endCb, nullptr);
        // Alarms must ring even if the settings cannot be written.
        host::guarded("the device's settings cannot be written", host::seedSettings);
        host::Applications applications;
        const host::ApplicationsService applicationsService(applications);
        host::RequestSender sender(applications);
        host::TrayStore trayStore(host::homePath() + "notifications.db");
        host::AlarmService alarms(applications, sender, trayStore);
        static auto& desktop = *new host::Desktop(trayStore, sender);
        const host::TrayService tray(trayStore, applications, sender, [] { desktop.update(); });
        host::FocusService focus(applications);
        host::VibrationService vibration;
        host::VolumeService volume;
        // Own the bus name last: callers may use it as soon as they see it.
        takeName();
        alarms.start();
        const auto boot = startApplications(applications);
        ecore_main_loop_begin();
        host::guarded("the desktop still shows notifications", [] { desktop.end(); });
        return 0;
    } catch (const std::exception& error) {
        fprintf(stderr, "hostd: %s\n", error.what());
        return 1;
    }
}
