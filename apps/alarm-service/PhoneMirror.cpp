#include "PhoneMirror.h"

#include "PhoneRows.h"

#include <AlarmReading.h>
#include <algorithm>
#include <map>
#include <string>

namespace mirror {

namespace {

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
    Pass(List list, rows::Writer& writer)
        : _list(list)
        , _writer(writer)
    {
        for (AlarmDbData& alarm : writer.stored()) {
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
        } else if (const AlarmDbData alarm = merged(stored, phones);
                   !rows::isSameContent(stored, alarm)) {
            _writer.change(stored, alarm);
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

    // Whether what the phone says is older than what is stored. A whole list is what the phone has
    // now; a single change may have been on its way for long.
    bool _isOlder(const AlarmDbData& phones, const AlarmDbData& stored) const
    {
        if (stored.isNeedToSync)
            return phones.mobileModifiedTime <= stored.mobileModifiedTime;
        return _list == List::Changes && phones.mobileModifiedTime < stored.mobileModifiedTime;
    }

    void _insert(AlarmDbData alarm)
    {
        alarm.volume = companion::newAlarm().volume;
        _writer.insert(alarm);
    }

    List _list;
    rows::Writer& _writer;
    std::map<std::string, AlarmDbData> _stored; ///< alarms that are not yet taken, by uuid
};

bool takeList(const std::vector<AlarmDbData>& alarms, List list)
{
    return rows::inTurns([&](rows::Writer& writer) { return Pass(list, writer).take(alarms); });
}

rows::Turn removeSome(rows::Writer& writer)
{
    for (const AlarmDbData& alarm : writer.stored()) {
        if (writer.mayWrite())
            writer.remove(alarm);
    }
    return writer.end();
}

// Whether the phone has heard of these changes when it has heard of what was sent.
bool areSame(const std::vector<AlarmDbData>& now, const std::vector<AlarmDbData>& sent)
{
    return std::equal(now.begin(), now.end(), sent.begin(), sent.end(),
        [](const AlarmDbData& left, const AlarmDbData& right) {
            return left.uuid == right.uuid && rows::isSameContent(left, right);
        });
}

} // namespace

bool take(const std::vector<AlarmDbData>& alarms) { return takeList(alarms, List::Changes); }

bool takeAll(const std::vector<AlarmDbData>& alarms) { return takeList(alarms, List::Whole); }

bool drop() { return rows::inTurns(removeSome); }

std::vector<AlarmDbData> unsynced()
{
    return companion::AlarmReading().unsynced().value_or(std::vector<AlarmDbData>());
}

Settled settle(const std::vector<AlarmDbData>& sent)
{
    using companion::AlarmSaving;
    AlarmSaving saving;
    std::vector<AlarmDbData> now = saving.phoneAlarms();
    if (saving.state() != companion::Saved::Yes)
        return Settled::No;
    now.erase(std::remove_if(now.begin(), now.end(),
                  [](const AlarmDbData& alarm) { return !alarm.isNeedToSync; }),
        now.end());
    std::sort(now.begin(), now.end(),
        [](const AlarmDbData& left, const AlarmDbData& right) { return left.id < right.id; });
    if (!areSame(now, sent))
        return Settled::ChangedSince;
    for (const AlarmDbData& alarm : now) {
        AlarmDbData settled = alarm;
        settled.isNeedToSync = false;
        (void)(alarm.isDeleted ? saving.erase(alarm, AlarmSaving::News::Silent)
                               : saving.replace(alarm, settled, AlarmSaving::News::Silent));
    }
    return saving.commit() == companion::Saved::Yes ? Settled::Yes : Settled::No;
}

} // namespace mirror
