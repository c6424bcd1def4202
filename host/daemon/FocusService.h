#pragma once

#include "host/common/Timer.h"
#include "host/common/Wire.h"
#include "host/daemon/Applications.h"
#include "host/daemon/ClientWatch.h"
#include "host/daemon/FocusArbiter.h"

#include <com.velmora.host.Focus-adaptor.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace host {

/// Offers the arbiter of sound focus on the bus; see com.velmora.host.Focus.xml.
class FocusService : public BusObject<com::velmora::host::Focus_adaptor> {
public:
    /// applications must outlive the service.
    explicit FocusService(Applications& applications);

private:
    using WireClaim = sdbus::Struct<std::uint32_t, std::int32_t, std::int32_t, std::uint64_t, bool>;

    std::uint64_t Acquire(const std::uint32_t& stream, const std::int32_t& reason,
        const std::int32_t& mask, const std::int32_t& behavior, const std::string& info) override;
    void Renew(const std::vector<WireClaim>& claims) override;
    void Release(const std::uint32_t& stream, const std::int32_t& mask,
        const std::int32_t& behavior, const std::string& info) override;
    void Forget(const std::uint32_t& stream) override;

    FocusStream _callersStream(std::uint32_t number) const;
    void _checkCount(std::set<FocusStream> wanted);
    void _announce(const std::vector<FocusChange>& changes);

    void _settle();

    Applications& _applications;
    FocusArbiter _arbiter;
    std::unique_ptr<Timer> _settling;
    sdbus::Slot _clients;
};

} // namespace host
