#pragma once

#include "host/common/Bus.h"
#include "host/common/Entries.h"

#include <vector>

namespace host {

/// Entries as they travel on the bus.
using WireEntries = std::vector<sdbus::Struct<std::string, std::string>>;
WireEntries toWire(const Entries& entries);
Entries fromWire(const WireEntries& wire);

/// Serves one of our interfaces, given as the adaptor class that is generated from it, by default
/// at hostd's path. The bus's calls come from the main loop, so none comes while a derived class is
/// made or destroyed.
template <typename Interface>
class BusObject : public sdbus::AdaptorInterfaces<Interface> {
public:
    explicit BusObject(const char* path = kDaemonPath)
        : sdbus::AdaptorInterfaces<Interface>(bus(), path)
    {
        this->registerAdaptor();
    }
    ~BusObject() { this->unregisterAdaptor(); }

protected:
    /// The unique name of the connection whose call the object is serving.
    std::string callerName() const
    {
        const sdbus::Message* message = this->getObject().getCurrentlyProcessedMessage();
        return message ? message->getSender() : "";
    }
};

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
