#include "GstTone.h"

#include "host/common/Log.h"

#include <chrono>
#include <player.h>
#include <stdexcept>

namespace {

const gint64 kBufferMicroseconds = 80000;
const gint64 kLatencyMicroseconds = 10000;
// How long a tone may take to settle: GStreamer now and then swallows the error of a broken file,
// and no message follows.
const std::chrono::seconds kLongestWait(3);
const int kPlayAudio = 1 << 1; ///< playbin's flag for sound, without video and subtitles

int errorCode(const GError& error)
{
    if (error.domain == GST_STREAM_ERROR)
        return PLAYER_ERROR_NOT_SUPPORTED_FILE;
    if (error.domain == GST_CORE_ERROR) {
        return error.code == GST_CORE_ERROR_MISSING_PLUGIN ? PLAYER_ERROR_NOT_SUPPORTED_FILE
                                                           : PLAYER_ERROR_INVALID_OPERATION;
    }
    if (error.domain != GST_RESOURCE_ERROR)
        return PLAYER_ERROR_INVALID_OPERATION;
    switch (error.code) {
    case GST_RESOURCE_ERROR_NOT_FOUND:
        return PLAYER_ERROR_NO_SUCH_FILE;
    case GST_RESOURCE_ERROR_NOT_AUTHORIZED:
    case GST_RESOURCE_ERROR_OPEN_READ:
        return PLAYER_ERROR_PERMISSION_DENIED;
    case GST_RESOURCE_ERROR_FAILED: // the sound server has ended
        return PLAYER_ERROR_SERVICE_DISCONNECTED;
    default:
        return PLAYER_ERROR_INVALID_OPERATION;
    }
}

} // namespace

GstTone::GstTone(const std::string& uri, const std::string& role, Events events)
    : _events(std::move(events))
{
    gst_init(nullptr, nullptr);
    GstElement* player = gst_element_factory_make("playbin", nullptr);
    if (!player)
        throw std::runtime_error("GStreamer has no playbin");
    _pipeline.reset(GST_ELEMENT(gst_object_ref_sink(player)));
    const Element sink = _makeSink(role);
    GstPad* pad = gst_element_get_static_pad(sink.get(), "sink");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_FLUSH, _flushCb, this, nullptr);
    gst_object_unref(pad);
    g_object_set(_pipeline.get(), "uri", uri.c_str(), "flags", kPlayAudio, "audio-sink", sink.get(),
        nullptr);
    GstBus* bus = gst_element_get_bus(_pipeline.get());
    gst_bus_set_sync_handler(bus, _messageCb, this, nullptr);
    gst_object_unref(bus);
    _isHandedOver.store(true, std::memory_order_release);
}

// The tone, for a thread of the pipeline: synchronises with the constructor, so that the thread
// sees all that it has written.
GstTone& GstTone::_handedOver(gpointer data)
{
    auto& tone = *static_cast<GstTone*>(data);
    (void)tone._isHandedOver.load(std::memory_order_acquire);
    return tone;
}

GstTone::~GstTone() { gst_element_set_state(_pipeline.get(), GST_STATE_NULL); }

// A sink to the sound server; null when the server cannot be reached.
GstTone::Element GstTone::_makeServerSink(const std::string& role)
{
    GstElement* pulse = gst_element_factory_make("pulsesink", nullptr);
    if (!pulse)
        return nullptr;
    Element sink(GST_ELEMENT(gst_object_ref_sink(pulse)));
    GstStructure* properties
        = gst_structure_new("properties", "media.role", G_TYPE_STRING, role.c_str(), nullptr);
    // The server asks for data when it needs them, and that is pace enough. By the stream's own
    // clock, the time for which a tone waits for its start would be played as silence.
    g_object_set(pulse, "sync", FALSE, "enable-last-sample", TRUE, "buffer-time",
        kBufferMicroseconds, "latency-time", kLatencyMicroseconds, "stream-properties", properties,
        nullptr);
    gst_structure_free(properties);
    if (gst_element_set_state(pulse, GST_STATE_READY) != GST_STATE_CHANGE_FAILURE)
        return sink;
    gst_element_set_state(pulse, GST_STATE_NULL);
    return nullptr;
}

// A sink to the sound server, else one that plays nothing, but at the right pace.
GstTone::Element GstTone::_makeSink(const std::string& role)
{
    Element sink = _makeServerSink(role);
    _isMute = !sink;
    if (sink)
        return sink;
    host::logWarning("There is no sound server: tones keep their time, but nobody hears them");
    sink.reset(GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("fakesink", nullptr))));
    g_object_set(sink.get(), "sync", TRUE, nullptr);
    return sink;
}

bool GstTone::isOutdated()
{
    if (!_isMute)
        return false;
    const Element sink = _makeServerSink("");
    if (!sink)
        return false;
    gst_element_set_state(sink.get(), GST_STATE_NULL);
    return true;
}

