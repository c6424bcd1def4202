#pragma once

#include "host/daemon/Applications.h"
#include "host/daemon/ClientWatch.h"
#include "host/daemon/FocusArbiter.h"

#include <com.velmora.host.Focus-adaptor.h>
#include <Ecore.h>
#include <set>
#include <string>
#include <vector>

namespace host {

/// The arbiter of sound focus on the session's bus; see com.velmora.host.Focus.xml.
class FocusService : public sdbus::AdaptorInterfaces<com::velmora::host::Focus_adaptor> {
public:
    /// applications must outlive the service.
    explicit FocusService(Applications& applications);
    ~FocusService();

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

    static Eina_Bool _settleCb(void* data);

    Applications& _applications;
    FocusArbiter _arbiter;
    Ecore_Timer* _settling = nullptr;
    sdbus::Slot _clients;
};

} // namespace host
