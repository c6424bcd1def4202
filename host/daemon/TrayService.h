#pragma once

#include "host/common/Wire.h"
#include "host/daemon/AlarmSchedule.h"

#include <com.velmora.host.Tray-adaptor.h>
#include <string>
#include <vector>

namespace host {

/// Offers the notification tray on the bus; see com.velmora.host.Tray.xml.
class TrayService final : public BusObject<com::velmora::host::Tray_adaptor> {
public:
    /// Shows the reports of schedule, which must outlive the service.
    explicit TrayService(AlarmSchedule& schedule);

private:
    std::vector<sdbus::Struct<int64_t, std::string>> List() override;

    AlarmSchedule& _schedule;
};

} // namespace host