int GstTone::open()
{
    gst_element_set_state(_pipeline.get(), GST_STATE_PAUSED);
    // The flushing seek to the tone's beginning makes a pass end with a segment-done message rather
    // than the end of the stream. A tone without sound would never settle after a seek.
    const bool isReady = settle() && _hasSound() && _seek(0, GST_SEEK_FLAG_FLUSH) && settle();
    const std::lock_guard<std::mutex> lock(_mutex);
    _isOpen = isReady;
    if (isReady)
        return PLAYER_ERROR_NONE;
    return _error ? _error : PLAYER_ERROR_NOT_SUPPORTED_FILE;
}

void GstTone::cancel()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _isCancelled = true;
    _changed.notify_all();
}

bool GstTone::play()
{
    return gst_element_set_state(_pipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

bool GstTone::pause()
{
    return gst_element_set_state(_pipeline.get(), GST_STATE_PAUSED) != GST_STATE_CHANGE_FAILURE;
}

bool GstTone::seek(int milliseconds, bool isAccurate)
{
    const GstClockTime position = milliseconds * GST_MSECOND;
    gint64 length = 0;
    if (gst_element_query_duration(_pipeline.get(), GST_FORMAT_TIME, &length)
        && position >= static_cast<GstClockTime>(length))
        return false;
    return _seek(position,
        GST_SEEK_FLAG_FLUSH | (isAccurate ? GST_SEEK_FLAG_ACCURATE : GST_SEEK_FLAG_KEY_UNIT));
}

void GstTone::repeat(std::uint32_t pass)
{
    if (_pass != pass)
        return;
    _pass = gst_util_seqnum_next();
    _seek(0, GST_SEEK_FLAG_NONE);
}

bool GstTone::_seek(GstClockTime position, int flags)
{
    return gst_element_send_event(_pipeline.get(),
               gst_event_new_seek(1.0, GST_FORMAT_TIME,
                   static_cast<GstSeekFlags>(flags | GST_SEEK_FLAG_SEGMENT), GST_SEEK_TYPE_SET,
                   static_cast<gint64>(position), GST_SEEK_TYPE_NONE, 0))
        != FALSE;
}

// The old pass can still report its end until the flush of a seek is over. From here on a new pass
// runs.
GstPadProbeReturn GstTone::_flushCb(GstPad*, GstPadProbeInfo* info, gpointer data)
{
    if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_FLUSH_STOP)
        _handedOver(data)._pass = gst_util_seqnum_next();
    return GST_PAD_PROBE_OK;
}

bool GstTone::_hasSound()
{
    GstElement* sink = nullptr;
    g_object_get(_pipeline.get(), "audio-sink", &sink, nullptr);
    GstSample* first = nullptr;
    g_object_get(sink, "last-sample", &first, nullptr);
    gst_object_unref(sink);
    if (!first)
        return false;
    gst_sample_unref(first);
    return true;
}

bool GstTone::settle()
{
    std::unique_lock<std::mutex> lock(_mutex);
    const bool isDecided = _changed.wait_for(
        lock, kLongestWait, [this] { return _isCancelled || _error != 0 || _isSettled(); });
    return isDecided && !_isCancelled && _error == 0
        && gst_element_get_state(_pipeline.get(), nullptr, nullptr, 0) != GST_STATE_CHANGE_FAILURE;
}

bool GstTone::_isSettled() const
{
    return gst_element_get_state(_pipeline.get(), nullptr, nullptr, 0) != GST_STATE_CHANGE_ASYNC;
}

GstBusSyncReply GstTone::_messageCb(GstBus*, GstMessage* message, gpointer data)
{
    _handedOver(data)._handle(message);
    gst_message_unref(message);
    return GST_BUS_DROP;
}

void GstTone::_handle(GstMessage* message)
{
    switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ASYNC_DONE: {
        const std::lock_guard<std::mutex> lock(_mutex);
        _changed.notify_all();
        break;
    }
    case GST_MESSAGE_SEGMENT_DONE:
        _events.ended(_pass);
        break;
    case GST_MESSAGE_ERROR:
        _handleError(message);
        break;
    default:
        break;
    }
}

void GstTone::_handleError(GstMessage* message)
{
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    host::logWarning(std::string("A tone failed: ") + error->message);
    const int code = errorCode(*error);
    g_error_free(error);

    std::unique_lock<std::mutex> lock(_mutex);
    if (_error != 0)
        return;
    _error = code;
    _changed.notify_all();
    const bool isOpen = _isOpen;
    lock.unlock();
    if (isOpen)
        _events.failed(code);
}

extern "C" void loadTones()
{
    gst_init(nullptr, nullptr);
    for (const char* name : { "playbin", "pulsesink", "filesrc", "typefind", "oggdemux",
             "vorbisdec", "volume", "audioconvert", "audioresample" }) {
        GstElementFactory* factory = gst_element_factory_find(name);
        if (!factory)
            continue;
        if (GstPluginFeature* loaded = gst_plugin_feature_load(GST_PLUGIN_FEATURE(factory)))
            gst_object_unref(loaded);
        gst_object_unref(factory);
    }
}

extern "C" Tone* makeTone(const std::string& uri, const std::string& role, Tone::Events events)
{
    return new GstTone(uri, role, std::move(events));
}
