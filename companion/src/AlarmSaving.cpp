#include "AlarmSaving.h"

#include "AlarmTime.h"
#include "PhoneAlarms.h"
#include "SaveTurn.h"
#include "StoreConnection.h"

#include <AlarmManagerModel.h>
#include <AlarmSyncUtil.h>
#include <algorithm>
#include <app_alarm.h>
#include <dlog.h>
#include <sqlite3.h>
#include <tuple>
#include <unistd.h>

namespace companion {

namespace {

const char* const kTag = "alarm-companion";

// All that the library stores of an alarm.
auto fieldsOf(const AlarmDbData& alarm)
{
    return std::tie(alarm.magic, alarm.id, alarm.alarm_mgr_id, alarm.enable, alarm.stime,
        alarm.atime, alarm.etime, alarm.modTime, alarm.sdate, alarm.edate, alarm.hour, alarm.min,
        alarm.name, alarm.timezone, alarm.repeat_once, alarm.repeatWeekly, alarm.snooze_enable,
        alarm.count, alarm.type, alarm.tone, alarm.volume, alarm.smart_alarm_enable,
        alarm.vibration_type, alarm.deviceType, alarm.uuid, alarm.mobileCreateTime,
        alarm.mobileModifiedTime, alarm.mobileAlertTime, alarm.isDeleted, alarm.isNeedToSync,
        alarm.contextMgrId);
}

// When an alarm rings, if it does.
auto ringOf(const AlarmDbData& alarm)
{
    return std::tie(alarm.enable, alarm.stime, alarm.count, alarm.hour, alarm.min,
        alarm.repeat_once, alarm.repeatWeekly);
}

// The time of a change that is made now. It is later than the time of what it changes, whatever the
// clock says, since the phone and the watch keep the later of two changes.
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

// False when the alarm service may still have the registration, which the library would not tell.
bool cancel(int registration)
{
    if (registration <= 0)
        return true;
    const int error = alarm_cancel(registration);
    if (error == ALARM_ERROR_NONE || error == ALARM_ERROR_INVALID_PARAMETER)
        return true; // the second: it knows no such registration
    dlog_print(DLOG_ERROR, kTag, "the registration %d could not be taken back: error %d",
        registration, error);
    return false;
}

bool cancelAll(const std::vector<int>& registrations)
{
    bool isDone = true;
    for (const int registration : registrations)
        isDone = cancel(registration) && isDone;
    return isDone;
}

// A registration tells a weekday and no date, so a one-shot of a later week waits.
bool isRegisteredNow(const AlarmDbData& alarm)
{
    if (!isOfPhone(alarm))
        return true;
    return phoneAlarmsRing()
        && (!alarm.repeat_once || isWithinTheWeek(dueInstant(alarm), currentTime()));
}

// The alarm as the platform is to know it, with the platform's id.
bool registerAlarm(AlarmDbData& alarm)
{
    AlarmDbData request = alarm;
    // The platform rings on flagged days only, and a snooze may end on the day after.
    if (alarm.count > 0)
        request.repeatWeekly |= weekdayBit(dueInstant(alarm));
    const bool done = AlarmManagerModel().registerAlarmToServer(request, isOfPhone(alarm));
    alarm.alarm_mgr_id = done ? request.alarm_mgr_id : -1;
    return done;
}

int allowCommit(void* mayCommit) { return *static_cast<bool*>(mayCommit) ? 0 : 1; }

} // namespace

AlarmSaving::AlarmSaving(std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    _turn = std::make_unique<SaveTurn>(end);
    if (_turn->isLate()) {
        _state = Saved::Busy;
        return;
    }
    const std::string path = storePath();
    if (_turn->isHeld() && access(path.c_str(), F_OK) != 0)
        makeStoreInTurn();
    _store = std::make_unique<StoreConnection>(end);
    if (!_store->run("BEGIN IMMEDIATE")) {
        _state = _store->code() == SQLITE_BUSY ? Saved::Busy : Saved::NotStored;
        return;
    }
    // When a statement fails in some ways, SQLite undoes the transaction at once. Without this hook
    // the library's next statement would then be stored alone.
    sqlite3_commit_hook(_store->handle(), allowCommit, &_mayCommit);
}

AlarmSaving::~AlarmSaving()
{
    if (_state == Saved::Yes)
        (void)_giveUp(Saved::NotStored);
}

Saved AlarmSaving::add(AlarmDbData& alarm, const Edit& edit)
{
    if (_state != Saved::Yes)
        return _state;
    AlarmDbData made;
    if (!make(alarm, edit, made))
        return Saved::NotRegistered;
    made.modTime = takeModTime();
    const Saved inserted = insert(made);
    if (inserted == Saved::Yes)
        alarm = made;
    return inserted;
}

Saved AlarmSaving::change(int id, const Edit& edit, AlarmDbData& alarm)
{
    AlarmDbData before;
    AlarmDbData after;
    const Saved found = _find(id, before);
    if (found != Saved::Yes)
        return found;
    if (!make(before, edit, after))
        return Saved::NotRegistered;
    after.modTime = takeModTime();
    const bool isForPhone = isOfPhone(after) && isNewToPhone(before, after);
    if (isForPhone)
        after.mobileModifiedTime = changeTime(before);
    const Saved written
        = _write(before, after, isForPhone ? Phone::IsToHear : Phone::Unchanged, News::Announced);
    if (written == Saved::Yes)
        alarm = after;
    return written;
}

Saved AlarmSaving::remove(int id, AlarmDbData& alarm)
{
    const Saved found = _find(id, alarm);
    if (found != Saved::Yes || !isOfPhone(alarm))
        return found == Saved::Yes ? erase(alarm) : found;
    // The row stays, hidden, with the time of its removal, until the phone has heard.
    AlarmDbData removed = alarm;
    removed.mobileModifiedTime = changeTime(alarm);
    _store->model()._updateMobileTime(removed);
    _store->model().removeAlarmData(removed, false, false, true, true);
    const std::optional<AlarmDbData> row = _row(alarm.id);
    const bool isMarked = row && row->isDeleted && row->isNeedToSync
        && row->mobileModifiedTime == removed.mobileModifiedTime;
    return _settle(isMarked, alarm.alarm_mgr_id, -1, News::Announced);
}

Saved AlarmSaving::commit()
{
    if (_state != Saved::Yes)
        return _state;
    if (_modTime > 0 && !_turn->noteModTime(_modTime))
        return _giveUp(Saved::NotStored);
    _mayCommit = true;
    if (!_store->run("COMMIT"))
        return _giveUp(_store->code() == SQLITE_BUSY ? Saved::Busy : Saved::NotStored);
    _state = Saved::NotStored; // the answer to any later change
    _turn.reset();
    _store->model().setNotiFlag(_isNews, _isNews);
    _store.reset(); // the library announces the changes when it closes
    (void)cancelAll(_former);
    (void)cancelAll(_unnamed);
    return Saved::Yes;
}

// The platform knows times of day only: an instant that went by before it was registered would mean
// another day, so the alarm is made anew.
bool AlarmSaving::make(const AlarmDbData& before, const Edit& edit, AlarmDbData& after)
{
    const int tries = 3;
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): before may be after
    const AlarmDbData original = before;
    for (int i = 0; i < tries; ++i) {
        after = original;
        if (!edit(after, currentTime()) && ringOf(after) == ringOf(original))
            return true;
        after.alarm_mgr_id = -1;
        if (!after.enable || !isRegisteredNow(after))
            return true;
        if (!registerAlarm(after))
            return false;
        _unnamed.push_back(after.alarm_mgr_id);
        if (currentTime() < dueInstant(after))
            return true;
        if (cancel(after.alarm_mgr_id))
            _unnamed.pop_back();
        after.alarm_mgr_id = -1;
    }
    return false;
}

