#pragma once

#include "host/common/CallbackThread.h"
#include "host/common/DaemonLink.h"
#include "host/common/SoundStream.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

/// A stream of this process. hostd knows it by its number.
struct FocusStream : sound_stream_info_s {
    /// What the stream has of one part of the focus.
    struct Part {
        std::uint64_t since = 0; ///< when the part was taken; 0 = neither held nor waited for
        bool isHeld = false;
    };

    std::uint32_t number = 0;
    sound_stream_focus_state_changed_cb callback = nullptr;
    void* userData = nullptr;
    bool isRemoved = false;
    std::array<Part, 2> parts; ///< playback, recording; used on the link's thread only
};

/**
 * The streams of the process, and the thread that calls their callbacks. Any thread. hostd decides
 * which stream holds what; its decisions are kept here, to tell them to a new hostd, or to one that
 * hung.
 */
class FocusStreams {
public:
    /// Throws sdbus::Error without a bus.
    static FocusStreams& instance();

    FocusStream* add(
        sound_stream_type_e type, sound_stream_focus_state_changed_cb callback, void* userData);

    /// Destroys the stream, which gives up what it holds. Its callback does not run any more when
    /// this returns, unless the callback itself is the caller.
    void remove(FocusStream* stream);

    /// Both return SOUND_MANAGER_* codes. When hostd does not answer, they succeed and hostd learns
    /// of them later.
    int acquire(FocusStream* stream, int mask, int behavior, const std::string& info);
    int release(FocusStream* stream, int mask, int behavior, const std::string& info);

    /// The parts of the focus that the stream holds, as a mask.
    int held(const FocusStream* stream);

private:
    struct News {
        std::uint32_t number = 0;
        std::int32_t mask = 0;
        bool isHeld = false;
        std::int32_t reason = 0;
        std::int32_t behavior = 0;
        std::string info;
    };

    explicit FocusStreams(host::DaemonLink& link);

    void _changed(sdbus::Message& signal);
    void _renew();
    void _tell(const News& news);

    host::DaemonLink& _link;

    std::mutex _mutex; ///< guards what follows, up to _idle; no callback runs under it
    std::map<std::uint32_t, std::unique_ptr<FocusStream>> _streams;
    std::uint32_t _lastNumber = 0;
    std::uint32_t _running = 0; ///< number of the stream whose callback runs, else 0
    std::condition_variable _idle;

    host::CallbackThread _callbacks; ///< calls the streams' callbacks
};
