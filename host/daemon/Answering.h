#pragma once

#include <exception>
#include <sdbus-c++/Error.h>

namespace host {

/// Returns the result of call, the body of a D-Bus method. Exceptions become errors that the bus
/// library sends to the caller; those that it does not know would end the daemon.
template <typename Call>
auto answering(Call call)
{
    try {
        return call();
    } catch (const sdbus::Error&) {
        throw;
    } catch (const std::exception& error) {
        throw sdbus::Error("org.freedesktop.DBus.Error.Failed", error.what());
    }
}

} // namespace host
