#pragma once

#include "host/common/Bus.h"

#include <functional>
#include <string>

namespace host {

/// Calls gone with the unique name of each connection that leaves the bus, from the main loop,
/// until the result is dropped.
[[nodiscard]] sdbus::Slot watchClients(std::function<void(const std::string& client)> gone);

} // namespace host
