#pragma once

#include "host/common/SoundStream.h"
#include "SoundService.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

/// A stream of this process, as hostd's arbiter knows it by its number.
struct FocusStream : sound_stream_info_s {
    std::uint32_t number = 0;
    sound_stream_focus_state_changed_cb callback = nullptr;
    void* userData = nullptr;
};

/**
 * The process's streams, and the thread that calls their callbacks. Any thread. hostd alone knows
 * who holds what, so there is no copy of it here that could be late.
 */
class FocusStreams {
public:
    /// Throws sdbus::Error without a bus.
    static FocusStreams& instance();

    FocusStream* add(
        sound_stream_type_e type, sound_stream_focus_state_changed_cb callback, void* userData);

    /// Frees the stream. Its callback does not run any more when this returns, unless it is the
    /// caller.
    void remove(FocusStream* stream);

private:
    FocusStreams();

    void _serve();
    void _changed(std::uint32_t number, int mask, bool held, int reason, int behavior,
        const std::string& info);

    std::mutex _mutex; ///< guards what follows, up to _idle; no callback runs under it
    std::map<std::uint32_t, std::unique_ptr<FocusStream>> _streams;
    std::uint32_t _lastNumber = 0;
    std::uint32_t _running = 0; ///< number of the stream whose callback runs, else 0
    std::condition_variable _idle;

    const std::unique_ptr<sdbus::IConnection> _connection;
    FocusProxy _announcements;
    std::thread _thread;
};
