#pragma once

#include "host/common/Bus.h"

#include <com.velmora.host.Focus-proxy.h>
#include <com.velmora.host.Volume-proxy.h>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

/// hostd's focus over some connection.
class FocusProxy : public sdbus::ProxyInterfaces<com::velmora::host::Focus_proxy> {
public:
    using Changed = std::function<void(const std::string& client, std::uint32_t stream, int mask,
        bool held, int reason, int behavior, const std::string& info)>;

    /// Announcements go to changed, if there is one.
    explicit FocusProxy(sdbus::IConnection& connection, Changed changed = nullptr)
        : ProxyInterfaces(connection, host::kDaemonName, host::kDaemonPath)
        , _changed(std::move(changed))
    {
        if (_changed)
            registerProxy();
    }

private:
    void onChanged(const std::string& client, const std::uint32_t& stream, const std::int32_t& mask,
        const bool& held, const std::int32_t& reason, const std::int32_t& behavior,
        const std::string& info) override
    {
        _changed(client, stream, mask, held, reason, behavior, info);
    }

    const Changed _changed;
};

/// hostd's volumes over some connection.
class VolumeProxy : public sdbus::ProxyInterfaces<com::velmora::host::Volume_proxy> {
public:
    explicit VolumeProxy(sdbus::IConnection& connection)
        : ProxyInterfaces(connection, host::kDaemonName, host::kDaemonPath)
    {
    }
};

/// The process's line to hostd for sound, for calls from any thread. It is not the line on which
/// announcements come, so a call never waits for a callback. Errors are thrown as sdbus::Error.
class SoundService {
public:
    static SoundService& instance();

    /// The name under which hostd knows this process's streams.
    const std::string& client() const { return _client; }

    template <typename Call>
    auto focus(Call call)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return call(_focus);
    }

    template <typename Call>
    auto volume(Call call)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return call(_volume);
    }

private:
    SoundService();

    const std::unique_ptr<sdbus::IConnection> _connection;
    const std::string _client;
    std::mutex _mutex; ///< guards the proxies
    FocusProxy _focus;
    VolumeProxy _volume;
};
