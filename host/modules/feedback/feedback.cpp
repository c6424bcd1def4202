#include "feedback.h"

#include "host/common/Boundary.h"
#include "host/common/DaemonLink.h"
#include "host/common/MonotonicTime.h"

#include <atomic>
#include <cstdint>

namespace {

using host::DaemonLink;

const char* const kInterface = "com.velmora.host.Vibration";

std::atomic<bool> initialized{ false };

/// The vibration of this process. It outlives a daemon: a new one is told to go on with it.
class Vibration {
public:
    static Vibration& instance()
    {
        static auto& vibration = *new Vibration(DaemonLink::instance());
        return vibration;
    }

    int play(int pattern)
    {
        const std::uint64_t now = host::monotonicNow();
        return _link.ask(
            kInterface, "Play",
            [=](const DaemonLink::Answer& answer) {
                if (answer.isThere && !answer.error.empty()) {
                    host::logError("vibrator: " + answer.text);
                    return static_cast<int>(FEEDBACK_ERROR_OPERATION_FAILED);
                }
                _pattern = pattern;
                _since = now;
                _isKnown = answer.isThere;
                return static_cast<int>(FEEDBACK_ERROR_NONE);
            },
            pattern);
    }

    // Does not wait, since the answer would say nothing.
    void stop()
    {
        _link.run([this] {
            _pattern = 0;
            if (_link.listens())
                _link.tell(kInterface, "Stop", nullptr);
        });
    }

private:
    explicit Vibration(DaemonLink& link)
        : _link(link)
    {
        _link.run([this] {
            _link.watch(kInterface, "Stopped", [this](sdbus::Message&) {
                // hostd reports the end of this process's pattern only after it has confirmed its
                // beginning; before that, the signal is about another process's.
                if (_isKnown)
                    _pattern = 0;
            });
            _link.addRenewal([this] { _renew(); });
        });
    }

    void _renew()
    {
        _isKnown = false;
        if (_pattern == 0) {
            _link.tell(kInterface, "Stop", nullptr);
            return;
        }
        const auto renewed = [this, since = _since](const DaemonLink::Answer& answer) {
            if (_since == since)
                _isKnown = answer.isThere;
            return 0;
        };
        _link.tell(kInterface, "Renew", renewed, std::int32_t{ _pattern }, _since);
    }

    DaemonLink& _link;
    // Used on the link's thread only:
    int _pattern = 0; ///< 0 = none
    std::uint64_t _since = 0; ///< when the pattern began
    bool _isKnown = false; ///< hostd has confirmed that the pattern runs, and not reported its end
};

template <typename Call>
int askVibration(const Call& call)
{
    return host::guarded("vibrator", FEEDBACK_ERROR_OPERATION_FAILED,
        [&]() -> int { return call(Vibration::instance()); });
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
    return askVibration([=](Vibration& vibration) { return vibration.play(pattern); });
}

extern "C" int feedback_stop(void)
{
    if (!initialized)
        return FEEDBACK_ERROR_NOT_INITIALIZED;
    return askVibration([](Vibration& vibration) {
        vibration.stop();
        return FEEDBACK_ERROR_NONE;
    });
}
