#include "host/daemon/VibrationService.h"

#include "host/common/MonotonicTime.h"

#include <chrono>
#include <feedback.h>
#include <map>

namespace host {

namespace {

const size_t kHistoryLength = 100;

// The steps of each pattern: milliseconds on, off, on, ...; an even number.
const std::map<int, std::vector<int>> kPatterns = {
    { FEEDBACK_PATTERN_ALARM_VIB1_SHORT, { 400, 600 } },
    { FEEDBACK_PATTERN_ALARM_VIB1_LONG, { 1000, 1000 } },
    { FEEDBACK_PATTERN_ALARM_VIB2_SHORT, { 200, 200, 200, 600 } },
    { FEEDBACK_PATTERN_ALARM_VIB2_LONG, { 500, 300, 500, 900 } },
    { FEEDBACK_PATTERN_ALARM_VIB3_SHORT, { 150, 150, 150, 150, 150, 600 } },
    { FEEDBACK_PATTERN_ALARM_VIB3_LONG, { 400, 200, 400, 200, 400, 900 } },
    { FEEDBACK_PATTERN_ALARM_VIB4_SHORT, { 100, 100, 400, 600 } },
    { FEEDBACK_PATTERN_ALARM_VIB4_LONG, { 200, 200, 1000, 1000 } },
    { FEEDBACK_PATTERN_ALARM_VIB5_SHORT, { 100, 100, 100, 100, 100, 100, 100, 600 } },
    { FEEDBACK_PATTERN_ALARM_VIB5_LONG, { 250, 150, 250, 150, 250, 150, 250, 900 } },
};

std::int64_t nowMilliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace

VibrationService::VibrationService()
    : _clients(watchClients([this](const std::string& client) {
        if (client == _client)
            _stop();
    }))
{
}

void VibrationService::Play(const std::int32_t& pattern) { _begin(pattern, monotonicNow()); }

void VibrationService::Renew(const std::int32_t& pattern, const std::uint64_t& since)
{
    const bool runsAlready = pattern == _pattern && callerName() == _client;
    if (!runsAlready && (_pattern == 0 || _since < since))
        _begin(pattern, since);
}

void VibrationService::_begin(int pattern, std::uint64_t since)
{
    if (kPatterns.count(pattern) == 0) {
        throw sdbus::Error("org.freedesktop.DBus.Error.InvalidArgs",
            "There is no vibration pattern " + std::to_string(pattern));
    }
    _stop();
    _pattern = pattern;
    _since = since;
    _client = callerName();
    _at = 0;
    if (_history.size() == kHistoryLength)
        _history.pop_front();
    _history.emplace_back(pattern, nowMilliseconds(), 0);
    emitStarted(pattern);
    _desktop.begin();
    _step();
}

void VibrationService::Stop()
{
    if (callerName() == _client)
        _stop();
}

std::vector<VibrationService::WireEntry> VibrationService::History()
{
    return { _history.begin(), _history.end() };
}

void VibrationService::_step()
{
    const std::vector<int>& steps = kPatterns.at(_pattern);
    const int milliseconds = steps[_at];
    if (_at % 2 == 0)
        emitBuzzed(_pattern, milliseconds);
    _at = (_at + 1) % steps.size();
    _timer = std::make_unique<Timer>(milliseconds / 1000.0, [this] { _step(); });
}

void VibrationService::_stop()
{
    if (_pattern == 0)
        return;
    _timer.reset();
    _history.back().get<2>() = nowMilliseconds();
    emitStopped(_pattern);
    _desktop.end();
    _pattern = 0;
    _client.clear();
}

} // namespace host
