#pragma once

#include "Microphone.h"

#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/subscribe.h>
#include <pulse/thread-mainloop.h>
#include <set>

/**
 * Follows what the clients of the sound server record, on a thread of its own. A client records
 * when it has a stream from a source that is not the monitor of a sink, unless the stream is a
 * meter. Any thread.
 */
class MicrophoneWatch {
public:
    static MicrophoneWatch& instance();

    Microphone look();

private:
    MicrophoneWatch();

    static void _stateCb(pa_context* context, void* data);
    static void _eventCb(
        pa_context* context, pa_subscription_event_type_t type, uint32_t index, void* data);
    static void _sourceCb(pa_context* context, const pa_source_info* info, int end, void* data);
    static void _streamCb(
        pa_context* context, const pa_source_output_info* info, int end, void* data);
    static void _timeCb(
        pa_mainloop_api* api, pa_time_event* event, const timeval* time, void* data);

    void _waitForAnswer();
    void _connect(); ///< unless there is a working connection
    void _ask();
    void _show(const Microphone& seen);

    pa_threaded_mainloop* const _loop; ///< its lock guards the other members
    pa_context* _context = nullptr;
    bool _isAnswered = false;
    Microphone _seen;

    bool _isAsking = false;
    bool _isStale = false; ///< something has changed since the running question
    std::set<uint32_t> _microphones; ///< from the answers so far, as are the counts
    int _recording = 0;
    int _paused = 0;
};
