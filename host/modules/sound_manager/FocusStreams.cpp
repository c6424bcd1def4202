#include "FocusStreams.h"

#include "host/common/Log.h"
#include "host/common/MonotonicTime.h"

#include <vector>

using host::DaemonLink;

namespace {

const char* const kInterface = "com.velmora.host.Focus";
const char* const kPolicy = "com.velmora.host.Focus.Error.Policy";
const char* const kInvalidState = "com.velmora.host.Focus.Error.InvalidState";

using Claim = sdbus::Struct<std::uint32_t, std::int32_t, std::int32_t, std::uint64_t, bool>;

int bitOf(size_t part) { return 1 << part; }

// The values are those of the stream types, but "call" has been inserted before the last.
std::int32_t reasonOf(sound_stream_type_e type)
{
    return type == SOUND_STREAM_TYPE_MEDIA_EXTERNAL_ONLY
        ? SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA_EXTERNAL_ONLY
        : static_cast<int>(type);
}

int heldOf(const FocusStream& stream)
{
    int mask = 0;
    for (size_t at = 0; at < stream.parts.size(); ++at)
        mask |= stream.parts[at].isHeld ? bitOf(at) : 0;
    return mask;
}

void set(FocusStream& stream, int mask, const FocusStream::Part& part)
{
    for (size_t at = 0; at < stream.parts.size(); ++at) {
        if ((mask & bitOf(at)) != 0)
            stream.parts[at] = part;
    }
}

int refusalOf(const DaemonLink::Answer& answer)
{
    if (answer.error == kPolicy)
        return SOUND_MANAGER_ERROR_POLICY;
    if (answer.error == kInvalidState)
        return SOUND_MANAGER_ERROR_INVALID_STATE;
    host::logError("sound focus: " + answer.text);
    return SOUND_MANAGER_ERROR_INTERNAL;
}

} // namespace

FocusStreams& FocusStreams::instance()
{
    // Lives as long as the process, like its thread.
    static auto& streams = *new FocusStreams(DaemonLink::instance());
    return streams;
}

FocusStreams::FocusStreams(DaemonLink& link)
    : _link(link)
{
    _link.run([this] {
        _link.watch(kInterface, "Changed", [this](sdbus::Message& signal) { _changed(signal); });
        _link.addRenewal([this] { _renew(); });
    });
}

FocusStream* FocusStreams::add(
    sound_stream_type_e type, sound_stream_focus_state_changed_cb callback, void* userData)
{
    auto stream = std::make_unique<FocusStream>();
    stream->type = type;
    stream->callback = callback;
    stream->userData = userData;

    const std::lock_guard<std::mutex> lock(_mutex);
    stream->number = ++_lastNumber;
    return (_streams[stream->number] = std::move(stream)).get();
}

// Waits for a running callback, which may use the stream until it ends.
void FocusStreams::remove(FocusStream* stream)
{
    const std::uint32_t number = stream->number;
    {
        std::unique_lock<std::mutex> lock(_mutex);
        stream->isRemoved = true;
        if (!_callbacks.isCurrent())
            _idle.wait(lock, [=] { return _running != number; });
    }
    _link.ask(
        kInterface, "Forget",
        [=](const DaemonLink::Answer&) {
            const std::lock_guard<std::mutex> lock(_mutex);
            _streams.erase(number);
            return 0;
        },
        number);
}

int FocusStreams::acquire(FocusStream* stream, int mask, int behavior, const std::string& info)
{
    return _link.ask(
        kInterface, "Acquire",
        [=](const DaemonLink::Answer& answer) -> int {
            if (answer.isThere && !answer.error.empty())
                return refusalOf(answer);
            if (!answer.isThere && (heldOf(*stream) & mask) != 0)
                return SOUND_MANAGER_ERROR_INVALID_STATE;
            std::uint64_t since = host::monotonicNow();
            if (answer.values)
                *answer.values >> since;
            set(*stream, mask, { since, true });
            return SOUND_MANAGER_ERROR_NONE;
        },
        stream->number, reasonOf(stream->type), std::int32_t{ mask }, std::int32_t{ behavior },
        info);
}

int FocusStreams::release(FocusStream* stream, int mask, int behavior, const std::string& info)
{
    return _link.ask(
        kInterface, "Release",
        [=](const DaemonLink::Answer& answer) -> int {
            if (answer.isThere && !answer.error.empty())
                return refusalOf(answer);
            if (!answer.isThere && (heldOf(*stream) & mask) != mask)
                return SOUND_MANAGER_ERROR_INVALID_STATE;
            set(*stream, mask, {});
            return SOUND_MANAGER_ERROR_NONE;
        },
        stream->number, std::int32_t{ mask }, std::int32_t{ behavior }, info);
}

int FocusStreams::held(const FocusStream* stream)
{
    int mask = 0;
    _link.run([&] { mask = heldOf(*stream); });
    return mask;
}

void FocusStreams::_changed(sdbus::Message& signal)
{
    std::string client;
    News news;
    signal >> client;
    if (client != _link.client())
        return;
    signal >> news.number >> news.mask >> news.isHeld >> news.reason >> news.behavior >> news.info;

    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _streams.find(news.number);
    if (found == _streams.end())
        return;
    for (size_t at = 0; at < found->second->parts.size(); ++at) {
        FocusStream::Part& part = found->second->parts[at];
        if ((news.mask & bitOf(at)) != 0 && part.since != 0)
            part.isHeld = news.isHeld;
    }
    _callbacks.post([this, news] { _tell(news); });
}

void FocusStreams::_renew()
{
    std::vector<Claim> claims;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        for (const auto& [number, stream] : _streams) {
            for (size_t at = 0; at < stream->parts.size(); ++at) {
                const FocusStream::Part& part = stream->parts[at];
                if (part.since != 0) {
                    claims.emplace_back(
                        number, bitOf(at), reasonOf(stream->type), part.since, part.isHeld);
                }
            }
        }
    }
    _link.tell(kInterface, "Renew", nullptr, claims);
}

void FocusStreams::_tell(const News& news)
{
    FocusStream* stream = nullptr;
    sound_stream_focus_state_changed_cb callback = nullptr;
    void* userData = nullptr;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const auto found = _streams.find(news.number);
        if (found == _streams.end() || found->second->isRemoved || !found->second->callback)
            return;
        stream = found->second.get();
        callback = stream->callback;
        userData = stream->userData;
        _running = news.number;
    }
    callback(stream, static_cast<sound_stream_focus_mask_e>(news.mask),
        news.isHeld ? SOUND_STREAM_FOCUS_STATE_ACQUIRED : SOUND_STREAM_FOCUS_STATE_RELEASED,
        static_cast<sound_stream_focus_change_reason_e>(news.reason), news.behavior,
        news.info.empty() ? nullptr : news.info.c_str(), userData);
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _running = 0;
    }
    _idle.notify_all();
}
