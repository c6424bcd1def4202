#include "host/daemon/AlarmSchedule.h"

#include "host/common/Boundary.h"

#include <algorithm>
#include <app_alarm.h>
#include <glib.h>
#include <limits>
#include <set>
#include <SQLiteCpp/Exception.h>
#include <stdexcept>

namespace host {

namespace {

const std::int64_t kLatestSeconds = 1800; ///< half an hour: from this age on an alert is missed
const std::int64_t kFarBackSeconds = 43200; ///< twelve hours
const std::int64_t kSaveAgainSeconds = 60;
const std::int64_t kLongestPauseSeconds = 60; ///< between two sendings of one alert
const std::size_t kLongestId = 255; ///< of an application, whose id is a bus name

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
    refuseUnless(
        application->size() <= kLongestId, "The application's id is longer than 255 bytes");
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

// The text for Launch::once. It is secret, since a process that could foresee it could make the
// alert look as if it was handled already.
std::string onceText(const Alarm& alarm)
{
    const std::string instant = std::to_string(alarm.due) + ":" + std::to_string(alarm.round);
    const auto* secret = reinterpret_cast<const guchar*>(alarm.secret.data());
    const CText text(g_compute_hmac_for_string(
        G_CHECKSUM_SHA256, secret, alarm.secret.size(), instant.c_str(), -1));
    return text.get();
}

Launch launchFor(const Alarm& alarm, Entries request)
{
    setEntry(request, APP_CONTROL_DATA_ALARM_ID, std::to_string(alarm.id).c_str());
    return { alarm.id, alarm.application, std::move(request), onceText(alarm) };
}

} // namespace

AlarmSchedule::AlarmSchedule(const std::string& path, Clock clock, const cctz::time_zone& zone,
    Launcher launcher, const IdMark& mark, TrayStore& tray)
    : _tray(tray)
    , _store(path, clock.now(), mark, tray)
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
    if (sizeOf(request) > kLongestRequest) {
        throw LimitExceeded("The request has " + std::to_string(sizeOf(request))
            + " bytes; it may have " + std::to_string(kLongestRequest));
    }
    if (_store.countOf(package) >= kMostAlarms) {
        throw LimitExceeded(
            package + " has " + std::to_string(kMostAlarms) + " alarms, which is the most");
    }
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
    _end(id, "");
    _rung.erase(id);
    return true;
}

std::optional<Alarm> AlarmSchedule::find(const std::string& package, int id)
{
    std::optional<Alarm> alarm = _store.find(id);
    return alarm && alarm->package == package ? alarm : std::nullopt;
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
    // After a change of the clock, what is due is unknown until all alarms have been computed
    // again.
    bool saved = !_stale || _save(now);
    const std::optional<std::int64_t> pause = _sendAgain();
    _launch(now);
    saved = _save(now) && saved;
    _launch(now); // what _save has computed anew may be due, too

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
    const bool isMissed
        = result == LaunchResult::Lost && flight.due <= _clock.now() - kLatestSeconds;
    if (result == LaunchResult::Lost && !isMissed) {
        logWarning(alert + " was not answered and is sent again: " + detail);
        const std::int64_t pause = std::int64_t{ 1 } << std::min(flight.sent - 1, 6);
        flight.again = _clock.elapsed() + std::min(pause, kLongestPauseSeconds);
        return;
    }
    std::string failure;
    if (isMissed) {
        failure
            = "was sent " + std::to_string(flight.sent) + " times and never answered: " + detail;
    } else if (result == LaunchResult::Refused) {
        failure = "cannot be launched: " + detail;
    }
    if (!failure.empty()) {
        logError(alert + " " + failure);
        failure.insert(0, "it ");
    }
    _end(id, failure);
}

// Ends the alarm's flight, if there is one; the next save writes down its result.
void AlarmSchedule::_end(int id, const std::string& failure)
{
    const auto found = _flights.find(id);
    if (found == _flights.end())
        return;
    const Whose whose = found->second.whose;
    _rung[id] = { whose.second, found->second.due, failure };
    _flights.erase(found);
    if (--_flightsOf[whose] == 0)
        _flightsOf.erase(whose);
}

// Sends again what was not answered and is due for it. Returns in how many seconds the next of the
// others is due, if there are others.
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
    // Sent after the loop, because a launcher may answer at once, which changes _flights.
    for (const Launch& launch : ready)
        _launcher(launch);
    return pause;
}

