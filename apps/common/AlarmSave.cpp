#include "common/AlarmSave.h"

#include "common/AlarmList.h"
#include "common/AlarmTime.h"
#include "common/PhoneLink.h"
#include "common/SaveLock.h"

#include <AlarmDbModel.h>
#include <AlarmManagerModel.h>
#include <AlarmSyncUtil.h>
#include <algorithm>
#include <app_alarm.h>
#include <dlog.h>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace app {

namespace {

const char* const kTag = "alarm-save";
const int kWriteTries = 5;
const useconds_t kWritePause = 100000;

bool isSame(const AlarmDbData& left, const AlarmDbData& right)
{
    const auto fields = [](const AlarmDbData& alarm) {
        return std::tie(alarm.id, alarm.alarm_mgr_id, alarm.enable, alarm.stime, alarm.modTime,
            alarm.hour, alarm.min, alarm.name, alarm.repeat_once, alarm.repeatWeekly,
            alarm.snooze_enable, alarm.count, alarm.type, alarm.tone, alarm.volume,
            alarm.vibration_type, alarm.deviceType, alarm.mobileCreateTime,
            alarm.mobileModifiedTime, alarm.mobileAlertTime, alarm.isNeedToSync);
    };
    return fields(left) == fields(right);
}

/// What was read of a write.
enum class Written { Yes, No, Unknown };

// Reads the row, which has the id -1 when there is none.
Written readBack(int id, const std::function<bool(const AlarmDbData& stored)>& isDone)
{
    AlarmDbData stored;
    if (findAlarm(id, stored) == Found::Unreadable)
        return Written::Unknown;
    return isDone(stored) ? Written::Yes : Written::No;
}

Written isStored(const AlarmDbData& alarm)
{
    return readBack(
        alarm.id, [&alarm](const AlarmDbData& stored) { return isSame(stored, alarm); });
}

// By what no other alarm has, as somebody may have changed it since.
Written isInserted(const AlarmDbData& alarm)
{
    if (alarm.id <= 0)
        return Written::No;
    return readBack(
        alarm.id, [&alarm](const AlarmDbData& stored) { return stored.modTime == alarm.modTime; });
}

bool isOfPhone(const AlarmDbData& alarm) { return alarm.deviceType == kPhoneDevice; }

// Whether the row is gone; a phone alarm's stays, hidden, with the time of its removal, until the
// phone has heard.
Written isRemoved(const AlarmDbData& alarm)
{
    return readBack(alarm.id, [&alarm](const AlarmDbData& stored) {
        if (stored.id != -1 || !isOfPhone(alarm))
            return stored.id == -1;
        std::vector<AlarmDbData> unsynced;
        AlarmDbModel().getAllUnsyncedAlarmList(unsynced);
        return std::any_of(unsynced.begin(), unsynced.end(), [&alarm](const AlarmDbData& each) {
            return each.id == alarm.id && each.isDeleted
                && each.mobileModifiedTime == alarm.mobileModifiedTime;
        });
    });
}

// When what becomes of the alarm now is done: later than what it is done to, whatever the clock
// says, since the phone and the watch keep the later of two changes.
unsigned long long changeTime(const AlarmDbData& before)
{
    const long long now = AlarmSyncUtil::getCurrentDeviceMilliSecTime();
    return std::max(static_cast<unsigned long long>(now), before.mobileModifiedTime + 1);
}

// Whether the phone would show or ring another alarm. A snooze and the next ring of a weekly alarm
// are the watch's own, the instant of a one-shot is not.
bool isNewToPhone(const AlarmDbData& before, const AlarmDbData& after)
{
    const auto shown = [](const AlarmDbData& alarm) {
        const bool once = alarm.repeat_once != 0;
        return std::tuple(
            alarm.hour, alarm.min, alarm.name, alarm.enable, once, once ? 0 : alarm.repeatWeekly);
    };
    const bool hasInstant = after.repeat_once && after.count == 0;
    return shown(before) != shown(after) || (hasInstant && before.stime != after.stime);
}

// Writes until check, which reads with a connection of its own, finds it done. Only what was read
// not to be there is written again: an insert would make a second row.
Written writeAndCheck(
    const std::function<void(AlarmDbModel&)>& write, const std::function<Written()>& check)
{
    Written written = Written::No;
    for (int i = 0; i < kWriteTries; ++i) {
        if (written == Written::No) {
            AlarmDbModel store;
            write(store);
        } // announced here
        written = check();
        if (written == Written::Yes)
            return written;
        usleep(kWritePause << i);
        written = check();
        if (written == Written::Yes)
            return written;
    }
    return written;
}

Saved notFound(Found found) { return found == Found::No ? Saved::NoSuchAlarm : Saved::Unreadable; }

// Takes the registration back, of which the library would not tell whether it was. One that stays
// has no row: the alert cancels it when it comes due.
bool cancel(const AlarmDbData& alarm)
{
    if (alarm.alarm_mgr_id <= 0)
        return true;
    const int error = alarm_cancel(alarm.alarm_mgr_id);
    if (error == ALARM_ERROR_NONE || error == ALARM_ERROR_INVALID_PARAMETER)
        return true; // or there was none
    dlog_print(DLOG_ERROR, kTag, "the registration %d could not be taken back: error %d",
        alarm.alarm_mgr_id, error);
    return false;
}

Saved giveUp(const AlarmDbData& alarm)
{
    return cancel(alarm) ? Saved::NotStored : Saved::StillRegistered;
}

// A one-shot of a later day is registered when that is nearer.
bool isRegisteredLater(const AlarmDbData& alarm)
{
    return alarm.repeat_once && !isWithinTheWeek(dueInstant(alarm), currentTime());
}

// A phone alarm rings here whether its phone is near or not, or not here at all.
bool registerAlarm(AlarmDbData& alarm)
{
    if (isOfPhone(alarm) && (!phoneAlarmsRing() || isRegisteredLater(alarm)))
        return true;
    AlarmDbData request = alarm;
    // The platform rings on flagged days only, and a snooze may pass midnight.
    if (alarm.count > 0)
        request.repeatWeekly |= weekdayBit(dueInstant(alarm));
    const bool done = AlarmManagerModel().registerAlarmToServer(request, isOfPhone(alarm));
    alarm.alarm_mgr_id = done ? request.alarm_mgr_id : -1;
    return done;
}

// What edit makes of before, registered if that sets its time. The platform knows times of day
// only: an instant that went by before it was registered would mean another day, so it is made
// anew.
bool editAndRegister(const AlarmDbData& before, const Edit& edit, AlarmDbData& after)
{
    const int tries = 3;
    for (int i = 0; i < tries; ++i) {
        after = before;
        if (!edit(after, currentTime()))
            return true;
        after.alarm_mgr_id = -1;
        if (!after.enable)
            return true;
        if (!registerAlarm(after))
            return false;
        if (currentTime() < dueInstant(after))
            return true;
        (void)cancel(after);
    }
    return false;
}

} // namespace

