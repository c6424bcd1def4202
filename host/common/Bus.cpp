#include "host/common/Bus.h"

#include "host/common/BusOnLoop.h"
#include "host/common/Log.h"

namespace host {

const char* const kDaemonName = "com.velmora.host";
const char* const kDaemonPath = "/com/velmora/host";
const char* const kApplicationPath = "/com/velmora/host/Application";
const char* const kApplicationEnded = "com.velmora.host.Application.Error.Ended";
const char* const kNoNotification = "com.velmora.host.Tray.Error.NotThere";
const char* const kBusName = "org.freedesktop.DBus";
const char* const kBusPath = "/org/freedesktop/DBus";

namespace {

const uint64_t kCallTimeoutMicroseconds = 10'000'000;

} // namespace

std::unique_ptr<sdbus::IConnection> connectToBus()
{
    auto connection = sdbus::createSessionBusConnection();
    connection->setMethodCallTimeout(kCallTimeoutMicroseconds);
    return connection;
}

sdbus::IConnection& bus()
{
    static const std::unique_ptr<sdbus::IConnection> connection = connectToBus();
    return *connection;
}

void serveBusOnLoop()
{
    static const auto* served = [] {
        ecore_app_no_system_modules();
        ecore_init();
        // Lives as long as the process: Ecore forgets its handlers by itself when it is shut down.
        return new BusOnLoop(bus(), [](const std::string& reason) {
            logInfo("the session's bus is gone: " + reason);
            ecore_main_loop_quit();
        });
    }();
    (void)served;
}

} // namespace host
