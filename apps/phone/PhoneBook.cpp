#include "PhoneBook.h"

#include "common/Failure.h"

#include <AlarmJsonBuilder.h>
#include <AlarmJsonParser.h>
#include <AlarmSyncUtil.h>
#include <algorithm>
#include <app_common.h>
#include <climits>
#include <cstdio>
#include <fstream>
#include <glib.h>
#include <HeapText.h>
#include <iterator>
#include <PhoneAlarms.h>
#include <random>
#include <utility>

namespace {

unsigned long long now()
{
    return static_cast<unsigned long long>(AlarmSyncUtil::getCurrentDeviceMilliSecTime());
}

std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), {} };
}

} // namespace

PhoneBook::PhoneBook()
{
    _path = companion::takeText(app_get_data_path()) + "phone.json";
    const std::string text = readFile(_path);
    if (text.empty())
        return;
    AlarmJsonParser parser(text);
    parser.getAlarmList(_state.alarms);
    parser.getIntegerValue("pairing", _state.pairing);
    parser.getIntegerValue("sequence", _state.sequence);
    parser.getBooleanValue("met", _state.hasMet);
}

const AlarmDbData* PhoneBook::find(int number) const
{
    if (number < 1 || number > static_cast<int>(_state.alarms.size()))
        return nullptr;
    const AlarmDbData& alarm = _state.alarms[static_cast<size_t>(number) - 1];
    return alarm.isDeleted ? nullptr : &alarm;
}

unsigned PhoneBook::count() const
{
    return static_cast<unsigned>(std::count_if(_state.alarms.begin(), _state.alarms.end(),
        [](const AlarmDbData& alarm) { return !alarm.isDeleted; }));
}

int PhoneBook::add(AlarmDbData alarm)
{
    alarm.deviceType = companion::kPhoneDevice;
    alarm.uuid = companion::takeText(g_uuid_string_random());
    alarm.mobileCreateTime = now();
    alarm.mobileModifiedTime = alarm.mobileCreateTime;
    State changed = _state;
    changed.alarms.push_back(alarm);
    ++changed.sequence;
    _save(std::move(changed));
    return static_cast<int>(_state.alarms.size());
}

void PhoneBook::change(int number, AlarmDbData alarm)
{
    State changed = _state;
    AlarmDbData& own = changed.alarms[static_cast<size_t>(number) - 1];
    alarm.mobileModifiedTime = std::max(now(), own.mobileModifiedTime + 1);
    own = alarm;
    ++changed.sequence;
    _save(std::move(changed));
}

void PhoneBook::merge(const std::vector<AlarmDbData>& alarms)
{
    State changed = _state;
    bool isOwnLater = false;
    for (const AlarmDbData& alarm : alarms) {
        const auto own = std::find_if(changed.alarms.begin(), changed.alarms.end(),
            [&alarm](const AlarmDbData& each) { return each.uuid == alarm.uuid; });
        if (own == changed.alarms.end()) {
            if (!alarm.isDeleted)
                changed.alarms.push_back(alarm);
        } else if (own->mobileModifiedTime <= alarm.mobileModifiedTime) {
            *own = alarm;
        } else {
            isOwnLater = true;
        }
    }
    changed.sequence += isOwnLater ? 1 : 0;
    _save(std::move(changed));
}

void PhoneBook::pair()
{
    std::random_device random;
    State changed = _state;
    changed.pairing = std::uniform_int_distribution<int>(1, INT_MAX)(random);
    changed.hasMet = false;
    _save(std::move(changed));
}

void PhoneBook::meet()
{
    State changed = _state;
    changed.hasMet = true;
    _save(std::move(changed));
}

void PhoneBook::_save(State changed)
{
    AlarmJsonBuilder builder;
    builder.addIntegerMember("pairing", changed.pairing);
    builder.addIntegerMember("sequence", changed.sequence);
    builder.addBooleanMember("met", changed.hasMet);
    builder.addAlarmList(changed.alarms);
    std::string text;
    builder.getJsonMessage(text);
    const std::string made = _path + ".new";
    std::ofstream file(made, std::ios::binary);
    file << text;
    file.close();
    if (!file || rename(made.c_str(), _path.c_str()) != 0)
        throw Failure(Failure::kFailed, "the phone's alarms cannot be stored");
    _state = std::move(changed);
}
