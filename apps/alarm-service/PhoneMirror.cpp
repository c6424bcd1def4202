#include "PhoneMirror.h"

#include "common/AlarmTime.h"
#include "common/PhoneLink.h"
#include "common/SaveLock.h"
#include "common/StoreFile.h"

#include <AlarmDbModel.h>
#include <AlarmManagerModel.h>
#include <AlarmSyncUtil.h>
#include <algorithm>
#include <app_alarm.h>
#include <map>
#include <tuple>
#include <unistd.h>

namespace mirror {

namespace {

const size_t kTries = 4;
const int kWritesOfATurn = 100;
const useconds_t kPauseBetweenTurns = 20000; // others look for the lock more often
const int kVolumeOfNewAlarm = 10;
const time_t kWeek = 7L * 24 * 60 * 60;

std::vector<AlarmDbData> storedAlarms()
{
    std::vector<AlarmDbData> alarms;
    AlarmDbModel().getAllMobileAlarmList(alarms);
    return alarms;
}

// What decides when an alarm rings. A one-shot's day is worked out here, so the phone's instant
// counts for it.
auto timeOf(const AlarmDbData& alarm)
{
    const bool once = alarm.repeat_once != 0;
    return std::tuple(alarm.hour, alarm.min, once, once ? 0 : alarm.repeatWeekly,
        once ? alarm.mobileAlertTime : 0, alarm.enable, alarm.isDeleted);
}

auto contentOf(const AlarmDbData& alarm)
{
    return std::tuple(timeOf(alarm), alarm.name, alarm.mobileCreateTime, alarm.mobileModifiedTime,
        alarm.mobileAlertTime, alarm.isNeedToSync);
}

// The phone may know the very second at which a one-shot rings. The registration knows weekdays
// only, so it has to be within the week.
void setNextRing(AlarmDbData& alarm)
{
    const time_t now = time(nullptr);
    app::setNextRing(alarm, now);
    const auto instant = static_cast<time_t>(alarm.mobileAlertTime / 1000);
    if (!alarm.repeat_once || instant <= now || instant >= now + kWeek
        || !app::isNamedByWallTime(instant))
        return;
    const app::WallTime wall = app::wallTime(instant);
    if (wall.hour != alarm.hour || wall.minute != alarm.min)
        return;
    alarm.stime = static_cast<int>(instant);
    alarm.repeatWeekly = app::weekdayBit(instant);
}

void cancel(int alarmMgrId)
{
    if (alarmMgrId > 0)
        (void)alarm_cancel(alarmMgrId);
}

// A registration that fails leaves an alarm that is not registered; followRinging() tries again.
void registerAnew(AlarmDbData& alarm)
{
    alarm.alarm_mgr_id = -1;
    setNextRing(alarm);
    if (!alarm.enable || !app::phoneAlarmsRing())
        return;
    if (!AlarmManagerModel().registerAlarmToServer(alarm, true))
        alarm.alarm_mgr_id = -1;
}

// The stored alarm with what the phone says about it.
AlarmDbData merged(AlarmDbData alarm, const AlarmDbData& phones)
{
    alarm.hour = phones.hour;
    alarm.min = phones.min;
    alarm.name = phones.name;
    alarm.enable = phones.enable;
    alarm.repeat_once = phones.repeat_once;
    if (!phones.repeat_once)
        alarm.repeatWeekly = phones.repeatWeekly;
    alarm.mobileCreateTime = phones.mobileCreateTime;
    alarm.mobileModifiedTime = phones.mobileModifiedTime;
    alarm.mobileAlertTime = phones.mobileAlertTime;
    alarm.isDeleted = false;
    alarm.isNeedToSync = false;
    return alarm;
}

enum class Told { Some, All };

// One pass over the phone's alarms, which writes what is not yet stored, or some of it.
class Pass {
public:
    Pass(Told told, int modTime)
        : _told(told)
        , _modTime(modTime)
    {
        for (AlarmDbData& alarm : storedAlarms()) {
            if (!_stored.emplace(alarm.uuid, alarm).second)
                _remove(alarm);
        }
    }

    void take(const std::vector<AlarmDbData>& alarms)
    {
        for (const AlarmDbData& alarm : alarms) {
            if (_isFull())
                return;
            _take(alarm);
        }
        if (_told == Told::All)
            _removeOthers();
    }

    /// Whether there was nothing to write.
    bool isDone() const { return _writes == 0; }

private:
    bool _isFull() const { return _writes >= kWritesOfATurn; }

    void _take(const AlarmDbData& phones)
    {
        const auto found = _stored.find(phones.uuid);
        if (found == _stored.end()) {
            if (!phones.isDeleted)
                _insert(phones);
            return;
        }
        const AlarmDbData stored = found->second;
        _stored.erase(found);
        if (_isOlder(phones, stored))
            return;
        if (phones.isDeleted) {
            _remove(stored);
        } else {
            _change(stored, merged(stored, phones));
        }
    }

    // A change that the phone has not heard of stays.
    void _removeOthers()
    {
        for (const auto& [uuid, alarm] : _stored) {
            if (_isFull())
                return;
            if (!alarm.isNeedToSync || alarm.isDeleted)
                _remove(alarm);
        }
    }

