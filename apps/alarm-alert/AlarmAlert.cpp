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
#include <unistd.h>

namespace {

const char* const kTag = "alarm-alert";
const char* const kNothingRings = "nothing is ringing";

const int kVolumeOfNewAlarm = 10;
const time_t kLongestRead = 3; // seconds
const useconds_t kReadPause = 200000;

app::Found findRinging(int alarmMgrId, AlarmDbData& alarm)
{
    app::Found found = app::findRegisteredAlarm(alarmMgrId, alarm);
    if (found == app::Found::Yes)
        return found;
    // A save registers an alarm before it stores it.
    app::waitForSave();
    const time_t end = app::currentTime() + kLongestRead;
    found = app::findRegisteredAlarm(alarmMgrId, alarm);
    while (found == app::Found::Unreadable && app::currentTime() < end) {
        usleep(kReadPause);
        found = app::findRegisteredAlarm(alarmMgrId, alarm);
    }
    return found;
}

// In place of a record that cannot be read.
AlarmDbData newAlarm(int alarmMgrId)
{
    AlarmDbData alarm;
    alarm.alarm_mgr_id = alarmMgrId;
    alarm.enable = 1;
    alarm.volume = kVolumeOfNewAlarm;
    return alarm;
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
        app::setRingingAlarms({});
}

void AlarmAlert::resume()
{
    for (const int id : app::ringingAlarms()) {
        AlarmDbData alarm;
        if (app::findAlarm(id, alarm) != app::Found::Yes || !alarm.enable)
            continue;
        dlog_print(DLOG_INFO, kTag, "alarm %d rings on", id);
        _rings.insert(_rings.begin(), { alarm, app::ringingInstant(alarm, app::currentTime()) });
    }
}

void AlarmAlert::ring(int alarmMgrId, const timespec& began)
{
    AlarmDbData alarm;
    const app::Found found = findRinging(alarmMgrId, alarm);
    if (found == app::Found::No) {
        dlog_print(DLOG_WARN, kTag, "no alarm for the registration %d: it is gone", alarmMgrId);
        // Whoever registered it died before the alarm was stored, or was removed for good.
        (void)alarm_cancel(alarmMgrId);
        return;
    }
    const bool isKnown = found == app::Found::Yes;
    if (!isKnown)
        alarm = newAlarm(alarmMgrId);
    if (!alarm.enable) {
        dlog_print(DLOG_INFO, kTag, "alarm %d is off", alarm.id);
        return;
    }
    // What it was last time may have been silenced, by a recording or by who took the focus.
    if (_sound.registration() == alarmMgrId)
        _sound.stop();
    _rings.erase(std::remove_if(_rings.begin(), _rings.end(),
                     [&](const Ring& ring) {
                         return ring.alarm.alarm_mgr_id == alarmMgrId
                             || (isKnown && ring.alarm.id == alarm.id);
                     }),
        _rings.end());
    const time_t instant = isKnown ? app::ringingInstant(alarm, began.tv_sec) : began.tv_sec;
    _rings.push_back({ alarm, instant });
    if (isKnown) {
        logRinging(alarm.id, began, instant);
    } else {
        dlog_print(DLOG_ERROR, kTag, "the registration %d rings without its record: %s", alarmMgrId,
            app::storeFault().c_str());
    }
    _tell();
}

AlarmAlert::Answer AlarmAlert::snooze()
{
    if (!isRinging())
        return { -1, kNothingRings };
    // At once, by what is known: the store may have to be waited for, and may yet say no.
    if (refusal(_rings.back().alarm).empty())
        _sound.stop();
    _readUnknown();
    const Ring ring = _rings.back();
    const int id = ring.alarm.id;
    AlarmDbData alarm;
    const bool isRead = app::findAlarm(id, alarm) == app::Found::Yes;
    const std::string reason = refusal(isRead ? alarm : ring.alarm);
    if (!reason.empty())
        return { id, reason };
    _sound.stop();
    const app::Saved saved = app::changeAlarm(
        id,
        [&ring](
            AlarmDbData& snoozed, time_t now) { return takeSnooze(snoozed, ring.instant, now); },
        alarm);
    if (saved != app::Saved::Yes)
        return { id, app::textOf(saved) };
    dlog_print(DLOG_INFO, kTag, "alarm %d is snoozed", id);
    _end(ring.alarm.alarm_mgr_id);
    return { id, "" };
}

AlarmAlert::Answer AlarmAlert::dismiss()
{
    if (!isRinging())
        return { -1, kNothingRings };
    _sound.stop();
    _readUnknown();
    const int id = _rings.back().alarm.id;
    const int alarmMgrId = _rings.back().alarm.alarm_mgr_id;
    AlarmDbData alarm;
    const app::Saved saved = app::changeAlarm(id, finish, alarm);
    if (saved == app::Saved::Yes) {
        dlog_print(DLOG_INFO, kTag, "alarm %d is dismissed", id);
    } else {
        dlog_print(DLOG_ERROR, kTag, "alarm %d is dismissed, but %s", id, app::textOf(saved));
    }
    _end(alarmMgrId);
    return { id, saved == app::Saved::Yes ? "" : app::textOf(saved) };
}

void AlarmAlert::endChanged()
{
    _readUnknown();
    std::vector<int> over;
    for (Ring& ring : _rings) {
        AlarmDbData alarm;
        const app::Found found = app::findRegisteredAlarm(ring.alarm.alarm_mgr_id, alarm);
        if (found == app::Found::No || (found == app::Found::Yes && !alarm.enable)) {
            over.push_back(ring.alarm.alarm_mgr_id);
        } else if (found == app::Found::Yes) {
            ring.alarm = alarm;
        }
    }
    for (const int alarmMgrId : over)
        _end(alarmMgrId);
}

void AlarmAlert::sound()
{
    if (isRinging() && _sound.registration() != _rings.back().alarm.alarm_mgr_id)
        _sound.play(_rings.back().alarm);
}

// Finds out which alarms those are that rang without their records.
void AlarmAlert::_readUnknown()
{
    for (Ring& ring : _rings) {
        AlarmDbData alarm;
        if (ring.alarm.id != -1
            || app::findRegisteredAlarm(ring.alarm.alarm_mgr_id, alarm) != app::Found::Yes)
            continue;
        ring.instant = app::ringingInstant(alarm, ring.instant);
        ring.alarm = alarm;
        _tell();
    }
}

void AlarmAlert::_end(int alarmMgrId)
{
    if (_sound.registration() == alarmMgrId)
        _sound.stop();
    _rings.erase(
        std::remove_if(_rings.begin(), _rings.end(),
            [alarmMgrId](const Ring& ring) { return ring.alarm.alarm_mgr_id == alarmMgrId; }),
        _rings.end());
    _tell();
}

void AlarmAlert::_tell() const
{
    std::vector<int> ids;
    for (auto ring = _rings.rbegin(); ring != _rings.rend(); ++ring) {
        if (ids.empty() || ring->alarm.id >= 0)
            ids.push_back(ring->alarm.id);
    }
    app::setRingingAlarms(ids);
}
