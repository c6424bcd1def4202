#include "host/daemon/FocusService.h"

#include <sound_manager.h>

namespace host {

namespace {

void checkMask(int mask)
{
    if (mask < SOUND_STREAM_FOCUS_FOR_PLAYBACK || mask > SOUND_STREAM_FOCUS_FOR_BOTH) {
        throw sdbus::Error("org.freedesktop.DBus.Error.InvalidArgs",
            "The mask must name playback, recording or both");
    }
}

void checkAnswer(FocusAnswer answer)
{
    if (answer == FocusAnswer::InvalidState) {
        throw sdbus::Error("com.velmora.host.Focus.Error.InvalidState",
            "The stream holds a part already, or does not hold it");
    }
    if (answer == FocusAnswer::Policy) {
        throw sdbus::Error(
            "com.velmora.host.Focus.Error.Policy", "A call or an emergency holds the focus");
    }
}

} // namespace

FocusService::FocusService()
    : AdaptorInterfaces(bus(), kDaemonPath)
    , _clients(watchClients([this](const std::string& client) {
        std::vector<FocusChange> changes;
        _arbiter.forgetClient(client, changes);
        _announce(changes);
    }))
{
    registerAdaptor();
}

FocusService::~FocusService() { unregisterAdaptor(); }

void FocusService::Acquire(const std::uint32_t& stream, const std::int32_t& reason,
    const std::int32_t& mask, const std::int32_t& behavior, const std::string& info)
{
    checkMask(mask);
    std::vector<FocusChange> changes;
    checkAnswer(
        _arbiter.acquire(_callersStream(stream), mask, { reason, behavior, info }, changes));
    _announce(changes);
}

void FocusService::Release(const std::uint32_t& stream, const std::int32_t& mask,
    const std::int32_t& behavior, const std::string& info)
{
    checkMask(mask);
    std::vector<FocusChange> changes;
    checkAnswer(_arbiter.release(_callersStream(stream), mask, behavior, info, changes));
    _announce(changes);
}

std::int32_t FocusService::Held(const std::uint32_t& stream)
{
    return _arbiter.held(_callersStream(stream));
}

void FocusService::Forget(const std::uint32_t& stream)
{
    std::vector<FocusChange> changes;
    _arbiter.forget(_callersStream(stream), changes);
    _announce(changes);
}

FocusStream FocusService::_callersStream(std::uint32_t number) const
{
    return { callerOf(getObject()), number };
}

void FocusService::_announce(const std::vector<FocusChange>& changes)
{
    for (const FocusChange& change : changes) {
        emitChanged(change.stream.client, change.stream.number, change.mask, change.held,
            change.cause.reason, change.cause.behavior, change.cause.info);
    }
}

} // namespace host