    // A whole list is what the phone has now; a single change may have been on its way for long.
    bool _isOlder(const AlarmDbData& phones, const AlarmDbData& stored) const
    {
        if (stored.isNeedToSync)
            return phones.mobileModifiedTime <= stored.mobileModifiedTime;
        return _told == Told::Some && phones.mobileModifiedTime < stored.mobileModifiedTime;
    }

    void _insert(AlarmDbData alarm)
    {
        alarm.volume = kVolumeOfNewAlarm;
        alarm.modTime = _takeModTime();
        registerAnew(alarm);
        _model.insertAlarmData(alarm, true, true);
    }

    void _change(const AlarmDbData& stored, AlarmDbData alarm)
    {
        if (contentOf(stored) == contentOf(alarm))
            return;
        const bool isOfTime = timeOf(stored) != timeOf(alarm);
        alarm.modTime = _takeModTime();
        if (isOfTime)
            registerAnew(alarm);
        _model.updateAlarmData(alarm, true, true, false, false);
        if (isOfTime)
            cancel(stored.alarm_mgr_id);
    }

    void _remove(AlarmDbData alarm)
    {
        ++_writes;
        _model.removeAlarmData(alarm, true, true, false, false);
        cancel(alarm.alarm_mgr_id);
    }

    int _takeModTime()
    {
        ++_writes;
        return _modTime++;
    }

    Told _told;
    int _modTime;
    int _writes = 0;
    std::map<std::string, AlarmDbData> _stored; ///< those not yet taken, by uuid
    AlarmDbModel _model; ///< announces the changes at its end
};

// Until a pass finds nothing to write: the library does not tell what was lost. Between two passes
// the other processes have their turn.
bool run(const std::vector<AlarmDbData>& alarms, Told told)
{
    const size_t passes = kTries + (alarms.size() + storedAlarms().size()) / kWritesOfATurn;
    const int modTimes = std::clamp(static_cast<int>(alarms.size()), 1, kWritesOfATurn);
    for (size_t i = 0; i < passes; ++i) {
        if (i > 0)
            usleep(kPauseBetweenTurns);
        app::SaveLock lock;
        const int modTime = lock.takeModTime(modTimes);
        if (modTime < 0 || !app::storeFault().empty())
            return false;
        Pass pass(told, modTime);
        pass.take(alarms);
        if (pass.isDone())
            return true;
    }
    return false;
}

} // namespace

bool take(const std::vector<AlarmDbData>& alarms) { return run(alarms, Told::Some); }

bool takeAll(const std::vector<AlarmDbData>& alarms) { return run(alarms, Told::All); }

bool drop()
{
    const app::SaveLock lock;
    if (!lock.isHeld() || !app::storeFault().empty())
        return false;
    AlarmSyncUtil::removeMobileAlarmData();
    return AlarmDbModel().getNumberOfMobileAlarm() == 0;
}

std::vector<AlarmDbData> unsynced()
{
    std::vector<AlarmDbData> alarms;
    AlarmDbModel().getAllUnsyncedAlarmList(alarms);
    std::sort(alarms.begin(), alarms.end(),
        [](const AlarmDbData& left, const AlarmDbData& right) { return left.id < right.id; });
    return alarms;
}

Settled settle(const std::vector<AlarmDbData>& sent)
{
    const app::SaveLock lock;
    if (!lock.isHeld())
        return Settled::No;
    const std::vector<AlarmDbData> now = unsynced();
    const auto isSame = [](const AlarmDbData& left, const AlarmDbData& right) {
        return left.uuid == right.uuid && contentOf(left) == contentOf(right);
    };
    if (!std::equal(now.begin(), now.end(), sent.begin(), sent.end(), isSame))
        return Settled::ChangedSince;
    AlarmDbModel store;
    for (AlarmDbData alarm : now) {
        if (alarm.isDeleted)
            store.removeAlarmData(alarm, false, false, false, false);
    }
    store.updateUnsyncedAlarmDataToDefault();
    return store.getNumberOfUnsyncedAlarm() == 0 ? Settled::Yes : Settled::No;
}

void followRinging()
{
    const app::SaveLock lock;
    if (!lock.isHeld())
        return;
    const bool areWanted = app::phoneAlarmsRing();
    const auto shallRing = [areWanted](const AlarmDbData& alarm) {
        return areWanted && alarm.enable && !alarm.isDeleted;
    };
    const std::vector<AlarmDbData> alarms = storedAlarms();
    const bool isRight = std::all_of(alarms.begin(), alarms.end(), [&](const AlarmDbData& alarm) {
        return alarm.isDeleted || (alarm.alarm_mgr_id > 0) == shallRing(alarm);
    });
    if (isRight)
        return;
    if (areWanted) {
        AlarmSyncUtil::registerMobileAlarm();
    } else {
        AlarmSyncUtil::unregisterMobileAlarm();
    }
    // The library registers deleted ones too, and cancels none for a phone of another make.
    AlarmDbModel store;
    for (AlarmDbData& alarm : storedAlarms()) {
        if (alarm.alarm_mgr_id <= 0 || shallRing(alarm))
            continue;
        AlarmManagerModel().unregisterAlarmFromServer(alarm, true);
        store.updateAlarmData(alarm, false, false, false, true);
    }
}

} // namespace mirror
