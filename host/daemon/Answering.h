#pragma once

#include <exception>
#include <sdbus-c++/Error.h>

namespace host {

/// What call returns. An exception that the bus library does not know is thrown as an error that it
/// sends to the caller: it would end the daemon.
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
