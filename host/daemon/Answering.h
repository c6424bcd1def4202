#pragma once

#include "host/common/Log.h"
#include "host/daemon/LimitExceeded.h"

#include <exception>
#include <sdbus-c++/Error.h>
#include <stdexcept>
#include <string>

namespace host {

/// Names of D-Bus errors.
inline const char* const kAccessDenied = "org.freedesktop.DBus.Error.AccessDenied";
inline const char* const kInvalidArgs = "org.freedesktop.DBus.Error.InvalidArgs";

/// Returns the result of call, the body of a D-Bus method. Exceptions become errors that the bus
/// library sends to the caller; those that it does not know would end the daemon.
template <typename Call>
auto answering(Call call)
{
    try {
        return call();
    } catch (const sdbus::Error&) {
        throw;
    } catch (const std::invalid_argument& error) {
        throw sdbus::Error(kInvalidArgs, error.what());
    } catch (const LimitExceeded& error) {
        logWarning(std::string("A request is refused: ") + error.what());
        throw sdbus::Error("org.freedesktop.DBus.Error.LimitsExceeded", error.what());
    } catch (const std::exception& error) {
        throw sdbus::Error("org.freedesktop.DBus.Error.Failed", error.what());
    }
}

} // namespace host
