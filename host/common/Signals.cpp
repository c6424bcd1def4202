#include "host/common/Signals.h"

#include "host/common/Boundary.h"
#include "host/common/Peers.h"

namespace host {

namespace {

// The bus stamps each message with its sender's unique name, or with org.freedesktop.DBus for its
// own.
sdbus::Slot watchSender(sdbus::IConnection& connection, const std::string& sender,
    const std::string& interface, const std::string& member, const std::string& condition,
    std::function<bool(const std::string& sender)> isRight, SignalHandler handler)
{
    return connection.addMatch("type='signal',sender='" + sender + "',interface='"
            + interface + "',member='" + member + "'" + (condition.empty() ? "" : "," + condition),
        [what = "a signal " + interface + "." + member + " is not handled",
            isRight = std::move(isRight), handler = std::move(handler)](sdbus::Message& signal) {
            guarded(what.c_str(), [&] {
                if (isRight(signal.getSender()))
                    handler(signal);
            });
        });
}

} // namespace

sdbus::Slot watchBus(sdbus::IConnection& connection, const std::string& member,
    const std::string& condition, SignalHandler handler)
{
    return watchSender(
        connection, kBusName, kBusName, member, condition,
        [](const std::string& sender) { return sender == kBusName; }, std::move(handler));
}

OwnerWatch::OwnerWatch(sdbus::IConnection& connection, std::string name, OwnerChanged changed)
    : _connection(connection)
    , _name(std::move(name))
{
    _slots.push_back(watchBus(connection, "NameOwnerChanged", "arg0='" + _name + "'",
        [this, changed = std::move(changed)](sdbus::Message& signal) {
            std::string same;
            std::string before;
            signal >> same >> before >> _owner;
            if (changed)
                changed(_owner);
        }));
    _owner = ownerOf(_name, connection);
}

void OwnerWatch::watch(
    const std::string& interface, const std::string& member, SignalHandler handler)
{
    _slots.push_back(watchSender(
        _connection, _name, interface, member, "",
        [this](const std::string& sender) { return sender == _owner; }, std::move(handler)));
}

} // namespace host
