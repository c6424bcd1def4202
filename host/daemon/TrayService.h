#pragma once

#include "host/common/Wire.h"
#include "host/daemon/Applications.h"
#include "host/daemon/RequestSender.h"
#include "host/daemon/TrayStore.h"

#include <com.velmora.host.Tray-adaptor.h>
#include <functional>
#include <string>
#include <vector>

namespace host {

/// Offers the notification tray on the bus; see com.velmora.host.Tray.xml.
class TrayService final : public BusObject<com::velmora::host::Tray_adaptor> {
public:
    /// The arguments must outlive the service. changed is called when a notification comes or goes.
    TrayService(TrayStore& store, Applications& applications, RequestSender& sender,
        std::function<void()> changed);

private:
    using WireText = sdbus::Struct<int32_t, std::string, std::string>;
    using WireNotification = sdbus::Struct<int64_t, std::string, int64_t, std::string, int32_t,
        int32_t, int32_t, int64_t, std::vector<WireText>>;
    using WireCard = sdbus::Struct<std::string, std::string, int64_t, std::string, std::string,
        std::string, std::vector<std::string>>;

    int64_t Post(const std::string& tag, const int32_t& type, const int32_t& layout,
        const int32_t& displays, const int64_t& time, const std::vector<WireText>& texts) override;
    WireNotification Load(const std::string& tag) override;
    void Delete(const int64_t& id) override;
    void DeleteAll(const int32_t& type) override;
    std::vector<WireNotification> List() override;
    std::vector<WireCard> Show() override;
    std::vector<sdbus::Struct<int64_t, std::string>> Reports() override;
    void Press(sdbus::Result<std::string>&& pressed, std::string tag, int32_t button) override;

    Identity _caller();
    static WireNotification _toWire(const Notification& notification);

    TrayStore& _store;
    Applications& _applications;
    RequestSender& _sender;
    std::function<void()> _changed;
};

} // namespace host