const char* textOf(Saved result)
{
    switch (result) {
    case Saved::NoSuchAlarm:
        return "there is no such alarm";
    case Saved::Unreadable:
        return "the store cannot be read";
    case Saved::NotRegistered:
        return "the alarm service did not take the alarm";
    case Saved::NotStored:
        return "the alarm could not be stored";
    case Saved::StillRegistered:
        return "the alarm could not be stored, nor its registration be taken back";
    case Saved::Unknown:
        return "the store cannot be read back, so it is not known whether that is saved";
    case Saved::NotRemoved:
        return "the alarm could not be removed";
    default:
        return "saved";
    }
}

Saved addAlarm(AlarmDbData& alarm, const Edit& edit)
{
    SaveLock lock;
    alarm.modTime = lock.takeModTime();
    if (alarm.modTime < 0)
        return Saved::NotStored;
    if (!editAndRegister(AlarmDbData(alarm), edit, alarm))
        return Saved::NotRegistered;

    const auto insert = [&alarm](AlarmDbModel& store) { store.insertAlarmData(alarm, true, true); };
    switch (writeAndCheck(insert, [&alarm] { return isInserted(alarm); })) {
    case Written::Yes:
        return Saved::Yes;
    case Written::No:
        return giveUp(alarm);
    default:
        return Saved::Unknown; // what rings without a row ends by itself, a row has to ring
    }
}

Saved changeAlarm(int id, const Edit& edit, AlarmDbData& alarm)
{
    SaveLock lock;
    AlarmDbData before;
    const Found found = findAlarm(id, before);
    if (found != Found::Yes)
        return notFound(found);
    const int modTime = lock.takeModTime();
    if (modTime < 0)
        return Saved::NotStored;
    if (!editAndRegister(before, edit, alarm))
        return Saved::NotRegistered;
    alarm.modTime = modTime;
    const bool isForPhone = isOfPhone(alarm) && isNewToPhone(before, alarm);
    if (isForPhone)
        alarm.mobileModifiedTime = changeTime(before);

    // The library's own time of a change is the clock's, and moves with every write of a marked
    // alarm.
    const auto update = [&alarm, isForPhone](AlarmDbModel& store) {
        store.updateAlarmData(alarm, true, true, isForPhone, true);
        if (isOfPhone(alarm))
            store._updateMobileTime(alarm);
    };
    const Written written = writeAndCheck(update, [&alarm] { return isStored(alarm); });
    if (written == Written::Yes) {
        if (alarm.alarm_mgr_id != before.alarm_mgr_id)
            (void)cancel(before);
        return Saved::Yes;
    }
    // Where the row cannot be read, both stay: the alert rings for the one that the row names.
    AlarmDbData stored;
    if (written == Written::Unknown || findAlarm(id, stored) == Found::Unreadable)
        return Saved::Unknown;
    return stored.alarm_mgr_id == alarm.alarm_mgr_id ? Saved::NotStored : giveUp(alarm);
}

Saved removeAlarm(int id, AlarmDbData& alarm)
{
    SaveLock lock;
    const Found found = findAlarm(id, alarm);
    if (found != Found::Yes)
        return notFound(found);
    if (!lock.isHeld())
        return Saved::NotRemoved;

    AlarmDbData removed = alarm;
    removed.mobileModifiedTime = changeTime(alarm);
    const auto remove = [&removed](AlarmDbModel& store) {
        if (isOfPhone(removed))
            store._updateMobileTime(removed);
        store.removeAlarmData(removed, true, true, true, true);
    };
    const Written written = writeAndCheck(remove, [&removed] { return isRemoved(removed); });
    if (written != Written::Yes)
        return written == Written::No ? Saved::NotRemoved : Saved::Unknown;
    (void)cancel(alarm);
    return Saved::Yes;
}

void waitForSave() { SaveLock lock; }

} // namespace app
