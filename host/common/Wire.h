#pragma once

#include "host/common/Bus.h"
#include "host/common/Entries.h"

#include <vector>

namespace host {

/// Entries as they travel on the bus.
using WireEntries = std::vector<sdbus::Struct<std::string, std::string>>;
WireEntries toWire(const Entries& entries);
Entries fromWire(const WireEntries& wire);

/// Calls hostd by one of its interfaces, given as the proxy class that is generated from it. Main
/// thread.
template <typename Interface>
class DaemonProxy : public sdbus::ProxyInterfaces<Interface> {
public:
    explicit DaemonProxy(sdbus::IConnection& connection = bus())
        : sdbus::ProxyInterfaces<Interface>(connection, kDaemonName, kDaemonPath)
    {
        this->registerProxy();
    }
    ~DaemonProxy() { this->unregisterProxy(); }
};

} // namespace host
