#include "AlarmAlert.h"

#include <AlarmReading.h>
#include <AlarmSaving.h>
#include <AlarmTime.h>
#include <AlertState.h>
#include <algorithm>
#include <app_alarm.h>
#include <chrono>
#include <ctime>
#include <dlog.h>

namespace {

const char* const kTag = "alarm-alert";
const char* const kNothingRings = "nothing is ringing";

const std::chrono::seconds kPatience{ 1 };

// A save registers an alarm before it stores it, so an alarm that is not there is looked for once
// more when no save is under way. It rings without its record rather than seconds late.
companion::Found findRinging(int alarmMgrId, AlarmDbData& alarm)
{
    using companion::AlarmReading;
    using companion::Found;
    const Found found = AlarmReading(kPatience).findRegistered(alarmMgrId, alarm);
    if (found == Found::Yes)
        return found;
    if (!companion::waitForSave(kPatience))
        return Found::Unreadable;
    return AlarmReading(kPatience).findRegistered(alarmMgrId, alarm);
}

void logRinging(int id, const timespec& began, time_t instant)
{
    const companion::WallTime time = companion::wallTime(instant);
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
    while (!companion::isNamedByWallTime(companion::dueInstant(alarm)))
        alarm.stime += minute;
    return true;
}

bool finish(AlarmDbData& alarm, time_t now)
{
    if (alarm.repeat_once) {
        alarm.enable = 0;
        alarm.count = 0;
    } else {
        companion::setNextRing(alarm, now);
    }
    return true;
}

} // namespace

AlarmAlert::~AlarmAlert()
{
    if (isRinging())
        companion::setRingingAlarms({});
}

void AlarmAlert::resume()
{
    for (const int id : companion::ringingAlarms()) {
        AlarmDbData alarm;
        if (companion::findAlarm(id, alarm) != companion::Found::Yes || !alarm.enable)
            continue;
        dlog_print(DLOG_INFO, kTag, "alarm %d rings on", id);
        _rings.insert(
            _rings.begin(), { alarm, companion::ringingInstant(alarm, companion::currentTime()) });
    }
}

void AlarmAlert::ring(int alarmMgrId, const timespec& began)
{
    AlarmDbData alarm;
    const companion::Found found = findRinging(alarmMgrId, alarm);
    if (found == companion::Found::No) {
        dlog_print(DLOG_WARN, kTag, "no alarm for the registration %d: it is gone", alarmMgrId);
        // The process that registered the alarm was killed before it stored the record, or the
        // record was removed for good. The registration would ring again next week.
        (void)alarm_cancel(alarmMgrId);
        return;
    }
    const bool isKnown = found == companion::Found::Yes;
    if (!isKnown) {
        alarm = companion::newAlarm();
        alarm.alarm_mgr_id = alarmMgrId;
    }
    if (!alarm.enable) {
        dlog_print(DLOG_INFO, kTag, "alarm %d is off", alarm.id);
        return;
    }
    // The sound of this alarm's last ring may have been silenced since, by a recording or by a
    // process that took the sound focus; it begins anew.
    if (_sound.registration() == alarmMgrId)
        _sound.stop();
    _rings.erase(std::remove_if(_rings.begin(), _rings.end(),
                     [&](const Ring& ring) {
                         return ring.alarm.alarm_mgr_id == alarmMgrId
                             || (isKnown && ring.alarm.id == alarm.id);
                     }),
        _rings.end());
    const time_t instant = isKnown ? companion::ringingInstant(alarm, began.tv_sec) : began.tv_sec;
    _rings.push_back({ alarm, instant });
    if (isKnown) {
        logRinging(alarm.id, began, instant);
    } else {
        dlog_print(DLOG_ERROR, kTag, "the registration %d rings without its record", alarmMgrId);
    }
    _tell();
}

AlarmAlert::Answer AlarmAlert::snooze()
{
    if (!isRinging())
        return { -1, kNothingRings };
    // Silence first, by what was last read of the alarm: the store may have to be waited for. It
    // may also refuse the snooze; sound() lets the alarm be heard again then.
    if (refusal(_rings.back().alarm).empty())
        _sound.stop();
    _readUnknown();
    const Ring ring = _rings.back();
    const int id = ring.alarm.id;
    AlarmDbData alarm;
    const bool isRead = companion::findAlarm(id, alarm) == companion::Found::Yes;
    const std::string reason = refusal(isRead ? alarm : ring.alarm);
    if (!reason.empty())
        return { id, reason };
    _sound.stop();
    const companion::Saved saved = companion::changeAlarm(
        id,
        [&ring](
            AlarmDbData& snoozed, time_t now) { return takeSnooze(snoozed, ring.instant, now); },
        alarm);
    if (saved != companion::Saved::Yes)
        return { id, companion::textOf(saved) };
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
    const companion::Saved saved = companion::changeAlarm(id, finish, alarm);
    if (saved == companion::Saved::Yes) {
        dlog_print(DLOG_INFO, kTag, "alarm %d is dismissed", id);
    } else {
        dlog_print(DLOG_ERROR, kTag, "alarm %d is dismissed, but %s", id, companion::textOf(saved));
    }
    _end(alarmMgrId);
    return { id, saved == companion::Saved::Yes ? "" : companion::textOf(saved) };
}

void AlarmAlert::endChanged()
{
    _readUnknown();
    std::vector<int> over;
    for (Ring& ring : _rings) {
        AlarmDbData alarm;
        const companion::Found found
            = companion::findRegisteredAlarm(ring.alarm.alarm_mgr_id, alarm);
        if (found == companion::Found::No || (found == companion::Found::Yes && !alarm.enable)) {
            over.push_back(ring.alarm.alarm_mgr_id);
        } else if (found == companion::Found::Yes) {
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

// Looks once more for the records of alarms that ring without one.
void AlarmAlert::_readUnknown()
{
    for (Ring& ring : _rings) {
        AlarmDbData alarm;
        if (ring.alarm.id != -1
            || companion::findRegisteredAlarm(ring.alarm.alarm_mgr_id, alarm)
                != companion::Found::Yes)
            continue;
        ring.instant = companion::ringingInstant(alarm, ring.instant);
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
    companion::setRingingAlarms(ids);
}
