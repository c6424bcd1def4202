#pragma once

#include "Tone.h"

#include <atomic>
#include <condition_variable>
#include <gst/gst.h>
#include <memory>
#include <mutex>

/// A tone played by a GStreamer pipeline.
class GstTone : public Tone {
public:
    GstTone(const std::string& uri, const std::string& role, Events events);
    ~GstTone() override;

    int open() override;
    void cancel() override;
    bool play() override;
    bool pause() override;
    bool seek(int milliseconds, bool isAccurate) override;
    bool settle() override;
    void repeat(std::uint32_t pass) override;
    bool isOutdated() override;

private:
    struct Unref {
        void operator()(GstElement* element) const { gst_object_unref(element); }
    };
    using Element = std::unique_ptr<GstElement, Unref>;

    static GstBusSyncReply _messageCb(GstBus* bus, GstMessage* message, gpointer data);
    static GstPadProbeReturn _flushCb(GstPad* pad, GstPadProbeInfo* info, gpointer data);
    static GstTone& _handedOver(gpointer data);
    static Element _makeServerSink(const std::string& role);
    Element _makeSink(const std::string& role);
    void _handle(GstMessage* message);
    void _handleError(GstMessage* message);
    bool _seek(GstClockTime position, int flags);
    bool _hasSound(); ///< only after the pipeline has settled
    bool _isSettled() const;

    const Events _events;
    bool _isMute = false; ///< there was no sound server to play on
    Element _pipeline;
    std::atomic<bool> _isHandedOver{ false }; ///< the constructor's work, to the pipeline's threads
    std::atomic<std::uint32_t> _pass{
        0
    }; ///< the number of the running pass, unique in the process

    std::mutex _mutex; ///< guards what follows; held only for a moment
    std::condition_variable _changed;
    bool _isCancelled = false;
    bool _isOpen = false;
    int _error = 0;
};
