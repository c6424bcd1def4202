#include "MicrophoneWatch.h"

#include <cstring>
#include <pulse/operation.h>
#include <pulse/rtclock.h>
#include <pulse/timeval.h>

namespace {

const pa_usec_t kLongestLook = 100 * PA_USEC_PER_MSEC;

void forget(pa_operation* operation)
{
    if (operation)
        pa_operation_unref(operation);
}

// Whether a client records by the stream. A stream without a client is the server's own, and one
// that is resampled to peaks is the level meter of a volume control.
bool isRecording(const pa_source_output_info& stream)
{
    return stream.client != PA_INVALID_INDEX
        && (!stream.resample_method || strcmp(stream.resample_method, "peaks") != 0);
}

} // namespace

MicrophoneWatch& MicrophoneWatch::instance()
{
    // Lives as long as the process, like its thread.
    static auto& watch = *new MicrophoneWatch;
    return watch;
}

MicrophoneWatch::MicrophoneWatch()
    : _loop(pa_threaded_mainloop_new())
{
    pa_threaded_mainloop_start(_loop);
}

Microphone MicrophoneWatch::look()
{
    pa_threaded_mainloop_lock(_loop);
    _connect();
    if (!_isAnswered)
        _waitForAnswer();
    const Microphone seen = _seen;
    pa_threaded_mainloop_unlock(_loop);
    return seen;
}

void MicrophoneWatch::_waitForAnswer()
{
    pa_time_event* timer
        = pa_context_rttime_new(_context, pa_rtclock_now() + kLongestLook, _timeCb, this);
    while (!_isAnswered)
        pa_threaded_mainloop_wait(_loop);
    pa_threaded_mainloop_get_api(_loop)->time_free(timer);
}

void MicrophoneWatch::_timeCb(pa_mainloop_api*, pa_time_event*, const timeval*, void* data)
{
    auto* watch = static_cast<MicrophoneWatch*>(data);
    watch->_isAnswered = true;
    pa_threaded_mainloop_signal(watch->_loop, 0);
}

void MicrophoneWatch::_connect()
{
    if (_context && PA_CONTEXT_IS_GOOD(pa_context_get_state(_context)))
        return;
    if (_context) {
        pa_context_set_state_callback(_context, nullptr, nullptr);
        pa_context_unref(_context);
    }
    _isAsking = false;
    _isAnswered = false;
    _context = pa_context_new(pa_threaded_mainloop_get_api(_loop), "microphone watch");
    pa_context_set_state_callback(_context, _stateCb, this);
    pa_context_set_subscribe_callback(_context, _eventCb, this);
    if (pa_context_connect(_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        _show({});
}

void MicrophoneWatch::_stateCb(pa_context* context, void* data)
{
    auto* watch = static_cast<MicrophoneWatch*>(data);
    const pa_context_state_t state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY) {
        const auto kinds = static_cast<pa_subscription_mask_t>(
            PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SOURCE_OUTPUT);
        forget(pa_context_subscribe(context, kinds, nullptr, nullptr));
        watch->_ask();
    } else if (!PA_CONTEXT_IS_GOOD(state)) {
        watch->_show({});
    }
}

void MicrophoneWatch::_eventCb(pa_context*, pa_subscription_event_type_t, uint32_t, void* data)
{
    static_cast<MicrophoneWatch*>(data)->_ask();
}

// Asks for the sources, then for the streams from them. The server answers both before it sends a
// later event.
void MicrophoneWatch::_ask()
{
    _isStale = _isAsking;
    if (_isAsking)
        return;
    _isAsking = true;
    _microphones.clear();
    _recording = 0;
    _paused = 0;
    forget(pa_context_get_source_info_list(_context, _sourceCb, this));
    forget(pa_context_get_source_output_info_list(_context, _streamCb, this));
}

void MicrophoneWatch::_sourceCb(pa_context*, const pa_source_info* info, int end, void* data)
{
    if (end == 0 && info->monitor_of_sink == PA_INVALID_INDEX)
        static_cast<MicrophoneWatch*>(data)->_microphones.insert(info->index);
}

void MicrophoneWatch::_streamCb(pa_context*, const pa_source_output_info* info, int end, void* data)
{
    auto* watch = static_cast<MicrophoneWatch*>(data);
    if (end == 0) {
        if (isRecording(*info) && watch->_microphones.count(info->source) != 0)
            ++(info->corked ? watch->_paused : watch->_recording);
        return;
    }
    watch->_isAsking = false;
    Microphone seen{ !watch->_microphones.empty(), RECORDER_DEVICE_STATE_IDLE };
    if (watch->_recording > 0) {
        seen.state = RECORDER_DEVICE_STATE_RECORDING;
    } else if (watch->_paused > 0) {
        seen.state = RECORDER_DEVICE_STATE_PAUSED;
    }
    if (end > 0)
        watch->_show(seen);
    if (watch->_isStale)
        watch->_ask();
}

void MicrophoneWatch::_show(const Microphone& seen)
{
    _seen = seen;
    _isAnswered = true;
    pa_threaded_mainloop_signal(_loop, 0);
}

extern "C" void lookAtMicrophone(Microphone& seen) { seen = MicrophoneWatch::instance().look(); }
