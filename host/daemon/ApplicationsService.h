#pragma once

#include "host/common/Wire.h"
#include "host/daemon/Applications.h"

#include <com.velmora.host.Applications-adaptor.h>

namespace host {

/// Answers on the bus who is who; see com.velmora.host.Applications.xml.
class ApplicationsService final : public BusObject<com::velmora::host::Applications_adaptor> {
public:
    /// applications must outlive the service.
    explicit ApplicationsService(Applications& applications);

private:
    std::tuple<std::string, std::string> Identify(const std::string& connection) override;
    void Find(sdbus::Result<std::string>&& found, std::string application) override;
    void Ready() override;
    void Ending() override;

    Applications& _applications;
};

} // namespace host
