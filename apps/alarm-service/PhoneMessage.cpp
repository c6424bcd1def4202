#include "PhoneMessage.h"

#include "common/PhoneLink.h"
#include "common/Text.h"

#include <AlarmJsonParser.h>
#include <algorithm>
#include <array>
#include <json-glib/json-glib.h>
#include <memory>
#include <set>

namespace {

using Type = AlarmMessage::Type;

const guint kMostAlarms = 1000;
const size_t kLongestUuid = 64;
const size_t kLongestTitle = 1000;
const gint64 kLatest = 253402300799999; ///< milliseconds: the end of the year 9999
const gint64 kAlertNow = -1;
const gint64 kHighest = 0x7fffffff;

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

/// Why a message is refused.
class Refusal {
public:
    explicit Refusal(std::string text)
        : _text(std::move(text))
    {
    }
    const std::string& text() const { return _text; }

private:
    std::string _text;
};

using Parser = std::unique_ptr<JsonParser, void (*)(void*)>;

// The only element of the text in brackets: JSON-GLib would read the first of two texts. The
// library's parser refuses what JSON-GLib could not bear, and looks for no members in an array.
Parser parse(const std::string& text)
{
    const std::string array = "[" + text + "]";
    if (AlarmJsonParser(array).getMessageType() != Type::FirstConnectionReq)
        throw Refusal("it is not JSON, or nested too deep");
    Parser parser(json_parser_new(), g_object_unref);
    (void)json_parser_load_from_data(
        parser.get(), array.data(), static_cast<gssize>(array.size()), nullptr);
    return parser;
}

JsonObject* objectOf(JsonParser* parser)
{
    JsonArray* texts = json_node_get_array(json_parser_get_root(parser));
    JsonNode* node = json_array_get_length(texts) == 1 ? json_array_get_element(texts, 0) : nullptr;
    if (!node || !JSON_NODE_HOLDS_OBJECT(node))
        throw Refusal("it is not one JSON object");
    return json_node_get_object(node);
}

JsonNode* memberOf(JsonObject* object, const char* name, GType type)
{
    JsonNode* node = json_object_get_member(object, name);
    if (!node)
        return nullptr;
    if (!JSON_NODE_HOLDS_VALUE(node) || json_node_get_value_type(node) != type)
        throw Refusal(std::string(name) + " is of another type");
    return node;
}

JsonNode* requiredMember(JsonObject* object, const char* name, GType type)
{
    JsonNode* node = memberOf(object, name, type);
    if (!node)
        throw Refusal(std::string("there is no ") + name);
    return node;
}

std::string textOf(JsonNode* node, const char* name, size_t longest)
{
    std::string text = json_node_get_string(node);
    if (text.size() > longest)
        throw Refusal(std::string(name) + " is longer than " + std::to_string(longest));
    if (!g_utf8_validate(text.c_str(), -1, nullptr))
        throw Refusal(std::string(name) + " is not UTF-8");
    return text;
}

gint64 numberOf(JsonNode* node, const char* name, gint64 lowest, gint64 highest)
{
    const gint64 number = json_node_get_int(node);
    if (number < lowest || number > highest)
        throw Refusal(std::string(name) + " is out of range");
    return number;
}

int requiredNumber(JsonObject* object, const char* name, gint64 lowest, gint64 highest)
{
    return static_cast<int>(
        numberOf(requiredMember(object, name, G_TYPE_INT64), name, lowest, highest));
}

void checkTime(JsonObject* alarm, const char* name, bool isRequired, gint64 lowest)
{
    JsonNode* node = isRequired ? requiredMember(alarm, name, G_TYPE_INT64)
                                : memberOf(alarm, name, G_TYPE_INT64);
    if (node)
        numberOf(node, name, lowest, kLatest);
}

void checkDays(JsonObject* alarm)
{
    const int digit = 16;
    const int once = 1;
    const int value = requiredNumber(alarm, "repeat_type", 0, kHighest);
    if (value % digit != once && value / digit == 0)
        throw Refusal("repeat_type is weekly on no day");
}

// Of an alarm that is deleted nothing else counts than which it is and since when.
void checkAlarm(JsonObject* alarm, std::set<std::string>& uuids)
{
    const std::string uuid
        = textOf(requiredMember(alarm, "uuid", G_TYPE_STRING), "uuid", kLongestUuid);
    if (uuid.empty() || !isCleanText(uuid))
        throw Refusal("a uuid is empty or no plain text");
    if (!uuids.insert(uuid).second)
        throw Refusal("the uuid " + uuid + " comes twice");
    checkTime(alarm, "modified_time", true, 0);
    JsonNode* deleted = memberOf(alarm, "is_deleted", G_TYPE_BOOLEAN);
    if (deleted && json_node_get_boolean(deleted))
        return;

    checkTime(alarm, "created_time", false, 0);
    checkTime(alarm, "alerttime", false, kAlertNow);
    if (JsonNode* title = memberOf(alarm, "title", G_TYPE_STRING))
        textOf(title, "title", kLongestTitle);
    const int minutes = 60;
    if (requiredNumber(alarm, "alarm_time", 0, 2359) % 100 >= minutes)
        throw Refusal("alarm_time is out of range");
    requiredMember(alarm, "enable", G_TYPE_BOOLEAN);
    checkDays(alarm);
}

void checkList(JsonObject* message)
{
    JsonNode* node = json_object_get_member(message, "list");
    if (!node)
        throw Refusal("there is no list");
    if (!JSON_NODE_HOLDS_ARRAY(node))
        throw Refusal("list is not an array");
    JsonArray* list = json_node_get_array(node);
    const guint count = json_array_get_length(list);
    if (count > kMostAlarms)
        throw Refusal("list has more than " + std::to_string(kMostAlarms) + " alarms");
    std::set<std::string> uuids;
    for (guint i = 0; i < count; ++i) {
        JsonNode* alarm = json_array_get_element(list, i);
        if (!JSON_NODE_HOLDS_OBJECT(alarm))
            throw Refusal("list has an element that is no object");
        checkAlarm(json_node_get_object(alarm), uuids);
    }
}

const Kind& kindOf(JsonObject* message)
{
    const std::string name = json_node_get_string(requiredMember(message, "msgId", G_TYPE_STRING));
    const Type type = AlarmMessage::getType(name);
    std::string known;
    AlarmMessage::getId(type, known);
    if (name != known)
        throw Refusal("unknown msgId " + quoted(name));
    const auto* kind = std::find_if(
        kKinds.begin(), kKinds.end(), [type](const Kind& each) { return each.type == type; });
    if (kind == kKinds.end())
        throw Refusal(name + " is not for the phone to send");
    return *kind;
}

void read(const std::string& text, PhoneMessage& message)
{
    if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr))
        throw Refusal("it is not UTF-8");
    const Parser parser = parse(text);
    JsonObject* object = objectOf(parser.get());

    const Kind& kind = kindOf(object);
    message.type = kind.type;
    if (kind.isHello)
        message.phone = requiredNumber(object, "phone", 1, kHighest);
    if (kind.isAnswer)
        message.number = requiredNumber(object, "number", 1, kHighest);
    message.sequence = requiredNumber(object, "sequence", 0, kHighest);
    if (!kind.hasList)
        return;
    checkList(object);
    AlarmJsonParser(text).getAlarmList(message.alarms);
    for (AlarmDbData& alarm : message.alarms)
        alarm.deviceType = app::kPhoneDevice;
}

} // namespace

std::string readPhoneMessage(const std::string& text, PhoneMessage& message)
{
    try {
        read(text, message);
    } catch (const Refusal& refusal) {
        return refusal.text();
    }
    return "";
}
