#pragma once

#include "host/common/Timer.h"
#include "host/common/Wire.h"
#include "host/daemon/ClientWatch.h"
#include "host/daemon/DesktopVibrator.h"

#include <com.velmora.host.Vibration-adaptor.h>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace host {

/// Offers the vibrator on the bus; see com.velmora.host.Vibration.xml.
class VibrationService : public BusObject<com::velmora::host::Vibration_adaptor> {
public:
    VibrationService();

private:
    using WireEntry = sdbus::Struct<std::int32_t, std::int64_t, std::int64_t>;

    void Play(const std::int32_t& pattern) override;
    void Renew(const std::int32_t& pattern, const std::uint64_t& since) override;
    void Stop() override;
    std::vector<WireEntry> History() override;

    void _begin(int pattern, std::uint64_t since);
    void _step();
    void _stop();

    int _pattern = 0; ///< 0 while nothing runs
    std::uint64_t _since = 0; ///< when the pattern began, by monotonicNow()
    std::string _client;
    size_t _at = 0; ///< index of the pattern's next step
    std::unique_ptr<Timer> _timer; ///< of the next step
    std::deque<WireEntry> _history;
    DesktopVibrator _desktop;
    sdbus::Slot _clients;
};

} // namespace host
