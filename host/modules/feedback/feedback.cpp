#include "feedback.h"

#include "host/common/Bus.h"
#include "host/common/Log.h"

#include <atomic>
#include <com.velmora.host.Vibration-proxy.h>
#include <exception>
#include <mutex>

namespace {

std::atomic<bool> initialized{ false };

// The process's own line to hostd's vibrator, for calls from any thread. The vibration ends with
// it, so it lives as long as the process.
class Vibrator : public sdbus::ProxyInterfaces<com::velmora::host::Vibration_proxy> {
public:
    static Vibrator& instance()
    {
        static auto& vibrator = *new Vibrator(*host::connectToBus().release());
        return vibrator;
    }

    void play(int pattern)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        Play(pattern);
    }

    // There is nothing that an answer could tell, so a daemon that hangs holds up nobody.
    void stop()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        getProxy().callMethod("Stop").onInterface(INTERFACE_NAME).dontExpectReply();
    }

private:
    explicit Vibrator(sdbus::IConnection& connection)
        : ProxyInterfaces(connection, host::kDaemonName, host::kDaemonPath)
    {
    }

    void onStarted(const std::int32_t&) override {}
    void onBuzzed(const std::int32_t&, const std::int32_t&) override {}
    void onStopped(const std::int32_t&) override {}

    std::mutex _mutex;
};

template <typename Call>
int askVibrator(Call call)
{
    try {
        call(Vibrator::instance());
        return FEEDBACK_ERROR_NONE;
    } catch (const std::exception& error) {
        host::logError(std::string("vibrator: ") + error.what());
        return FEEDBACK_ERROR_OPERATION_FAILED;
    }
}

bool isPattern(int pattern)
{
    return pattern >= FEEDBACK_PATTERN_ALARM_VIB1_SHORT
        && pattern <= FEEDBACK_PATTERN_ALARM_VIB5_LONG;
}

} // namespace

extern "C" int feedback_initialize(void)
{
    initialized = true;
    return FEEDBACK_ERROR_NONE;
}

extern "C" int feedback_play_type(feedback_type_e type, feedback_pattern_e pattern)
{
    if (!initialized)
        return FEEDBACK_ERROR_NOT_INITIALIZED;
    if (type == FEEDBACK_TYPE_SOUND)
        return FEEDBACK_ERROR_NOT_SUPPORTED;
    if (type != FEEDBACK_TYPE_VIBRATION || !isPattern(pattern))
        return FEEDBACK_ERROR_INVALID_PARAMETER;
    return askVibrator([=](Vibrator& vibrator) { vibrator.play(pattern); });
}

extern "C" int feedback_stop(void)
{
    if (!initialized)
        return FEEDBACK_ERROR_NOT_INITIALIZED;
    return askVibrator([](Vibrator& vibrator) { vibrator.stop(); });
}
