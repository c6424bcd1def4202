#include "PhoneBook.h"

#include "common/Failure.h"
#include "common/PhoneLink.h"

#include <AlarmJsonBuilder.h>
#include <AlarmJsonParser.h>
#include <AlarmSyncUtil.h>
#include <algorithm>
#include <app_common.h>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>

namespace {

unsigned long long now()
{
    return static_cast<unsigned long long>(AlarmSyncUtil::getCurrentDeviceMilliSecTime());
}

std::string makeUuid()
{
    std::string uuid;
    std::getline(std::ifstream("/proc/sys/kernel/random/uuid"), uuid);
    return uuid;
}

std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), {} };
}

} // namespace

PhoneBook::PhoneBook()
{
    const std::unique_ptr<char, void (*)(void*)> folder(app_get_data_path(), free);
    _path = std::string(folder ? folder.get() : "") + "phone.json";
    const std::string text = readFile(_path);
    if (text.empty())
        return;
    AlarmJsonParser parser(text);
    parser.getAlarmList(_alarms);
    parser.getIntegerValue("pairing", _pairing);
    parser.getIntegerValue("sequence", _sequence);
    parser.getBooleanValue("met", _hasMet);
}

const AlarmDbData* PhoneBook::find(int number) const
{
    if (number < 1 || number > static_cast<int>(_alarms.size()))
        return nullptr;
    const AlarmDbData& alarm = _alarms[static_cast<size_t>(number) - 1];
    return alarm.isDeleted ? nullptr : &alarm;
}

int PhoneBook::add(AlarmDbData alarm)
{
    alarm.deviceType = app::kPhoneDevice;
    alarm.uuid = makeUuid();
    alarm.mobileCreateTime = now();
    alarm.mobileModifiedTime = alarm.mobileCreateTime;
    _alarms.push_back(alarm);
    ++_sequence;
    _save();
    return static_cast<int>(_alarms.size());
}

void PhoneBook::change(int number, AlarmDbData alarm)
{
    AlarmDbData& own = _alarms[static_cast<size_t>(number) - 1];
    alarm.mobileModifiedTime = std::max(now(), own.mobileModifiedTime + 1);
    own = alarm;
    ++_sequence;
    _save();
}

void PhoneBook::merge(const std::vector<AlarmDbData>& alarms)
{
    bool isOwnLater = false;
    for (const AlarmDbData& alarm : alarms) {
        const auto own = std::find_if(_alarms.begin(), _alarms.end(),
            [&alarm](const AlarmDbData& each) { return each.uuid == alarm.uuid; });
        if (own == _alarms.end()) {
            if (!alarm.isDeleted)
                _alarms.push_back(alarm);
        } else if (own->mobileModifiedTime <= alarm.mobileModifiedTime) {
            *own = alarm;
        } else {
            isOwnLater = true;
        }
    }
    _sequence += isOwnLater ? 1 : 0;
    _save();
}

void PhoneBook::pair()
{
    std::random_device random;
    _pairing = std::uniform_int_distribution<int>(1, INT_MAX)(random);
    _hasMet = false;
    _save();
}

void PhoneBook::meet()
{
    _hasMet = true;
    _save();
}

void PhoneBook::_save()
{
    AlarmJsonBuilder builder;
    builder.addIntegerMember("pairing", _pairing);
    builder.addIntegerMember("sequence", _sequence);
    builder.addBooleanMember("met", _hasMet);
    builder.addAlarmList(_alarms);
    std::string text;
    builder.getJsonMessage(text);
    const std::string made = _path + ".new";
    std::ofstream file(made, std::ios::binary);
    file << text;
    file.close();
    if (!file || rename(made.c_str(), _path.c_str()) != 0)
        throw Failure(Failure::kFailed, "the phone's alarms cannot be stored");
}
