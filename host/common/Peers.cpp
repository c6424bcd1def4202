#include "host/common/Peers.h"

#include "host/common/Bus.h"

namespace host {

namespace {

template <typename Result, typename... Arguments>
Result askBus(const char* method, const Arguments&... arguments)
{
    const char* const name = "org.freedesktop.DBus";
    Result result{};
    sdbus::createProxy(bus(), name, "/org/freedesktop/DBus")
        ->callMethod(method)
        .onInterface(name)
        .withArguments(arguments...)
        .storeResultsTo(result);
    return result;
}

// The bus's answer about a name; an empty result when nobody owns the name.
template <typename Result>
Result askAbout(const char* method, const std::string& name)
{
    try {
        return askBus<Result>(method, name);
    } catch (const sdbus::Error& error) {
        if (error.getName() == "org.freedesktop.DBus.Error.NameHasNoOwner")
            return {};
        throw;
    }
}

} // namespace

std::string ownerOf(const std::string& name) { return askAbout<std::string>("GetNameOwner", name); }

pid_t processOf(const std::string& connection)
{
    return static_cast<pid_t>(askAbout<std::uint32_t>("GetConnectionUnixProcessID", connection));
}

void startService(const std::string& name)
{
    (void)askBus<std::uint32_t>("StartServiceByName", name, std::uint32_t{ 0 });
}

} // namespace host
