#include "host/daemon/ApplicationsService.h"

#include "host/daemon/Answering.h"

namespace host {

ApplicationsService::ApplicationsService(Applications& applications)
    : _applications(applications)
{
}

std::tuple<std::string, std::string> ApplicationsService::Identify(const std::string& connection)
{
    return answering([&]() -> std::tuple<std::string, std::string> {
        const Identity identity = _applications.who(connection);
        return { identity.package, identity.application };
    });
}

void ApplicationsService::Find(sdbus::Result<std::string>&& found, std::string application)
{
    // Shared, because the callback is copied on its way and a result cannot be.
    auto answer = std::make_shared<sdbus::Result<std::string>>(std::move(found));
    answering([&] {
        _applications.find(
            application, [answer](const std::string& connection, const sdbus::Error* error) {
                if (error) {
                    answer->returnError(*error);
                } else {
                    answer->returnResults(connection);
                }
            });
    });
}

void ApplicationsService::Ready()
{
    answering([this] { _applications.ready(callerName()); });
}

void ApplicationsService::Ending()
{
    answering([this] { _applications.ending(callerName()); });
}

} // namespace host
