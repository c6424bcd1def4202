#pragma once

#include "host/daemon/ClientWatch.h"
#include "host/daemon/FocusArbiter.h"

#include <com.velmora.host.Focus-adaptor.h>
#include <string>
#include <vector>

namespace host {

/// The arbiter of sound focus on the session's bus; see com.velmora.host.Focus.xml.
class FocusService : public sdbus::AdaptorInterfaces<com::velmora::host::Focus_adaptor> {
public:
    FocusService();
    ~FocusService();

private:
    void Acquire(const std::uint32_t& stream, const std::int32_t& reason, const std::int32_t& mask,
        const std::int32_t& behavior, const std::string& info) override;
    void Release(const std::uint32_t& stream, const std::int32_t& mask,
        const std::int32_t& behavior, const std::string& info) override;
    std::int32_t Held(const std::uint32_t& stream) override;
    void Forget(const std::uint32_t& stream) override;

    FocusStream _callersStream(std::uint32_t number) const;
    void _announce(const std::vector<FocusChange>& changes);

    FocusArbiter _arbiter;
    sdbus::Slot _clients;
};

} // namespace host
