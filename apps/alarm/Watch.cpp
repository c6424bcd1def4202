#include "Watch.h"

#include "common/AlarmList.h"
#include "common/Alert.h"
#include "common/Failure.h"
#include "common/StoreFile.h"
#include "common/Text.h"
#include "Presentation.h"

#include <algorithm>
#include <app_preference.h>
#include <cstdio>
#include <Ecore.h>
#include <map>

namespace {

using AlarmsById = std::map<int, AlarmDbData>;

AlarmsById readAlarms()
{
    AlarmsById byId;
    for (AlarmDbData& alarm : app::allAlarms()) {
        const int id = alarm.id;
        byId.emplace(id, std::move(alarm));
    }
    return byId;
}

// A save that took a new modification time changed something; a library's client need not take one.
bool isChanged(const AlarmDbData& before, const AlarmDbData& after)
{
    const auto shown = [](const AlarmDbData& alarm) { return alarmJson(alarm, 0); };
    return before.modTime != after.modTime || shown(before) != shown(after);
}

// Nobody may read what cannot be written, so the watch ends; main() tells.
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

    /// What comes after this is heard, so the callbacks are there by now.
    void start()
    {
        _alarms = readAlarms();
        _ringing = app::ringingAlarm();
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
        if (!app::storeFault().empty())
            return;
        const AlarmsById before = std::move(_alarms);
        _alarms = readAlarms();
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

    void _compareRinging()
    {
        const int before = _ringing;
        _ringing = app::ringingAlarm();
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
        if (app::findAlarm(_ringing, alarm) == app::Found::Yes)
            _print("ringing", alarm);
    }

    void _print(const char* event, const AlarmDbData& alarm) const
    {
        if (_json) {
            printf("{\"event\":%s,\"alarm\":%s}\n", jsonString(event).c_str(),
                alarmJson(alarm, time(nullptr)).c_str());
        } else {
            printf("%-8s  %s\n", event, alarmLine(alarm, time(nullptr)).c_str());
        }
    }

    bool _json;
    AlarmsById _alarms;
    int _ringing = -1;
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
    for (const char* key : app::kChangedKeys)
        listen(key, Watch::alarmsChangedCb, watch);
    listen(app::kRingingKey, Watch::ringingChangedCb, watch);
    watch.start();
    if (!ferror(stdout))
        ecore_main_loop_begin();
    for (const char* key : app::kChangedKeys)
        (void)preference_unset_changed_cb(key);
    (void)preference_unset_changed_cb(app::kRingingKey);
}
