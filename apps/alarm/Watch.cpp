#include "Watch.h"

#include "common/Failure.h"
#include "common/Text.h"
#include "Presentation.h"

#include <AlarmReading.h>
#include <AlertState.h>
#include <algorithm>
#include <app_preference.h>
#include <cstdio>
#include <Ecore.h>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace {

const double kTryAgain = 0.5; // seconds

using AlarmsById = std::map<int, AlarmDbData>;

std::optional<AlarmsById> readAlarms()
{
    std::optional<std::vector<AlarmDbData>> alarms = companion::allAlarms();
    if (!alarms)
        return std::nullopt;
    AlarmsById byId;
    for (AlarmDbData& alarm : *alarms) {
        const int id = alarm.id;
        byId.emplace(id, std::move(alarm));
    }
    return byId;
}

// Each save of the companion gives a new modification time. Another writer may not, so all that is
// shown of an alarm is compared too.
bool isChanged(const AlarmDbData& before, const AlarmDbData& after)
{
    const auto shown = [](const AlarmDbData& alarm) { return alarmJson(alarm, 0); };
    return before.modTime != after.modTime || shown(before) != shown(after);
}

// Ends the watch when its output cannot be written, since nobody reads it then. main() tells the
// user.
void flush()
{
    if (fflush(stdout) != 0)
        ecore_main_loop_quit();
}

class Watch {
public:
    explicit Watch(bool json)
        : _json(json)
    {
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch() { _stopTrying(); }

    /// Shows what there is. The callbacks are registered before, so that no later change is missed.
    void start()
    {
        std::optional<AlarmsById> alarms = readAlarms();
        if (!alarms)
            throw Failure(Failure::kFailed, companion::textOf(companion::Saved::Unreadable));
        _alarms = std::move(*alarms);
        _ringing = companion::ringingAlarm();
        if (_json) {
            printf("{\"event\":\"watching\",\"alarms\":%zu}\n", _alarms.size());
        } else {
            printf("watching  %zu alarms\n", _alarms.size());
        }
        if (_ringing >= 0)
            _printRinging();
        flush();
    }

    static void alarmsChangedCb(const char*, void* data)
    {
        static_cast<Watch*>(data)->_compareAlarms();
    }

    static void ringingChangedCb(const char*, void* data)
    {
        static_cast<Watch*>(data)->_compareRinging();
    }

private:
    void _compareAlarms()
    {
        _stopTrying();
        std::optional<AlarmsById> alarms = readAlarms();
        if (!alarms) {
            _timer = ecore_timer_add(kTryAgain, _tryAgainCb, this);
            return;
        }
        const AlarmsById before = std::exchange(_alarms, std::move(*alarms));
        for (const auto& [id, alarm] : before) {
            if (_alarms.count(id) == 0)
                _print("removed", alarm);
        }
        for (const auto& [id, alarm] : _alarms) {
            const auto old = before.find(id);
            if (old == before.end()) {
                _print("added", alarm);
            } else if (isChanged(old->second, alarm)) {
                _print("changed", alarm);
            }
        }
        flush();
    }

    void _stopTrying()
    {
        if (_timer)
            ecore_timer_del(_timer);
        _timer = nullptr;
    }

    static Eina_Bool _tryAgainCb(void* data)
    {
        auto* self = static_cast<Watch*>(data);
        self->_timer = nullptr;
        self->_compareAlarms();
        return ECORE_CALLBACK_CANCEL;
    }

    void _compareRinging()
    {
        const int before = _ringing;
        _ringing = companion::ringingAlarm();
        if (_ringing == before)
            return;
        if (_ringing >= 0) {
            _printRinging();
        } else {
            puts(_json ? "{\"event\":\"quiet\",\"alarm\":null}" : "quiet");
        }
        flush();
    }

    void _printRinging() const
    {
        AlarmDbData alarm;
        if (companion::findAlarm(_ringing, alarm) == companion::Found::Yes)
            _print("ringing", alarm);
    }

    void _print(const char* event, const AlarmDbData& alarm) const
    {
        if (_json) {
            printf("{\"event\":%s,\"alarm\":%s}\n", jsonString(event).c_str(),
                alarmJson(alarm, companion::currentTime()).c_str());
        } else {
            printf("%-8s  %s\n", event, alarmLine(alarm, companion::currentTime()).c_str());
        }
    }

    bool _json;
    AlarmsById _alarms;
    int _ringing = -1;
    Ecore_Timer* _timer = nullptr; ///< while the alarms cannot be read
};

Eina_Bool endLoop(void*, int, void*)
{
    ecore_main_loop_quit();
    return ECORE_CALLBACK_PASS_ON;
}

void listen(const char* key, preference_changed_cb callback, Watch& watch)
{
    if (preference_set_changed_cb(key, callback, &watch) != PREFERENCE_ERROR_NONE)
        throw Failure(Failure::kFailed, "the changes of alarms cannot be heard");
}

} // namespace

void watchAlarms(bool json)
{
    ecore_event_handler_add(ECORE_EVENT_SIGNAL_EXIT, endLoop, nullptr);
    Watch watch(json);
    for (const char* key : companion::kChangedKeys)
        listen(key, Watch::alarmsChangedCb, watch);
    listen(companion::kRingingKey, Watch::ringingChangedCb, watch);
    watch.start();
    if (!ferror(stdout))
        ecore_main_loop_begin();
    for (const char* key : companion::kChangedKeys)
        (void)preference_unset_changed_cb(key);
    (void)preference_unset_changed_cb(companion::kRingingKey);
}
