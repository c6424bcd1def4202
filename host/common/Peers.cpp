#include "host/common/Peers.h"

namespace host {

namespace {

template <typename Result, typename... Arguments>
Result askBus(sdbus::IConnection& connection, const char* method, const Arguments&... arguments)
{
    Result result{};
    sdbus::createProxy(connection, kBusName, kBusPath)
        ->callMethod(method)
        .onInterface(kBusName)
        .withArguments(arguments...)
        .storeResultsTo(result);
    return result;
}

// The bus's answer about a name; an empty result when nobody owns the name.
template <typename Result>
Result askAbout(sdbus::IConnection& connection, const char* method, const std::string& name)
{
    try {
        return askBus<Result>(connection, method, name);
    } catch (const sdbus::Error& error) {
        if (error.getName() == "org.freedesktop.DBus.Error.NameHasNoOwner")
            return {};
        throw;
    }
}

} // namespace

std::string ownerOf(const std::string& name, sdbus::IConnection& connection)
{
    return askAbout<std::string>(connection, "GetNameOwner", name);
}

std::string busId(sdbus::IConnection& connection)
{
    return askBus<std::string>(connection, "GetId");
}

pid_t processOf(const std::string& connection)
{
    return static_cast<pid_t>(
        askAbout<std::uint32_t>(bus(), "GetConnectionUnixProcessID", connection));
}

bool hasEnded(const sdbus::Error& error)
{
    const std::string& name = error.getName();
    return name == kApplicationEnded || name == "org.freedesktop.DBus.Error.NameHasNoOwner"
        || name == "org.freedesktop.DBus.Error.ServiceUnknown";
}

void startService(const std::string& name)
{
    (void)askBus<std::uint32_t>(bus(), "StartServiceByName", name, std::uint32_t{ 0 });
}

} // namespace host
