#pragma once

#include "host/common/Wire.h"
#include "host/daemon/Mixer.h"

#include <com.velmora.host.Volume-adaptor.h>

namespace host {

/// Offers the volume levels on the bus and keeps them in the settings; see
/// com.velmora.host.Volume.xml.
class VolumeService : public BusObject<com::velmora::host::Volume_adaptor> {
public:
    VolumeService();

private:
    std::int32_t Get(const std::int32_t& type) override;
    void Set(const std::int32_t& type, const std::int32_t& level) override;

    Mixer _mixer;
};

} // namespace host
