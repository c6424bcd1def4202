#include "host/daemon/FocusService.h"

#include "host/common/Log.h"
#include "host/common/MonotonicTime.h"
#include "host/daemon/Answering.h"

#include <sound_manager.h>

namespace host {

namespace {

const char* const kLimitsExceeded = "org.freedesktop.DBus.Error.LimitsExceeded";

// Longer than running clients take to renew their claims.
const double kSettleSeconds = 1;
const size_t kMostStreams = 100; ///< of one program

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

FocusService::FocusService(Applications& applications)
    : _applications(applications)
    , _clients(watchClients([this](const std::string& client) {
        std::vector<FocusChange> changes;
        _arbiter.forgetClient(client, changes);
        _announce(changes);
    }))
{
}

std::uint64_t FocusService::Acquire(const std::uint32_t& stream, const std::int32_t& reason,
    const std::int32_t& mask, const std::int32_t& behavior, const std::string& info)
{
    return answering([&] {
        checkMask(mask);
        _checkCount({ _callersStream(stream) });
        std::vector<FocusChange> changes;
        const std::uint64_t now = monotonicNow();
        checkAnswer(_arbiter.acquire(
            _callersStream(stream), mask, { reason, behavior, info }, now, changes));
        _announce(changes);
        return now;
    });
}

void FocusService::Renew(const std::vector<WireClaim>& claims)
{
    if (claims.size() > 2 * kMostStreams)
        throw sdbus::Error(kLimitsExceeded, "A stream has two parts of the focus at the most");
    std::vector<FocusClaim> renewed;
    std::set<FocusStream> streams;
    for (const WireClaim& claim : claims) {
        streams.insert(_callersStream(claim.get<0>()));
        renewed.push_back(
            { claim.get<0>(), claim.get<1>(), claim.get<2>(), claim.get<3>(), claim.get<4>() });
    }
    answering([&] { _checkCount(std::move(streams)); });
    std::vector<FocusChange> changes;
    _arbiter.renew(callerName(), renewed, changes);
    _announce(changes);
    if (!_settling)
        _settling = std::make_unique<Timer>(kSettleSeconds, [this] { _settle(); });
}

void FocusService::_settle()
{
    _settling.reset();
    std::vector<FocusChange> changes;
    _arbiter.settle(changes);
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

void FocusService::Forget(const std::uint32_t& stream)
{
    std::vector<FocusChange> changes;
    _arbiter.forget(_callersStream(stream), changes);
    _announce(changes);
}

FocusStream FocusService::_callersStream(std::uint32_t number) const
{
    return { callerName(), number };
}

// Limits the streams of a program, since each one slows down every change of the focus, for
// everybody.
void FocusService::_checkCount(std::set<FocusStream> wanted)
{
    const std::string program = _applications.programBehind(callerName());
    for (const FocusStream& stream : _arbiter.streams()) {
        if (_applications.programBehind(stream.client) == program)
            wanted.insert(stream);
    }
    if (wanted.size() <= kMostStreams)
        return;
    const std::string text = program + " has " + std::to_string(kMostStreams)
        + " streams in the sound focus, which is the most";
    logWarning(text);
    throw sdbus::Error(kLimitsExceeded, text);
}

void FocusService::_announce(const std::vector<FocusChange>& changes)
{
    for (const FocusChange& change : changes) {
        emitChanged(change.stream.client, change.stream.number, change.mask, change.held,
            change.cause.reason, change.cause.behavior, change.cause.info);
    }
}

} // namespace host
