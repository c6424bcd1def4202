#include "common/AlarmSave.h"

#include "common/AlarmList.h"
#include "common/AlarmTime.h"
#include "common/SaveLock.h"

#include <AlarmDbModel.h>
#include <AlarmManagerModel.h>
#include <sqlite3.h>
#include <tuple>
#include <unistd.h>

namespace app {

namespace {

const int kBusyTimeout = 2000; // milliseconds
const int kWriteTries = 5;
const useconds_t kWritePause = 100000;

int setBusyTimeout(sqlite3* connection, char**, const void*)
{
    return sqlite3_busy_timeout(connection, kBusyTimeout);
}

bool isSame(const AlarmDbData& left, const AlarmDbData& right)
{
    const auto fields = [](const AlarmDbData& alarm) {
        return std::tie(alarm.id, alarm.alarm_mgr_id, alarm.enable, alarm.stime, alarm.modTime,
            alarm.hour, alarm.min, alarm.name, alarm.repeat_once, alarm.repeatWeekly,
            alarm.snooze_enable, alarm.count, alarm.type, alarm.tone, alarm.volume,
            alarm.vibration_type, alarm.deviceType);
    };
    return fields(left) == fields(right);
}

bool isStored(const AlarmDbData& alarm)
{
    AlarmDbData stored;
    return findAlarm(alarm.id, stored) == Found::Yes && isSame(stored, alarm);
}

// Writes until check, which reads with a connection of its own, finds it done.
bool writeAndCheck(
    const std::function<void(AlarmDbModel&)>& write, const std::function<bool()>& check)
{
    for (int i = 0; i < kWriteTries; ++i) {
        {
            AlarmDbModel store;
            write(store);
        } // announced here
        if (check())
            return true;
        usleep(kWritePause << i);
        if (check())
            return true;
    }
    return false;
}

void cancel(AlarmDbData& alarm)
{
    if (alarm.alarm_mgr_id > 0)
        AlarmManagerModel().unregisterAlarmFromServer(alarm, false);
}

bool registerAlarm(AlarmDbData& alarm)
{
    AlarmDbData request = alarm;
    // The platform rings on flagged days only, and a snooze may pass midnight.
    if (alarm.count > 0)
        request.repeatWeekly |= weekdayBit(dueInstant(alarm));
    const bool done = AlarmManagerModel().registerAlarmToServer(request, false);
    alarm.alarm_mgr_id = done ? request.alarm_mgr_id : -1;
    return done;
}

// What edit makes of before, registered. The platform knows times of day only: an instant that went
// by before it was registered would mean another day, so it is made anew.
bool editAndRegister(const AlarmDbData& before, const Edit& edit, AlarmDbData& after)
{
    const int tries = 3;
    for (int i = 0; i < tries; ++i) {
        after = before;
        after.alarm_mgr_id = -1;
        edit(after, time(nullptr));
        if (!after.enable)
            return true;
        if (!registerAlarm(after))
            return false;
        if (time(nullptr) < dueInstant(after))
            return true;
        cancel(after);
    }
    return false;
}

} // namespace

void waitOnBusyStore() { sqlite3_auto_extension(reinterpret_cast<void (*)()>(setBusyTimeout)); }

const char* textOf(Saved result)
{
    switch (result) {
    case Saved::NoSuchAlarm:
        return "there is no such alarm";
    case Saved::NotRegistered:
        return "the alarm service did not take the alarm";
    case Saved::NotStored:
        return "the alarm could not be stored";
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
    if (writeAndCheck(insert, [&alarm] { return isStored(alarm); }))
        return Saved::Yes;
    cancel(alarm);
    return Saved::NotStored;
}

Saved changeAlarm(int id, const Edit& edit, AlarmDbData& alarm)
{
    SaveLock lock;
    AlarmDbData before;
    const Found found = findAlarm(id, before);
    if (found != Found::Yes)
        return found == Found::No ? Saved::NoSuchAlarm : Saved::NotStored;
    const int modTime = lock.takeModTime();
    if (modTime < 0)
        return Saved::NotStored;
    if (!editAndRegister(before, edit, alarm))
        return Saved::NotRegistered;
    alarm.modTime = modTime;

    const auto update
        = [&alarm](AlarmDbModel& store) { store.updateAlarmData(alarm, true, true, true, false); };
    if (writeAndCheck(update, [&alarm] { return isStored(alarm); })) {
        cancel(before);
        return Saved::Yes;
    }
    // Where the row cannot be read, both stay: the alert rings for the one that the row names.
    AlarmDbData stored;
    if (findAlarm(id, stored) == Found::Yes && stored.alarm_mgr_id == before.alarm_mgr_id)
        cancel(alarm);
    return Saved::NotStored;
}

Saved removeAlarm(int id, AlarmDbData& alarm)
{
    SaveLock lock;
    const Found found = findAlarm(id, alarm);
    if (found != Found::Yes)
        return found == Found::No ? Saved::NoSuchAlarm : Saved::NotStored;
    if (!lock.isHeld())
        return Saved::NotStored;

    const auto remove
        = [&alarm](AlarmDbModel& store) { store.removeAlarmData(alarm, true, true, true, true); };
    const auto isGone = [id] {
        AlarmDbData stored;
        return findAlarm(id, stored) == Found::No;
    };
    if (!writeAndCheck(remove, isGone))
        return Saved::NotStored;
    AlarmDbData registered = alarm;
    cancel(registered);
    return Saved::Yes;
}

void waitForSave() { SaveLock lock; }

} // namespace app
