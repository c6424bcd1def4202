#include "host/daemon/AlarmService.h"

#include "host/common/Boundary.h"
#include "host/common/Session.h"
#include "host/common/SettingsStore.h"
#include "host/daemon/Answering.h"
#include "host/daemon/DefaultSettings.h"

#include <ctime>
#include <Ecore.h>
#include <SQLiteCpp/Exception.h>
#include <stdexcept>

namespace host {

namespace {

const std::int64_t kTryAgainSeconds = 60;

std::int64_t secondsOf(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return now.tv_sec;
}

std::int64_t now() { return secondsOf(CLOCK_REALTIME); }

cctz::time_zone currentZone()
{
    const std::string id = zoneId();
    cctz::time_zone zone;
    if (!cctz::load_time_zone(id, &zone))
        logError("There is no data of the zone " + id + "; alarms ring by UTC");
    return zone;
}

std::optional<cctz::civil_day> toDay(int year, int month, int day)
{
    if (year == 0 && month == 0 && day == 0)
        return std::nullopt;
    const cctz::civil_day date(year, month, day);
    if (date.year() != year || date.month() != month || date.day() != day)
        throw std::invalid_argument("The date is not in the calendar");
    return date;
}

std::string unknownAlarm(int id)
{
    return "The caller's package has registered no alarm " + std::to_string(id);
}

// The mark lies in the settings, which are another file than the alarms. If the settings fail, ids
// start from the clock.
IdMark idMark()
{
    static const char* const store = "alarm-service";
    static const char* const key = "next-id";
    static const char* const what = "the mark of used alarm ids cannot be read or written";
    const auto read = [] {
        return guarded(what, 0, [] {
            const auto value = SettingsStore::session().read(store, key);
            const int* mark = value ? std::get_if<int>(&*value) : nullptr;
            return mark ? *mark : 0;
        });
    };
    const auto write = [](int mark) {
        guarded(what, [mark] { SettingsStore::session().write(store, key, mark); });
    };
    return { read, write };
}

// Ends hostd when the file of alarms is damaged: the next hostd moves the file aside and reports
// it.
void endIfDamaged(const std::exception& error)
{
    const auto* failure = dynamic_cast<const SQLite::Exception*>(&error);
    if (failure && isDamage(*failure))
        ecore_main_loop_quit();
}

// Runs the body of a method; its exceptions become D-Bus errors for the caller.
template <typename Call>
auto answeringAboutAlarms(Call call)
{
    return answering([&] {
        try {
            return call();
        } catch (const SQLite::Exception& error) {
            logError(std::string("A request about alarms failed: ") + error.what());
            endIfDamaged(error);
            throw;
        }
    });
}

} // namespace

AlarmService::AlarmService(Applications& applications, RequestSender& sender, TrayStore& tray)
    : _applications(applications)
    , _sender(sender)
    , _schedule(
          homePath() + "alarms.db", Clock{ now, [] { return secondsOf(CLOCK_BOOTTIME); } },
          currentZone(), [this](const Launch& launch) { _launch(launch); }, idMark(), tray)
    , _clock([this] { _update(); }, [this] { _clockChanged(); })
{
}

void AlarmService::start()
{
    _started = true;
    _update();
}

std::string AlarmService::_callersPackage() { return _applications.who(callerName()).package; }

int32_t AlarmService::Schedule(
    const WireEntries& request, const Triple& date, const Triple& time, const int32_t& weekFlag)
{
    const int id = answeringAboutAlarms([&] {
        const std::string package = _callersPackage();
        if (package.empty())
            throw sdbus::Error(kAccessDenied, "The caller is no program of an installed package");
        const AlarmTime alarm{ time.get<0>(), time.get<1>(), time.get<2>(), weekFlag,
            toDay(date.get<0>(), date.get<1>(), date.get<2>()) };
        return _schedule.schedule(package, fromWire(request), alarm);
    });
    _update();
    return id;
}

void AlarmService::Cancel(const int32_t& id)
{
    answeringAboutAlarms([&] {
        const std::string package = _callersPackage();
        if (!_schedule.cancel(package, id))
            throw std::invalid_argument(unknownAlarm(id));
    });
    _update();
}

std::vector<AlarmService::WireAlarm> AlarmService::List()
{
    return answeringAboutAlarms([&] {
        std::vector<WireAlarm> alarms;
        for (const Alarm& alarm : _schedule.list()) {
            const AlarmTime& time = alarm.time;
            alarms.emplace_back(alarm.id, alarm.package, alarm.application, alarm.due,
                Triple(time.hour, time.minute, time.second), time.weekSet);
        }
        return alarms;
    });
}

std::vector<std::int32_t> AlarmService::Own()
{
    return answeringAboutAlarms([&] {
        const std::string package = _callersPackage();
        std::vector<std::int32_t> alarms;
        for (const Alarm& alarm : _schedule.list(package))
            alarms.push_back(alarm.id);
        return alarms;
    });
}

std::tuple<std::int64_t, std::int32_t> AlarmService::Get(const std::int32_t& id)
{
    return answeringAboutAlarms([&] {
        const std::optional<Alarm> alarm = _schedule.find(_callersPackage(), id);
        if (!alarm)
            throw std::invalid_argument(unknownAlarm(id));
        return std::make_tuple(alarm->due, std::int32_t{ alarm->time.weekSet });
    });
}

void AlarmService::_launch(const Launch& launch)
{
    _sender.send({ launch.application, launch.request, launch.once,
                     [this, id = launch.id] { return _schedule.isInFlight(id); } },
        [this, launch](const sdbus::Error* error) { _answered(launch, error); });
}

void AlarmService::_answered(const Launch& launch, const sdbus::Error* error)
{
    LaunchResult result = LaunchResult::Delivered;
    if (error) {
        result = Applications::isUnknown(launch.application, *error) ? LaunchResult::Refused
                                                                     : LaunchResult::Lost;
    }
    _schedule.answered(launch.id, result, error ? error->getMessage() : "");
    _updateSoon();
}

void AlarmService::_clockChanged()
{
    logInfo("The clock or the zone was changed; all alarms are computed again");
    _schedule.clockChanged(currentZone());
    _update();
    guarded("the zone is not announced", announceZone);
}

// Updates once for all answers of this turn of the loop.
void AlarmService::_updateSoon()
{
    if (!_soon)
        _soon = std::make_unique<Timer>(0, [this] { _update(); });
}

void AlarmService::_update()
{
    _soon.reset();
    if (!_started)
        return;
    std::optional<std::int64_t> next;
    try {
        next = _schedule.launchDue();
    } catch (const std::exception& error) {
        logError(std::string("The alarms cannot be read for now: ") + error.what());
        endIfDamaged(error);
        next = now() + kTryAgainSeconds;
    }
    _clock.wakeAt(next);
}

} // namespace host
