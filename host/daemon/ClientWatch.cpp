#include "host/daemon/ClientWatch.h"

#include "host/common/Signals.h"

namespace host {

sdbus::Slot watchClients(std::function<void(const std::string& client)> gone)
{
    return watchBus(
        bus(), "NameOwnerChanged", "arg2=''", [gone = std::move(gone)](sdbus::Message& change) {
            std::string name;
            change >> name;
            if (name.front() == ':')
                gone(name);
        });
}

} // namespace host