// Saves in one transaction, since each takes the disk some milliseconds. False when the disk
// refuses; then the next call tries again.
bool AlarmSchedule::_save(std::int64_t now)
{
    bool isReported = false;
    try {
        _store.transaction([&] {
            std::vector<Report> reports;
            _rearm(now, reports);
            if (_stale)
                _recompute(now);
            _passOver(now, reports);
            // Before the commit: if hostd is killed in between, the next one reports the same
            // again, which the tray knows.
            isReported = _tray.report(reports);
        });
    } catch (const SQLite::Exception& error) {
        if (isDamage(error))
            throw;
        logError(std::string("The state of the alarms cannot be written for now: ") + error.what());
        return false;
    }
    _rung.clear();
    _stale = false;
    _wentFarBack = false;
    return isReported;
}

// Writes down which alarms have rung or were missed: a recurring one gets its next time, any other
// is removed.
void AlarmSchedule::_rearm(std::int64_t now, std::vector<Report>& reports)
{
    for (const auto& [id, rung] : _rung) {
        std::optional<Alarm> alarm = _store.find(id);
        if (!alarm)
            continue;
        if (!rung.failure.empty())
            reports.push_back(_missed(*alarm, rung.due, now, rung.failure));
        if (alarm->time.weekSet == 0) {
            _store.remove(id);
        } else {
            alarm->fired = rung.due;
            alarm->since = rung.due;
            (void)_follow(*alarm, now);
            alarm->due = nextOccurrence(alarm->since, alarm->time, _zone);
            _store.updateTimes(*alarm);
        }
    }
}

void AlarmSchedule::_recompute(std::int64_t now)
{
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
}

// Sets since back when the clock was set back, but not before the last ring, so that an alarm does
// not ring twice. If the clock went far back, it was wrong before, and what rang by it does not
// count. Returns whether since has changed.
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
void AlarmSchedule::_passOver(std::int64_t now, std::vector<Report>& reports)
{
    const std::int64_t tooOld = now - kLatestSeconds;
    const auto waits
        = [this](int id, const std::string&, const std::string&) { return !_isRinging(id); };
    for (Alarm& alarm : _store.due(std::numeric_limits<std::int64_t>::min(), tooOld, waits)) {
        const bool isBehind = _flightsOf.count({ alarm.package, alarm.application }) != 0;
        reports.push_back(_missed(alarm, alarm.due, now,
            isBehind ? "earlier ones are not answered" : "nobody was there to launch it"));
        if (alarm.time.weekSet == 0) {
            _store.remove(alarm.id);
            continue;
        }
        alarm.since = tooOld;
        alarm.due = nextOccurrence(tooOld, alarm.time, _zone);
        _store.updateTimes(alarm);
    }
}

// Its key has the alarm's since, too, because a clock that was wrong may come to an instant twice.
Report AlarmSchedule::_missed(
    const Alarm& alarm, std::int64_t due, std::int64_t now, const std::string& reason) const
{
    const auto instant = cctz::time_point<cctz::seconds>(cctz::seconds(due));
    return { "alarm " + std::to_string(alarm.id) + " at " + std::to_string(due) + " since "
            + std::to_string(alarm.since),
        now,
        "Missed alarm of " + alarm.application + " at "
            + cctz::format("%Y-%m-%d %H:%M", instant, _zone) + ": " + reason };
}

void AlarmSchedule::_launch(std::int64_t now)
{
    std::map<Whose, std::size_t> inFlight = _flightsOf;
    const auto mayGo = [&](int id, const std::string& application, const std::string& package) {
        if (_isRinging(id))
            return false;
        std::size_t& count = inFlight[{ package, application }];
        if (count == kMostFlights)
            return false;
        ++count;
        return true;
    };
    for (const Alarm& alarm : _store.due(now - kLatestSeconds, now, mayGo)) {
        const std::optional<Entries> request = decodeEntries(alarm.request);
        const auto& [at, added] = _flights.try_emplace(alarm.id,
            Flight{ launchFor(alarm, request.value_or(Entries())),
                { alarm.package, alarm.application }, alarm.due, 1, {} });
        ++_flightsOf[at->second.whose];
        if (request) {
            const Launch launch
                = at->second.launch; // a copy, since an answer at once erases the flight
            _launcher(launch);
        } else {
            answered(alarm.id, LaunchResult::Refused, "its request on disk cannot be read");
        }
    }
}

} // namespace host
