#include "PhoneMirror.h"

#include "common/SaveLock.h"
#include "PhoneRinging.h"
#include "PhoneRows.h"

#include <AlarmDbModel.h>
#include <algorithm>
#include <map>
#include <string>

namespace mirror {

namespace {

const int kVolumeOfNewAlarm = 10;

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

/// What the phone has sent: some of its alarms, that changed, or all that it has.
enum class List { Changes, Whole };

/// One turn over the phone's alarms, which writes what is not yet stored, or some of it.
class Pass {
public:
    Pass(List list, int modTime)
        : _list(list)
        , _modTime(modTime)
    {
        for (AlarmDbData& alarm : rows::stored()) {
            if (!_stored.emplace(alarm.uuid, alarm).second && _writer.mayWrite())
                _writer.remove(alarm);
        }
    }

    rows::Turn take(const std::vector<AlarmDbData>& alarms)
    {
        for (auto alarm = alarms.begin(); alarm != alarms.end() && _writer.mayWrite(); ++alarm)
            _take(*alarm);
        if (_list == List::Whole)
            _removeOthers();
        return _writer.end();
    }

private:
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
            _writer.remove(stored);
        } else {
            _change(stored, merged(stored, phones));
        }
    }

    // A change that the phone has not heard of stays.
    void _removeOthers()
    {
        for (const auto& [uuid, alarm] : _stored) {
            if (!_writer.mayWrite())
                return;
            if (!alarm.isNeedToSync || alarm.isDeleted)
                _writer.remove(alarm);
        }
    }

    // A whole list is what the phone has now; a single change may have been on its way for long.
    bool _isOlder(const AlarmDbData& phones, const AlarmDbData& stored) const
    {
        if (stored.isNeedToSync)
            return phones.mobileModifiedTime <= stored.mobileModifiedTime;
        return _list == List::Changes && phones.mobileModifiedTime < stored.mobileModifiedTime;
    }

    void _insert(AlarmDbData alarm)
    {
        alarm.volume = kVolumeOfNewAlarm;
        alarm.modTime = _modTime++;
        registerPhoneAlarm(alarm);
        _writer.insert(alarm);
    }

    void _change(const AlarmDbData& stored, AlarmDbData alarm)
    {
        if (rows::isSameContent(stored, alarm))
            return;
        alarm.modTime = _modTime++;
        if (!rows::isSameTime(stored, alarm))
            registerPhoneAlarm(alarm);
        _writer.change(stored, alarm);
    }

    List _list;
    int _modTime;
    std::map<std::string, AlarmDbData> _stored; ///< those not yet taken, by uuid
    rows::Writer _writer;
};

bool takeList(const std::vector<AlarmDbData>& alarms, List list)
{
    const int most = rows::Writer::kWritesOfATurn;
    const int modTimes = std::clamp(static_cast<int>(alarms.size()), 1, most);
    return rows::inTurns([&](app::SaveLock& lock) {
        const int modTime = lock.takeModTime(modTimes);
        return modTime < 0 ? rows::Turn::Failed : Pass(list, modTime).take(alarms);
    });
}

rows::Turn removeSome()
{
    rows::Writer writer;
    for (const AlarmDbData& alarm : rows::stored()) {
        if (writer.mayWrite())
            writer.remove(alarm);
    }
    return writer.end();
}

} // namespace

bool take(const std::vector<AlarmDbData>& alarms) { return takeList(alarms, List::Changes); }

bool takeAll(const std::vector<AlarmDbData>& alarms) { return takeList(alarms, List::Whole); }

bool drop()
{
    return rows::inTurns([](app::SaveLock&) { return removeSome(); });
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
        return left.uuid == right.uuid && rows::isSameContent(left, right);
    };
    if (!std::equal(now.begin(), now.end(), sent.begin(), sent.end(), isSame))
        return Settled::ChangedSince;
    AlarmDbModel store;
    for (AlarmDbData alarm : now) {
        if (alarm.isDeleted)
            store.removeAlarmData(alarm, false, false, false, false);
    }
    const std::vector<AlarmDbData> left = unsynced();
    if (std::any_of(left.begin(), left.end(), [](const auto& alarm) { return alarm.isDeleted; }))
        return Settled::No;
    store.updateUnsyncedAlarmDataToDefault();
    return store.getNumberOfUnsyncedAlarm() == 0 ? Settled::Yes : Settled::No;
}

} // namespace mirror