int AlarmSaving::takeModTime()
{
    if (_state != Saved::Yes)
        return -1;
    const int last = std::max(_modTime, _turn->lastModTime());
    _modTime = std::max(static_cast<int>(currentTime()), last + 1);
    // A stored alarm may have any time, up to the highest of all, so the times of stored alarms are
    // passed over and not followed.
    sqlite3_stmt* made = nullptr;
    (void)sqlite3_prepare_v2(_store->handle(),
        "SELECT mtime FROM alarm WHERE mtime >= ? ORDER BY mtime", -1, &made, nullptr);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> stored(made, sqlite3_finalize);
    sqlite3_bind_int(made, 1, _modTime);
    while (sqlite3_step(made) == SQLITE_ROW && sqlite3_column_int(made, 0) <= _modTime)
        _modTime = sqlite3_column_int(made, 0) + 1;
    return _modTime;
}

Saved AlarmSaving::insert(AlarmDbData& alarm)
{
    if (_state != Saved::Yes)
        return _state;
    _store->model().insertAlarmData(alarm, false, false);
    const std::optional<AlarmDbData> row = _row(alarm.id);
    return _settle(
        row && fieldsOf(*row) == fieldsOf(alarm), -1, alarm.alarm_mgr_id, News::Announced);
}

Saved AlarmSaving::replace(const AlarmDbData& before, AlarmDbData after, News news)
{
    return _state == Saved::Yes ? _write(before, after, Phone::Unchanged, news) : _state;
}

