#include "PhoneMessage.h"

#include "common/Failure.h"
#include "common/PhoneLink.h"
#include "common/Text.h"

#include <AlarmJsonParser.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <PhoneAlarms.h>
#include <set>

namespace {

using Json = nlohmann::json;
using Type = AlarmMessage::Type;
using TypeTest = bool (Json::*)() const; ///< such as Json::is_string

const size_t kDeepest = 512; ///< the library reads no deeper nesting
const double kBeyond64Bits = 0x1p63;
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

Failure notJson(size_t byte) { return badInput("it is not JSON at byte " + std::to_string(byte)); }

Failure beyond64Bits(const std::string& number)
{
    return badInput("the number " + quoted(number) + " is out of range");
}

// The library's parser would end a text at its zero character.
void checkNoZero(const std::string& text)
{
    if (text.find('\0') != std::string::npos)
        throw badInput("the text " + quoted(text) + " has a zero character");
}

/// Makes one value of the parts of a JSON text that the parser reports one by one. Throws a Failure
/// for what is no JSON, and for what the library's parser would read as something else.
class JsonBuilder : public Json::json_sax_t {
public:
    explicit JsonBuilder(Json& value)
        : _value(value)
    {
    }

    bool null() override { return _put(nullptr); }
    bool boolean(bool value) override { return _put(value); }
    bool number_integer(Json::number_integer_t value) override { return _put(value); }

    bool number_unsigned(Json::number_unsigned_t value) override
    {
        if (value > INT64_MAX)
            throw beyond64Bits(std::to_string(value));
        return _put(value);
    }

    // The parser also reports a whole number that 64 bits do not hold in this way.
    bool number_float(Json::number_float_t value, const std::string& text) override
    {
        if (std::abs(value) >= kBeyond64Bits)
            throw beyond64Bits(text);
        return _put(value);
    }

    bool string(std::string& value) override
    {
        checkNoZero(value);
        return _put(std::move(value));
    }

    bool key(std::string& name) override
    {
        checkNoZero(name);
        _name = std::move(name);
        return true;
    }

    bool start_object(size_t) override { return _open(Json::object()); }
    bool start_array(size_t) override { return _open(Json::array()); }
    bool end_object() override { return _close(); }
    bool end_array() override { return _close(); }
    bool binary(Json::binary_t&) override { return false; } // JSON has none

    bool parse_error(size_t byte, const std::string& token, const Json::exception& error) override
    {
        if (dynamic_cast<const Json::out_of_range*>(&error))
            throw beyond64Bits(token);
        throw notJson(byte);
    }

private:
    bool _put(Json value)
    {
        _place(std::move(value));
        return true;
    }

    bool _open(Json value)
    {
        if (_opened.size() == kDeepest)
            throw badInput("it is nested too deep");
        _opened.push_back(&_place(std::move(value)));
        return true;
    }

    bool _close()
    {
        _opened.pop_back();
        return true;
    }

    Json& _place(Json value)
    {
        if (_opened.empty())
            return _value = std::move(value);
        Json& parent = *_opened.back();
        if (parent.is_array())
            return parent.emplace_back(std::move(value));
        const auto [member, isNew] = parent.emplace(_name, std::move(value));
        if (!isNew)
            throw badInput("the member " + ::quoted(_name) + " comes twice");
        return *member;
    }

    Json& _value;
    std::vector<Json*> _opened; ///< the objects and arrays that have not ended, outermost first
    std::string _name; ///< of the member whose value comes next
};

Json parse(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos || text[first] != '{')
        throw badInput("it is not one JSON object");
    const size_t zero = text.find('\0'); // the parser would take it for the end
    if (zero != std::string::npos)
        throw notJson(zero + 1);
    Json value;
    JsonBuilder builder(value);
    Json::sax_parse(text, &builder);
    return value;
}

const Json* memberOf(const Json& object, const char* name, TypeTest isOfType)
{
    const auto member = object.find(name);
    if (member == object.end())
        return nullptr;
    if (!((*member).*isOfType)())
        throw badInput(std::string(name) + " is of another type");
    return &*member;
}

const Json& requiredMember(const Json& object, const char* name, TypeTest isOfType)
{
    const Json* member = memberOf(object, name, isOfType);
    if (!member)
        throw badInput(std::string("there is no ") + name);
    return *member;
}

void checkLength(const Json& text, const char* name, size_t longest)
{
    if (text.get_ref<const std::string&>().size() > longest)
        throw badInput(std::string(name) + " is longer than " + std::to_string(longest));
}

int64_t numberOf(const Json& member, const char* name, int64_t lowest, int64_t highest)
{
    const auto number = member.get<int64_t>();
    if (number < lowest || number > highest)
        throw badInput(std::string(name) + " is out of range");
    return number;
}

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
    const Json json = parse(text);
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
