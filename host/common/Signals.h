#pragma once

#include "host/common/Bus.h"

#include <functional>
#include <sdbus-c++/sdbus-c++.h>
#include <string>
#include <vector>

namespace host {

/// Reads a signal's values and acts on them. An exception is logged and ends the handling of this
/// signal only.
using SignalHandler = std::function<void(sdbus::Message& signal)>;

/// Calls handler for the bus's own signals of this name, until the result is dropped. condition:
/// the match rule for their arguments, such as "arg2=''".
[[nodiscard]] sdbus::Slot watchBus(sdbus::IConnection& connection, const std::string& member,
    const std::string& condition, SignalHandler handler);

/**
 * Follows, on one connection, which process owns a bus name, and receives that one's signals. Since
 * any process can send any signal to anybody, a signal that does not come from the owner is
 * dropped. Belongs to the thread that serves the connection.
 */
class OwnerWatch {
public:
    /// owner: the unique name of the owner's connection, empty while there is none.
    using OwnerChanged = std::function<void(const std::string& owner)>;

    /// Throws sdbus::Error without a bus.
    OwnerWatch(sdbus::IConnection& connection, std::string name, OwnerChanged changed = nullptr);
    OwnerWatch(const OwnerWatch&) = delete;
    OwnerWatch& operator=(const OwnerWatch&) = delete;

    /// Calls handler for the owner's signals of this name as long as this object lives.
    void watch(const std::string& interface, const std::string& member, SignalHandler handler);

    const std::string& owner() const { return _owner; }

private:
    sdbus::IConnection& _connection;
    const std::string _name;
    std::string _owner;
    std::vector<sdbus::Slot> _slots;
};

/// Follows which process is hostd.
class DaemonWatch : public OwnerWatch {
public:
    explicit DaemonWatch(sdbus::IConnection& connection, OwnerChanged changed = nullptr)
        : OwnerWatch(connection, kDaemonName, std::move(changed))
    {
    }
};

} // namespace host