// The registration of a row that is deleted already was cancelled when the row was hidden.
Saved AlarmSaving::erase(const AlarmDbData& alarm, News news)
{
    if (_state != Saved::Yes)
        return _state;
    AlarmDbData erased = alarm;
    _store->model().removeAlarmData(erased, false, false, false, false);
    const bool isGone = !_row(alarm.id) && _store->code() == SQLITE_OK;
    return _settle(isGone, alarm.isDeleted ? -1 : alarm.alarm_mgr_id, -1, news);
}

std::vector<AlarmDbData> AlarmSaving::phoneAlarms()
{
    std::vector<AlarmDbData> alarms;
    if (_state != Saved::Yes)
        return alarms;
    _store->model().getAllMobileAlarmList(alarms);
    if (_store->code() != SQLITE_OK) {
        alarms.clear();
        (void)_giveUp(Saved::Unreadable);
    }
    return alarms;
}

Saved AlarmSaving::_find(int id, AlarmDbData& alarm)
{
    if (_state != Saved::Yes)
        return _state;
    AlarmDbData found;
    (void)_store->model().getAlarm(id, found);
    if (_store->code() != SQLITE_OK)
        return Saved::Unreadable;
    if (found.id == -1)
        return Saved::NoSuchAlarm;
    alarm = found;
    return Saved::Yes;
}

// With each write of an alarm that the phone is to hear of, the library sets the time of the change
// to the clock's. So the record's own times are written after it.
Saved AlarmSaving::_write(const AlarmDbData& before, AlarmDbData& after, Phone phone, News news)
{
    _store->model().updateAlarmData(after, false, false, phone == Phone::IsToHear, true);
    if (isOfPhone(after))
        _store->model()._updateMobileTime(after);
    const std::optional<AlarmDbData> row = _row(after.id);
    return _settle(
        row && fieldsOf(*row) == fieldsOf(after), before.alarm_mgr_id, after.alarm_mgr_id, news);
}

Saved AlarmSaving::_settle(bool isWritten, int former, int fresh, News news)
{
    if (!isWritten)
        return _giveUp(Saved::NotStored);
    if (former != fresh) {
        _former.push_back(former);
        const auto made = std::find(_unnamed.begin(), _unnamed.end(), fresh);
        if (made != _unnamed.end()) {
            _named.push_back(fresh);
            _unnamed.erase(made);
        }
    }
    _isNews = _isNews || news == News::Announced;
    return Saved::Yes;
}

// Also a row that is marked as deleted.
std::optional<AlarmDbData> AlarmSaving::_row(int id)
{
    std::vector<AlarmDbData> found;
    _store->model().getAlarmListWithIds(found, std::to_string(id));
    return found.empty() ? std::nullopt : std::optional<AlarmDbData>(found.front());
}

Saved AlarmSaving::_giveUp(Saved why)
{
    _mayCommit = false;
    (void)_store->run("ROLLBACK");
    _store->model().setNotiFlag(false, false);
    _turn.reset();
    const bool areCancelled = cancelAll(_unnamed);
    _state = cancelAll(_named) && areCancelled ? why : Saved::StillRegistered;
    return _state;
}

bool waitForSave(std::chrono::milliseconds patience)
{
    return AlarmSaving(patience).state() == Saved::Yes;
}

} // namespace companion
