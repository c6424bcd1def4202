#pragma once

#include "host/common/Bus.h"

#include <functional>
#include <string>

namespace host {

/// Calls gone with the unique name of each connection that leaves the bus, from the main loop,
/// until the result is dropped.
[[nodiscard]] sdbus::Slot watchClients(std::function<void(const std::string& client)> gone);

/// The unique name of the connection whose call the object is serving.
std::string callerOf(const sdbus::IObject& object);

} // namespace host
