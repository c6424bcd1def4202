#include "host/common/Signals.h"

#include "host/common/Bus.h"
#include "host/common/Log.h"

#include <exception>

namespace host {

namespace {

const char* const kBusName = "org.freedesktop.DBus";

// The bus stamps each message with its sender's unique name, or its own name. An exception must not
// pass through the bus library, which is written in C.
sdbus::Slot watchSender(sdbus::IConnection& connection, const std::string& sender,
    const std::string& interface, const std::string& member, const std::string& condition,
    std::function<bool(const std::string& sender)> isRight, SignalHandler handler)
{
    return connection.addMatch("type='signal',sender='" + sender + "',interface='"
            + interface + "',member='" + member + "'" + (condition.empty() ? "" : "," + condition),
        [what = interface + "." + member, isRight = std::move(isRight),
            handler = std::move(handler)](sdbus::Message& signal) {
            try {
                if (isRight(signal.getSender()))
                    handler(signal);
            } catch (const std::exception& error) {
                logWarning("a signal " + what + " is not handled: " + error.what());
            }
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

DaemonWatch::DaemonWatch(sdbus::IConnection& connection, OwnerChanged changed)
    : _connection(connection)
{
    _slots.push_back(
        watchBus(connection, "NameOwnerChanged", std::string("arg0='") + kDaemonName + "'",
            [this, changed = std::move(changed)](sdbus::Message& signal) {
                std::string name;
                std::string before;
                signal >> name >> before >> _owner;
                if (changed)
                    changed(_owner);
            }));
    try {
        sdbus::createProxy(connection, kBusName, "/org/freedesktop/DBus")
            ->callMethod("GetNameOwner")
            .onInterface(kBusName)
            .withArguments(std::string(kDaemonName))
            .storeResultsTo(_owner);
    } catch (const sdbus::Error& error) {
        if (error.getName() != "org.freedesktop.DBus.Error.NameHasNoOwner")
            throw;
    }
}

void DaemonWatch::watch(
    const std::string& interface, const std::string& member, SignalHandler handler)
{
    _slots.push_back(watchSender(
        _connection, kDaemonName, interface, member, "",
        [this](const std::string& sender) { return sender == _owner; }, std::move(handler)));
}

} // namespace host
