#pragma once

#include "host/common/Wire.h"
#include "host/daemon/AlarmSchedule.h"
#include "host/daemon/Applications.h"
#include "host/daemon/ClockWatch.h"
#include "host/daemon/RequestSender.h"

#include <com.velmora.host.Alarm-adaptor.h>
#include <memory>
#include <string>
#include <vector>

namespace host {

/// Offers the schedule on the bus, and runs it by the device's clock; see
/// com.velmora.host.Alarm.xml.
class AlarmService final : public BusObject<com::velmora::host::Alarm_adaptor> {
public:
    /// Exports the interface. The arguments must outlive the service. Throws std::exception when
    /// the registrations cannot be opened.
    AlarmService(Applications& applications, RequestSender& sender, TrayStore& tray);

    /// Starts launching alarms. Only the daemon that owns the bus name may do that.
    void start();

private:
    using Triple = sdbus::Struct<int32_t, int32_t, int32_t>;
    using WireAlarm = sdbus::Struct<int32_t, std::string, std::string, int64_t, Triple, int32_t>;

    int32_t Schedule(const WireEntries& request, const Triple& date, const Triple& time,
        const int32_t& weekFlag) override;
    void Cancel(const int32_t& id) override;
    std::vector<int32_t> Own() override;
    std::tuple<int64_t, int32_t> Get(const int32_t& id) override;
    std::vector<WireAlarm> List() override;

    std::string _callersPackage();
    void _launch(const Launch& launch);
    void _answered(const Launch& launch, const sdbus::Error* error);
    void _clockChanged();
    void _update();
    void _updateSoon();

    Applications& _applications;
    RequestSender& _sender;
    AlarmSchedule _schedule;
    ClockWatch _clock;
    bool _started = false;
    std::unique_ptr<Timer> _soon; ///< while an update is due in this turn of the loop
};

} // namespace host
