#pragma once

#include "host/common/Wire.h"
#include "host/daemon/AlarmSchedule.h"
#include "host/daemon/ClockWatch.h"

#include <com.velmora.host.Alarm-adaptor.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace host {

/// The schedule on the session's bus and the device's clock; see com.velmora.host.Alarm.xml.
class AlarmService final : public sdbus::AdaptorInterfaces<com::velmora::host::Alarm_adaptor> {
public:
    /// Exports the interface. Throws std::exception when the registrations cannot be opened.
    AlarmService();
    ~AlarmService();

    /// Begins to launch: only the daemon that owns the bus name may.
    void start();

    AlarmSchedule& schedule() { return _schedule; }

private:
    using Triple = sdbus::Struct<int32_t, int32_t, int32_t>;
    using WireAlarm = sdbus::Struct<int32_t, std::string, std::string, int64_t, Triple, int32_t>;

    int32_t Schedule(const std::string& package, const WireEntries& request, const Triple& date,
        const Triple& time, const int32_t& weekFlag) override;
    void Cancel(const std::string& package, const int32_t& id) override;
    std::vector<WireAlarm> List() override;

    void _launch(const Launch& launch);
    void _answered(int id, const sdbus::Error* error);
    void _clockChanged();
    void _update();

    AlarmSchedule _schedule;
    ClockWatch _clock;
    std::map<std::string, std::unique_ptr<sdbus::IProxy>> _targets;
    bool _started = false;
    bool _failedAtOnce = false;
};

} // namespace host
