#include "PhoneMessage.h"

#include "common/Failure.h"
#include "common/Json.h"
#include "common/PhoneLink.h"
#include "common/Text.h"

#include <AlarmJsonParser.h>
#include <algorithm>
#include <array>
#include <cstdint>
#include <PhoneAlarms.h>
#include <set>

namespace {

using app::checkLength;
using app::Json;
using app::memberOf;
using app::numberOf;
using app::requiredMember;
using Type = AlarmMessage::Type;

const size_t kLongestUuid = 64;
const int64_t kLatest = 253402300799999; ///< milliseconds: the end of the year 9999
const int64_t kLatestAlert = 1000LL * (INT32_MAX - 24 * 60 * 60); ///< a record's day is in 32 bits
const int64_t kAlertNow = -1;
const int64_t kHighest = INT32_MAX;

const size_t kLongestEscape = 6; ///< of a byte
const size_t kOtherMembers = 512; ///< with their names, ample
static_assert(
    app::kMostPhoneAlarms * (kLongestEscape * (kLongestUuid + app::kLongestTitle) + kOtherMembers)
        < kLongestPhoneMessage,
    "a message with the most alarms is read");

struct Kind {
    Type type;
    bool isHello;
    bool isAnswer;
    bool hasList;
};

const std::array<Kind, 6> kKinds = { {
    { Type::FirstConnectionReq, true, false, false },
    { Type::SequenceReq, true, false, false },
    { Type::AlarmListRsp, false, true, true },
    { Type::ReconnectWatchChangeRsp, false, true, false },
    { Type::MobileUpdateInd, false, false, true },
    { Type::WatchUpdateAck, false, true, false },
} };

int requiredNumber(const Json& object, const char* name, int64_t lowest, int64_t highest)
{
    return static_cast<int>(
        numberOf(requiredMember(object, name, &Json::is_number_integer), name, lowest, highest));
}

void checkTime(const Json& alarm, const char* name, int64_t lowest = 0, int64_t highest = kLatest)
{
    if (const Json* time = memberOf(alarm, name, &Json::is_number_integer))
        numberOf(*time, name, lowest, highest);
}

// A deleted alarm needs no more than its uuid and its modified_time.
void checkAlarm(const Json& alarm, std::set<std::string>& uuids)
{
    const Json& member = requiredMember(alarm, "uuid", &Json::is_string);
    checkLength(member, "uuid", kLongestUuid);
    const auto& uuid = member.get_ref<const std::string&>();
    if (uuid.empty() || !isCleanText(uuid))
        throw badInput("a uuid is empty or no plain text");
    if (!uuids.insert(uuid).second)
        throw badInput("the uuid " + uuid + " comes twice");
    requiredMember(alarm, "modified_time", &Json::is_number_integer);
    checkTime(alarm, "modified_time");
    const Json* deleted = memberOf(alarm, "is_deleted", &Json::is_boolean);
    if (deleted && deleted->get<bool>())
        return;

    checkTime(alarm, "created_time");
    checkTime(alarm, "alerttime", kAlertNow, kLatestAlert);
    if (const Json* title = memberOf(alarm, "title", &Json::is_string))
        checkLength(*title, "title", app::kLongestTitle);
    const int minutes = 60;
    if (requiredNumber(alarm, "alarm_time", 0, 2359) % 100 >= minutes)
        throw badInput("alarm_time is out of range");
    requiredMember(alarm, "enable", &Json::is_boolean);
    requiredNumber(alarm, "repeat_type", 0, kHighest);
}

/// The number of alarms in the list.
size_t checkList(const Json& message)
{
    const Json& list = requiredMember(message, "list", &Json::is_array);
    if (list.size() > app::kMostPhoneAlarms)
        throw badInput("list has more than " + std::to_string(app::kMostPhoneAlarms) + " alarms");
    std::set<std::string> uuids;
    for (const Json& alarm : list) {
        if (!alarm.is_object())
            throw badInput("list has an element that is no object");
        checkAlarm(alarm, uuids);
    }
    return list.size();
}

const Kind& kindOf(const Json& message)
{
    const auto& name
        = requiredMember(message, "msgId", &Json::is_string).get_ref<const std::string&>();
    const Type type = AlarmMessage::getType(name);
    std::string known;
    AlarmMessage::getId(type, known);
    if (name != known)
        throw badInput("unknown msgId " + quoted(name));
    const auto* kind = std::find_if(
        kKinds.begin(), kKinds.end(), [type](const Kind& each) { return each.type == type; });
    if (kind == kKinds.end())
        throw badInput(name + " is not for the phone to send");
    return *kind;
}

} // namespace

PhoneMessage readPhoneMessage(const std::string& text)
{
    const Json json = app::parseObject(text);
    PhoneMessage message;
    const Kind& kind = kindOf(json);
    message.type = kind.type;
    if (kind.isHello)
        message.phone = requiredNumber(json, "phone", 1, kHighest);
    if (kind.isAnswer)
        message.number = requiredNumber(json, "number", 1, kHighest);
    message.sequence = requiredNumber(json, "sequence", 0, kHighest);
    if (kind.hasList)
        message.listed = checkList(json);
    return message;
}

std::vector<AlarmDbData> readPhoneAlarms(const std::string& text, const PhoneMessage& message)
{
    std::vector<AlarmDbData> alarms;
    if (message.listed == 0)
        return alarms;
    AlarmJsonParser(text).getAlarmList(alarms);
    if (alarms.size() != message.listed)
        throw badInput("list was not read");
    for (AlarmDbData& alarm : alarms) {
        alarm.deviceType = companion::kPhoneDevice;
        // It never rings, which to be on would deny.
        if (!alarm.repeat_once && alarm.repeatWeekly == 0)
            alarm.enable = 0;
    }
    return alarms;
}
