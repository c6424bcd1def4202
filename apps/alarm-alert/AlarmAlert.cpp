#include "AlarmAlert.h"

#include "common/AlarmList.h"
#include "common/AlarmSave.h"
#include "common/AlarmTime.h"
#include "common/Alert.h"
#include "common/StoreFile.h"

#include <algorithm>
#include <app_alarm.h>
#include <ctime>
#include <dlog.h>

namespace {

const char* const kTag = "alarm-alert";
const char* const kNothingRings = "nothing is ringing";

app::Found findRinging(int alarmMgrId, AlarmDbData& alarm)
{
    const app::Found found = app::findRegisteredAlarm(alarmMgrId, alarm);
    if (found == app::Found::Yes)
        return found;
    // A save registers an alarm before it stores it.
    app::waitForSave();
    return app::findRegisteredAlarm(alarmMgrId, alarm);
}

void logRinging(int id, const timespec& began, time_t instant)
{
    const app::WallTime time = app::wallTime(instant);
    const long long late
        = static_cast<long long>(began.tv_sec - instant) * 1000000 + began.tv_nsec / 1000;
    dlog_print(DLOG_INFO, kTag, "ringing alarm %d at %02d:%02d:%02d, %lld us after its instant", id,
        time.hour, time.minute, time.second, late);
}

std::string refusal(const AlarmDbData& alarm)
{
    const std::string subject = "alarm " + std::to_string(alarm.id);
    if (!alarm.snooze_enable)
        return subject + " is set so that it cannot be snoozed";
    if (alarm.count >= alarm.snooze_times) {
        return subject + " has been snoozed " + std::to_string(alarm.count)
            + " times, which is all it can be";
    }
    return "";
}

// The next snooze begins in the minute in which it is asked for, so that it is as long when the
// user was slow. The registration tells a time of day, so a time that comes twice is passed over.
bool takeSnooze(AlarmDbData& alarm, time_t instant, time_t now)
{
    const time_t minute = 60;
    const time_t late = std::max<time_t>(now - instant, 0) / minute * minute;
    alarm.stime = static_cast<int>(instant + late - minute * alarm.count * alarm.snooze_min);
    ++alarm.count;
    while (!app::isNamedByWallTime(app::dueInstant(alarm)))
        alarm.stime += minute;
    return true;
}

bool finish(AlarmDbData& alarm, time_t now)
{
    if (alarm.repeat_once) {
        alarm.enable = 0;
        alarm.count = 0;
    } else {
        app::setNextRing(alarm, now);
    }
    return true;
}

} // namespace

AlarmAlert::~AlarmAlert()
{
    if (isRinging())
        app::setRingingAlarm(-1);
}

void AlarmAlert::resume()
{
    const int id = app::ringingAlarm();
    AlarmDbData alarm;
    if (isRinging() || id < 0 || app::findAlarm(id, alarm) != app::Found::Yes || !alarm.enable)
        return;
    dlog_print(DLOG_INFO, kTag, "alarm %d rings on", id);
    _rings.push_back({ id, alarm.alarm_mgr_id, app::ringingInstant(alarm, time(nullptr)) });
}

void AlarmAlert::ring(int alarmMgrId, const timespec& began)
{
    AlarmDbData alarm;
    const app::Found found = findRinging(alarmMgrId, alarm);
    if (found != app::Found::Yes) {
        dlog_print(DLOG_WARN, kTag, "no alarm for the registration %d: %s", alarmMgrId,
            found == app::Found::No ? "it is gone" : app::storeFault().c_str());
        // Whoever registered it died before the alarm was stored, or was removed for good.
        if (found == app::Found::No)
            (void)alarm_cancel(alarmMgrId);
        return;
    }
    if (!alarm.enable) {
        dlog_print(DLOG_INFO, kTag, "alarm %d is off", alarm.id);
        return;
    }
    const time_t instant = app::ringingInstant(alarm, began.tv_sec);
    // What it was last time may have been silenced, by a recording or by who took the focus.
    if (_sound.alarm() == alarm.id)
        _sound.stop();
    _rings.erase(std::remove_if(_rings.begin(), _rings.end(),
                     [&alarm](const Ring& ring) { return ring.id == alarm.id; }),
        _rings.end());
    _rings.push_back({ alarm.id, alarmMgrId, instant });
    logRinging(alarm.id, began, instant);
    app::setRingingAlarm(alarm.id);
}

AlarmAlert::Answer AlarmAlert::snooze()
{
    if (!isRinging())
        return { -1, kNothingRings };
    const Ring ring = _rings.back();
    AlarmDbData alarm;
    if (app::findAlarm(ring.id, alarm) == app::Found::Yes) {
        const std::string reason = refusal(alarm);
        if (!reason.empty())
            return { ring.id, reason };
    }
    _sound.stop(); // at once: a save may take its time
    const app::Saved saved = app::changeAlarm(
        ring.id,
        [&ring](
            AlarmDbData& snoozed, time_t now) { return takeSnooze(snoozed, ring.instant, now); },
        alarm);
    if (saved != app::Saved::Yes)
        return { ring.id, app::textOf(saved) };
    dlog_print(DLOG_INFO, kTag, "alarm %d is snoozed", ring.id);
    _end(ring.id);
    return { ring.id, "" };
}

AlarmAlert::Answer AlarmAlert::dismiss()
{
    if (!isRinging())
        return { -1, kNothingRings };
    _sound.stop();
    const int id = _rings.back().id;
    AlarmDbData alarm;
    const app::Saved saved = app::changeAlarm(id, finish, alarm);
    if (saved == app::Saved::Yes) {
        dlog_print(DLOG_INFO, kTag, "alarm %d is dismissed", id);
    } else {
        dlog_print(DLOG_ERROR, kTag, "alarm %d is dismissed, but %s", id, app::textOf(saved));
    }
    _end(id);
    return { id, saved == app::Saved::Yes ? "" : app::textOf(saved) };
}

void AlarmAlert::endChanged()
{
    const std::vector<Ring> rings = _rings;
    for (const Ring& ring : rings) {
        AlarmDbData alarm;
        const app::Found found = app::findAlarm(ring.id, alarm);
        if (found == app::Found::Unreadable)
            continue;
        if (found == app::Found::No || !alarm.enable || alarm.alarm_mgr_id != ring.alarmMgrId)
            _end(ring.id);
    }
}

void AlarmAlert::sound()
{
    AlarmDbData alarm;
    if (isRinging() && _sound.alarm() != _rings.back().id
        && app::findAlarm(_rings.back().id, alarm) == app::Found::Yes)
        _sound.play(alarm);
}

void AlarmAlert::_end(int id)
{
    if (_sound.alarm() == id)
        _sound.stop();
    _rings.erase(std::remove_if(_rings.begin(), _rings.end(),
                     [id](const Ring& ring) { return ring.id == id; }),
        _rings.end());
    app::setRingingAlarm(isRinging() ? _rings.back().id : -1);
}
