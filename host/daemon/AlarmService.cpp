#include "host/daemon/AlarmService.h"

#include "host/common/Log.h"
#include "host/common/Session.h"

#include <ctime>
#include <set>
#include <stdexcept>

namespace host {

namespace {

const char* const kInvalidArgs = "org.freedesktop.DBus.Error.InvalidArgs";
const char* const kFailed = "org.freedesktop.DBus.Error.Failed";
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
        logError("There are no data of the zone " + id + "; alarms ring by UTC");
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

// Anything else than these may be over when it is tried again.
bool isRefusal(const std::string& name)
{
    static const std::string prefix = "org.freedesktop.DBus.Error.";
    static const std::set<std::string> refusals = { "AccessDenied", "InvalidArgs", "ServiceUnknown",
        "Spawn.ConfigInvalid", "Spawn.ExecFailed", "Spawn.Failed", "Spawn.FileInvalid",
        "Spawn.PermissionsInvalid", "Spawn.ServiceNotFound", "Spawn.ServiceNotValid",
        "UnknownInterface", "UnknownMethod", "UnknownObject" };
    return name.compare(0, prefix.size(), prefix) == 0
        && refusals.count(name.substr(prefix.size())) != 0;
}

// Runs call, with errors in the bus's terms.
template <typename Call>
auto answering(Call call)
{
    try {
        return call();
    } catch (const std::invalid_argument& error) {
        throw sdbus::Error(kInvalidArgs, error.what());
    } catch (const std::exception& error) {
        logError(std::string("A request about alarms failed: ") + error.what());
        throw sdbus::Error(kFailed, error.what());
    }
}

} // namespace

AlarmService::AlarmService()
    : AdaptorInterfaces(bus(), kDaemonPath)
    , _schedule(homePath() + "alarms.db", Clock{ now, [] { return secondsOf(CLOCK_BOOTTIME); } },
          currentZone(), [this](const Launch& launch) { _launch(launch); })
    , _clock([this] { _update(); }, [this] { _clockChanged(); })
{
    registerAdaptor();
}

AlarmService::~AlarmService() { unregisterAdaptor(); }

void AlarmService::start()
{
    _started = true;
    _update();
}

int32_t AlarmService::Schedule(const std::string& package, const WireEntries& request,
    const Triple& date, const Triple& time, const int32_t& weekFlag)
{
    const int id = answering([&] {
        const AlarmTime alarm{ time.get<0>(), time.get<1>(), time.get<2>(), weekFlag,
            toDay(date.get<0>(), date.get<1>(), date.get<2>()) };
        return _schedule.schedule(package, fromWire(request), alarm);
    });
    _update();
    return id;
}

void AlarmService::Cancel(const std::string& package, const int32_t& id)
{
    answering([&] {
        if (!_schedule.cancel(package, id)) {
            throw std::invalid_argument(package + " has registered no alarm " + std::to_string(id));
        }
    });
    _update();
}

std::vector<AlarmService::WireAlarm> AlarmService::List()
{
    return answering([&] {
        std::vector<WireAlarm> alarms;
        for (const Alarm& alarm : _schedule.list()) {
            const AlarmTime& time = alarm.time;
            alarms.emplace_back(alarm.id, alarm.package, alarm.application, alarm.due,
                Triple(time.hour, time.minute, time.second), time.weekSet);
        }
        return alarms;
    });
}

void AlarmService::_launch(const Launch& launch)
{
    try {
        // Kept, because a proxy ends its pending calls with itself.
        auto& target = _targets[launch.application];
        if (!target)
            target = sdbus::createProxy(bus(), launch.application, kApplicationPath);
        target->callMethodAsync("Launch")
            .onInterface("com.velmora.host.Application")
            .withArguments(toWire(launch.request), launch.once, std::uint64_t{ 0 })
            .uponReplyInvoke([this, id = launch.id](const sdbus::Error* error) {
                _answered(id, error);
                _update();
            });
    } catch (const sdbus::Error& error) {
        _schedule.answered(launch.id, LaunchResult::Refused, error.getMessage());
        _failedAtOnce = true;
    }
}

void AlarmService::_answered(int id, const sdbus::Error* error)
{
    if (!error) {
        _schedule.answered(id, LaunchResult::Delivered, "");
        return;
    }
    const LaunchResult result
        = isRefusal(error->getName()) ? LaunchResult::Refused : LaunchResult::Lost;
    _schedule.answered(id, result, error->getMessage());
}

void AlarmService::_clockChanged()
{
    logInfo("The clock or the zone was changed; the alarms follow");
    _schedule.clockChanged(currentZone());
    _update();
}

void AlarmService::_update()
{
    if (!_started)
        return;
    std::optional<std::int64_t> next;
    try {
        do {
            _failedAtOnce = false;
            next = _schedule.launchDue();
        } while (_failedAtOnce);
    } catch (const std::exception& error) {
        logError(std::string("The alarms cannot be read for now: ") + error.what());
        next = now() + kTryAgainSeconds;
    }
    _clock.wakeAt(next);
}

} // namespace host
