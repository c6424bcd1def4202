#pragma once

#include "host/common/Bus.h"
#include "host/daemon/AlarmSchedule.h"

#include <com.velmora.host.Tray-adaptor.h>
#include <string>
#include <vector>

namespace host {

/// The notification tray on the session's bus; see com.velmora.host.Tray.xml.
class TrayService final : public sdbus::AdaptorInterfaces<com::velmora::host::Tray_adaptor> {
public:
    /// Shows what schedule reports, which must outlive the service.
    explicit TrayService(AlarmSchedule& schedule);
    ~TrayService();

private:
    std::vector<sdbus::Struct<int64_t, std::string>> List() override;

    AlarmSchedule& _schedule;
};

} // namespace host
