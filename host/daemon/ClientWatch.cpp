#include "host/daemon/ClientWatch.h"

namespace host {

sdbus::Slot watchClients(std::function<void(const std::string& client)> gone)
{
    return bus().addMatch("type='signal',sender='org.freedesktop.DBus',"
                          "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''",
        [gone = std::move(gone)](sdbus::Message& change) {
            std::string name;
            change >> name;
            if (name.front() == ':')
                gone(name);
        });
}

std::string callerOf(const sdbus::IObject& object)
{
    const sdbus::Message* message = object.getCurrentlyProcessedMessage();
    return message ? message->getSender() : "";
}

} // namespace host
