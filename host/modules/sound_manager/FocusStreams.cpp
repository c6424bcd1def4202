#include "FocusStreams.h"

#include "host/common/Log.h"

FocusStreams& FocusStreams::instance()
{
    // Lives as long as the process, like its thread.
    static auto& streams = *new FocusStreams;
    return streams;
}

FocusStreams::FocusStreams()
    : _connection(host::connectToBus())
    , _announcements(*_connection,
          [this](const std::string& client, std::uint32_t stream, int mask, bool held, int reason,
              int behavior, const std::string& info) {
              if (client == SoundService::instance().client())
                  _changed(stream, mask, held, reason, behavior, info);
          })
    , _thread([this] { _serve(); })
{
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

void FocusStreams::remove(FocusStream* stream)
{
    const std::uint32_t number = stream->number;
    std::unique_lock<std::mutex> lock(_mutex);
    // Freed at the end: until then the running callback may use it.
    const auto removed = _streams.extract(number);
    if (std::this_thread::get_id() != _thread.get_id())
        _idle.wait(lock, [=] { return _running != number; });
}

void FocusStreams::_serve()
{
    try {
        _connection->enterEventLoop();
    } catch (const sdbus::Error& error) {
        host::logWarning("no more news of sound focus: " + error.getMessage());
    }
}

void FocusStreams::_changed(
    std::uint32_t number, int mask, bool held, int reason, int behavior, const std::string& info)
{
    FocusStream* stream = nullptr;
    sound_stream_focus_state_changed_cb callback = nullptr;
    void* userData = nullptr;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const auto found = _streams.find(number);
        if (found == _streams.end() || !found->second->callback)
            return;
        stream = found->second.get();
        callback = stream->callback;
        userData = stream->userData;
        _running = number;
    }
    callback(stream, static_cast<sound_stream_focus_mask_e>(mask),
        held ? SOUND_STREAM_FOCUS_STATE_ACQUIRED : SOUND_STREAM_FOCUS_STATE_RELEASED,
        static_cast<sound_stream_focus_change_reason_e>(reason), behavior,
        info.empty() ? nullptr : info.c_str(), userData);
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _running = 0;
    }
    _idle.notify_all();
}
