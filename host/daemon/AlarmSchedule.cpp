#include "host/daemon/AlarmSchedule.h"

#include "host/common/Log.h"

#include <algorithm>
#include <app_alarm.h>
#include <set>
#include <SQLiteCpp/Exception.h>
#include <stdexcept>

namespace host {

namespace {

const std::int64_t kLatestSeconds = 1800; ///< half an hour: from this age on an alert is missed
const std::int64_t kFarBackSeconds = 43200; ///< twelve hours
const std::int64_t kSaveAgainSeconds = 60;
const std::int64_t kLongestPauseSeconds = 60; ///< between two sendings of one alert
/// The bus bounds how many calls of one connection may be open.
const std::size_t kMostFlights = 64;

void refuseUnless(bool good, const char* text)
{
    if (!good)
        throw std::invalid_argument(text);
}

const std::string& checkedApplication(const Entries& request)
{
    std::set<std::string> keys;
    for (const auto& entry : request) {
        refuseUnless(!entry.first.empty(), "The request has an entry without key");
        refuseUnless(keys.insert(entry.first).second, "The request has a key twice");
    }
    const std::string* application = findEntry(request, kApplicationIdKey);
    refuseUnless(application && !application->empty(), "The request names no application");
    return *application;
}

void checkTime(const AlarmTime& time)
{
    refuseUnless(time.hour >= 0 && time.hour < 24, "The hour is not within 0..23");
    refuseUnless(time.minute >= 0 && time.minute < 60, "The minute is not within 0..59");
    refuseUnless(time.second >= 0 && time.second < 60, "The second is not within 0..59");
    refuseUnless(time.weekSet >= 0 && time.weekSet < 128, "The week flag is not within 0..127");
    if (time.firstDay) {
        const auto year = time.firstDay->year();
        refuseUnless(year >= 1900 && year <= 9999, "The year is not within 1900..9999");
    }
}

Launch launchFor(const Alarm& alarm, Entries request)
{
    const std::string id = std::to_string(alarm.id);
    const auto old = std::find_if(request.begin(), request.end(),
        [](const auto& entry) { return entry.first == APP_CONTROL_DATA_ALARM_ID; });
    if (old != request.end()) {
        old->second = id;
    } else {
        request.emplace_back(APP_CONTROL_DATA_ALARM_ID, id);
    }

    std::string once = "alarm:" + id + ":" + std::to_string(alarm.due);
    if (alarm.round > 0)
        once += ":" + std::to_string(alarm.round);
    return { alarm.id, alarm.application, std::move(request), std::move(once) };
}

} // namespace

AlarmSchedule::AlarmSchedule(
    const std::string& path, Clock clock, const cctz::time_zone& zone, Launcher launcher)
    : _store(path, clock.now())
    , _clock(std::move(clock))
    , _zone(zone)
    , _launcher(std::move(launcher))
    , _offset(_clock.now() - _clock.elapsed())
{
}

int AlarmSchedule::schedule(
    const std::string& package, const Entries& request, const AlarmTime& time)
{
    refuseUnless(!package.empty(), "The package is empty");
    checkTime(time);
    Alarm alarm;
    alarm.package = package;
    alarm.application = checkedApplication(request);
    alarm.request = encodeEntries(request);
    alarm.time = time;
    alarm.since = _clock.now();
    alarm.due = nextOccurrence(alarm.since, time, _zone);
    return _store.add(alarm);
}

bool AlarmSchedule::cancel(const std::string& package, int id)
{
    if (!_store.remove(id, package))
        return false;
    _flights.erase(id);
    _rung.erase(id);
    return true;
}

void AlarmSchedule::clockChanged(const cctz::time_zone& zone)
{
    const std::int64_t offset = _clock.now() - _clock.elapsed();
    if (_offset - offset > kFarBackSeconds)
        _wentFarBack = true;
    _offset = offset;
    _zone = zone;
    _stale = true;
}

std::optional<std::int64_t> AlarmSchedule::launchDue()
{
    const std::int64_t now = _clock.now();
    const bool saved = _tryToSave([&] {
        _rearm(now);
        if (_stale)
            _recompute(now);
        _passOver(now);
    });
    const std::optional<std::int64_t> pause = _sendAgain();
    _launch(now);

    std::optional<std::int64_t> next = _store.earliestDueAfter(now);
    const auto wakeBy
        = [&next](std::int64_t instant) { next = std::min(next.value_or(instant), instant); };
    if (pause)
        wakeBy(now + *pause);
    if (!saved)
        wakeBy(now + kSaveAgainSeconds);
    return next;
}

void AlarmSchedule::answered(int id, LaunchResult result, const std::string& detail)
{
    const auto found = _flights.find(id);
    if (found == _flights.end())
        return;
    Flight& flight = found->second;
    const std::string alert
        = "The alert of alarm " + std::to_string(id) + " for " + flight.launch.application;
    const std::int64_t now = _clock.now();
    const bool isMissed = result == LaunchResult::Lost && flight.due <= now - kLatestSeconds;
    if (result == LaunchResult::Lost && !isMissed) {
        logWarning(alert + " was not answered and is sent again: " + detail);
        const std::int64_t pause = std::int64_t{ 1 } << std::min(flight.sent - 1, 6);
        flight.again = _clock.elapsed() + std::min(pause, kLongestPauseSeconds);
        return;
    }
    if (isMissed) {
        logError(alert + " was sent " + std::to_string(flight.sent)
            + " times and never answered: " + detail);
    } else if (result == LaunchResult::Refused) {
        logError(alert + " cannot be launched: " + detail);
    }
    const std::string application = flight.launch.application;
    const std::int64_t due = flight.due;
    _rung[id] = due;
    _flights.erase(found);
    (void)_tryToSave([&] {
        if (isMissed)
            _report(application, due, now);
        _rearm(now);
    });
}

// Returns how many seconds the next of those has to wait that nobody has answered.
std::optional<std::int64_t> AlarmSchedule::_sendAgain()
{
    const std::int64_t elapsed = _clock.elapsed();
    std::vector<Launch> ready;
    std::optional<std::int64_t> pause;
    for (auto& [id, flight] : _flights) {
        if (!flight.again)
            continue;
        if (*flight.again > elapsed) {
            pause = std::min(pause.value_or(kLongestPauseSeconds), *flight.again - elapsed);
            continue;
        }
        flight.again.reset();
        ++flight.sent;
        ready.push_back(flight.launch);
    }
    // A launcher may answer at once, which changes the flights.
    for (const Launch& launch : ready)
        _launcher(launch);
    return pause;
}

// Writes down what rang: a recurring alarm waits for its next day, another one is gone.
void AlarmSchedule::_rearm(std::int64_t now)
{
    while (!_rung.empty()) {
        const auto [id, instant] = *_rung.begin();
        std::optional<Alarm> alarm = _store.find(id);
        if (alarm && alarm->time.weekSet == 0) {
            _store.remove(id);
        } else if (alarm) {
            alarm->fired = instant;
            alarm->since = instant;
            (void)_follow(*alarm, now);
            alarm->due = nextOccurrence(alarm->since, alarm->time, _zone);
            _store.updateTimes(*alarm);
        }
        _rung.erase(id);
    }
}

void AlarmSchedule::_recompute(std::int64_t now)
{
    _store.transaction([&] {
        for (Alarm& alarm : _store.all()) {
            if (_isRinging(alarm.id))
                continue;
            const bool moved = _follow(alarm, now);
            const std::int64_t due = nextOccurrence(alarm.since, alarm.time, _zone);
            if (!moved && due == alarm.due)
                continue;
            alarm.due = due;
            _store.updateTimes(alarm);
        }
    });
    _stale = false;
    _wentFarBack = false;
}

// Takes since back with a clock that was set back, but not before what has rung, so that it does
// not ring again. A clock that went far back was wrong before, and what rang by it does not count.
bool AlarmSchedule::_follow(Alarm& alarm, std::int64_t now) const
{
    if (alarm.since <= now)
        return false;
    const bool isWrong = _wentFarBack || alarm.fired - now > kFarBackSeconds;
    if (isWrong && alarm.fired != 0) {
        alarm.fired = 0;
        ++alarm.round;
    }
    alarm.since = std::max(now, alarm.fired);
    return true;
}

// Reports the alarms that nobody could ring in time.
void AlarmSchedule::_passOver(std::int64_t now)
{
    const std::int64_t tooOld = now - kLatestSeconds;
    std::vector<Alarm> missed;
    _store.visitDue(tooOld, [&](const Alarm& alarm) {
        if (!_isRinging(alarm.id))
            missed.push_back(alarm);
        return true;
    });
    if (missed.empty())
        return;
    _store.transaction([&] {
        for (Alarm& alarm : missed) {
            _report(alarm.application, alarm.due, now);
            if (alarm.time.weekSet == 0) {
                _store.remove(alarm.id);
                continue;
            }
            alarm.since = tooOld;
            alarm.due = nextOccurrence(tooOld, alarm.time, _zone);
            _store.updateTimes(alarm);
        }
    });
}

void AlarmSchedule::_report(const std::string& application, std::int64_t due, std::int64_t now)
{
    const auto instant = cctz::time_point<cctz::seconds>(cctz::seconds(due));
    _store.post({ now,
        "Missed alarm of " + application + " at "
            + cctz::format("%Y-%m-%d %H:%M", instant, _zone) });
}

void AlarmSchedule::_launch(std::int64_t now)
{
    std::vector<Alarm> ready;
    _store.visitDue(now, [&](const Alarm& alarm) {
        if (!_isRinging(alarm.id) && alarm.due > now - kLatestSeconds)
            ready.push_back(alarm);
        return _flights.size() + ready.size() < kMostFlights;
    });
    for (const Alarm& alarm : ready) {
        const std::optional<Entries> request = decodeEntries(alarm.request);
        const auto& [at, added] = _flights.try_emplace(
            alarm.id, Flight{ launchFor(alarm, request.value_or(Entries())), alarm.due, 1, {} });
        if (request) {
            _launcher(at->second.launch);
        } else {
            answered(alarm.id, LaunchResult::Refused, "its request on disk cannot be read");
        }
    }
}

bool AlarmSchedule::_tryToSave(const std::function<void()>& change)
{
    try {
        change();
        return true;
    } catch (const SQLite::Exception& error) {
        logError(std::string("The alarms' state cannot be written and is kept for now: ")
            + error.what());
        return false;
    }
}

} // namespace host
