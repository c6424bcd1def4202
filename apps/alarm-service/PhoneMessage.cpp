#include "PhoneMessage.h"

#include "common/Failure.h"
#include "common/Text.h"
#include "StrictJson.h"

#include <AlarmJsonParser.h>
#include <algorithm>
#include <array>
#include <cstdint>
#include <json-glib/json-glib.h>
#include <memory>
#include <PhoneAlarms.h>
#include <set>

namespace {

using Type = AlarmMessage::Type;

const size_t kLongestUuid = 64;
const gint64 kLatest = 253402300799999; ///< milliseconds: the end of the year 9999
const gint64 kLatestAlert = 1000LL * (INT32_MAX - 24 * 60 * 60); ///< a record's day is in 32 bits
const gint64 kAlertNow = -1;
const gint64 kHighest = 0x7fffffff;

const size_t kLongestEscape = 6; ///< of a byte
const size_t kOtherMembers = 512; ///< with their names, ample
static_assert(companion::kMostPhoneAlarms
            * (kLongestEscape * (kLongestUuid + companion::kLongestTitle) + kOtherMembers)
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

using Parser = std::unique_ptr<JsonParser, void (*)(void*)>;

Parser parse(const std::string& text)
{
    Parser parser(json_parser_new(), g_object_unref);
    if (!json_parser_load_from_data(
            parser.get(), text.data(), static_cast<gssize>(text.size()), nullptr))
        throw badInput("it is not JSON");
    return parser;
}

JsonObject* objectOf(JsonParser* parser)
{
    JsonNode* node = json_parser_get_root(parser);
    if (!node || !JSON_NODE_HOLDS_OBJECT(node))
        throw badInput("it is not one JSON object");
    return json_node_get_object(node);
}

JsonNode* memberOf(JsonObject* object, const char* name, GType type)
{
    JsonNode* node = json_object_get_member(object, name);
    if (!node)
        return nullptr;
    if (!JSON_NODE_HOLDS_VALUE(node) || json_node_get_value_type(node) != type)
        throw badInput(std::string(name) + " is of another type");
    return node;
}

JsonNode* requiredMember(JsonObject* object, const char* name, GType type)
{
    JsonNode* node = memberOf(object, name, type);
    if (!node)
        throw badInput(std::string("there is no ") + name);
    return node;
}

std::string textOf(JsonNode* node, const char* name, size_t longest)
{
    std::string text = json_node_get_string(node);
    if (text.size() > longest)
        throw badInput(std::string(name) + " is longer than " + std::to_string(longest));
    if (!g_utf8_validate(text.c_str(), -1, nullptr))
        throw badInput(std::string(name) + " is not UTF-8");
    return text;
}

gint64 numberOf(JsonNode* node, const char* name, gint64 lowest, gint64 highest)
{
    const gint64 number = json_node_get_int(node);
    if (number < lowest || number > highest)
        throw badInput(std::string(name) + " is out of range");
    return number;
}

int requiredNumber(JsonObject* object, const char* name, gint64 lowest, gint64 highest)
{
    return static_cast<int>(
        numberOf(requiredMember(object, name, G_TYPE_INT64), name, lowest, highest));
}

void checkTime(JsonObject* alarm, const char* name, bool isRequired, gint64 lowest = 0,
    gint64 highest = kLatest)
{
    JsonNode* node = isRequired ? requiredMember(alarm, name, G_TYPE_INT64)
                                : memberOf(alarm, name, G_TYPE_INT64);
    if (node)
        numberOf(node, name, lowest, highest);
}

// Of an alarm that is deleted nothing else counts than which it is and since when.
void checkAlarm(JsonObject* alarm, std::set<std::string>& uuids)
{
    const std::string uuid
        = textOf(requiredMember(alarm, "uuid", G_TYPE_STRING), "uuid", kLongestUuid);
    if (uuid.empty() || !isCleanText(uuid))
        throw badInput("a uuid is empty or no plain text");
    if (!uuids.insert(uuid).second)
        throw badInput("the uuid " + uuid + " comes twice");
    checkTime(alarm, "modified_time", true);
    JsonNode* deleted = memberOf(alarm, "is_deleted", G_TYPE_BOOLEAN);
    if (deleted && json_node_get_boolean(deleted))
        return;

    checkTime(alarm, "created_time", false);
    checkTime(alarm, "alerttime", false, kAlertNow, kLatestAlert);
    if (JsonNode* title = memberOf(alarm, "title", G_TYPE_STRING))
        textOf(title, "title", companion::kLongestTitle);
    const int minutes = 60;
    if (requiredNumber(alarm, "alarm_time", 0, 2359) % 100 >= minutes)
        throw badInput("alarm_time is out of range");
    requiredMember(alarm, "enable", G_TYPE_BOOLEAN);
    requiredNumber(alarm, "repeat_type", 0, kHighest);
}

/// The number of alarms.
guint checkList(JsonObject* message)
{
    JsonNode* node = json_object_get_member(message, "list");
    if (!node)
        throw badInput("there is no list");
    if (!JSON_NODE_HOLDS_ARRAY(node))
        throw badInput("list is not an array");
    JsonArray* list = json_node_get_array(node);
    const guint count = json_array_get_length(list);
    if (count > companion::kMostPhoneAlarms)
        throw badInput(
            "list has more than " + std::to_string(companion::kMostPhoneAlarms) + " alarms");
    std::set<std::string> uuids;
    for (guint i = 0; i < count; ++i) {
        JsonNode* alarm = json_array_get_element(list, i);
        if (!JSON_NODE_HOLDS_OBJECT(alarm))
            throw badInput("list has an element that is no object");
        checkAlarm(json_node_get_object(alarm), uuids);
    }
    return count;
}

const Kind& kindOf(JsonObject* message)
{
    const std::string name = json_node_get_string(requiredMember(message, "msgId", G_TYPE_STRING));
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
    if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr))
        throw badInput("it is not UTF-8");
    checkStrictJson(text);
    const Parser parser = parse(text);
    JsonObject* object = objectOf(parser.get());

    PhoneMessage message;
    const Kind& kind = kindOf(object);
    message.type = kind.type;
    if (kind.isHello)
        message.phone = requiredNumber(object, "phone", 1, kHighest);
    if (kind.isAnswer)
        message.number = requiredNumber(object, "number", 1, kHighest);
    message.sequence = requiredNumber(object, "sequence", 0, kHighest);
    if (kind.hasList)
        message.listed = checkList(object);
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
