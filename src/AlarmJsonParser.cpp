#include "AlarmJsonParser.h"

#include "AlarmLog.h"
#include "AlarmSyncUtil.h"
#include "JsonNesting.h"
#include "PlatformHandle.h"

#include <json-glib/json-glib.h>

namespace {
const char* const kListMember = "list";
const int kMaxNesting = 512;
const unsigned long long kAlertNow = ~0ULL;

using Error = PlatformHandle<GError*, g_error_free>;
} // namespace

AlarmJsonParser::AlarmJsonParser()
    : _parser(json_parser_new(), g_object_unref)
    , _root(nullptr, json_node_unref)
{
}

AlarmJsonParser::AlarmJsonParser(const std::string& message)
    : AlarmJsonParser()
{
    _prepare(message);
}

AlarmJsonParser::~AlarmJsonParser() = default;

void AlarmJsonParser::setJsonMessage(const std::string& message) { _prepare(message); }

AlarmMessage::Type AlarmJsonParser::getMessageType() { return _type; }

void AlarmJsonParser::getAlarmList(std::vector<AlarmDbData>& out) { out = _alarms; }

void AlarmJsonParser::getStringValue(const std::string& name, std::string& out)
{
    _rootObject().getStringValue(name, out);
}

void AlarmJsonParser::getIntegerValue(const std::string& name, int& out)
{
    _rootObject().getIntegerValue(name, out);
}

void AlarmJsonParser::getBooleanValue(const std::string& name, bool& out)
{
    _rootObject().getBooleanValue(name, out);
}

void AlarmJsonParser::_prepare(const std::string& message)
{
    if (JsonNesting(message).isDeeperThan(kMaxNesting)) {
        LOG_CRITICAL("Nested deeper than %d", kMaxNesting);
        return;
    }
    Error error;
    if (!json_parser_load_from_data(
            _parser.get(), message.c_str(), static_cast<gssize>(message.size()), error.out())) {
        LOG_CRITICAL("%s", error.get()->message);
        return;
    }
    JsonNode* const root = json_parser_get_root(_parser.get());
    if (!root) {
        LOG_CRITICAL("The message holds no value");
        return;
    }

    // A reference of our own: the parser drops its root when a later message cannot be read.
    _root.reset(json_node_ref(root));
    const AlarmJsonObject object = _rootObject();
    std::string name;
    object.getStringValue("msgId", name);
    _type = AlarmMessage::getType(name);
    if (object.hasMember(kListMember))
        _getAlarms();
}

AlarmJsonObject AlarmJsonParser::_rootObject() const
{
    AlarmJsonObject object;
    if (_root && JSON_NODE_HOLDS_OBJECT(_root.get()))
        object.setJsonObject(json_node_get_object(_root.get()));
    return object;
}

void AlarmJsonParser::_getAlarms()
{
    std::list<AlarmJsonObject> objects;
    _rootObject().getArrayObject(kListMember, objects);
    for (const AlarmJsonObject& object : objects)
        _getAlarmFromJsonObject(object, _alarms.emplace_back());
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
void AlarmJsonParser::_getAlarmFromJsonObject(AlarmJsonObject object, AlarmDbData& alarm)
{
    // The getters leave what the object lacks as it was.
    alarm.uuid.clear();
    alarm.name.clear();
    alarm.mobileCreateTime = 0;
    alarm.mobileModifiedTime = 0;
    alarm.mobileAlertTime = 0;
    alarm.isDeleted = false;

    object.getStringValue("uuid", alarm.uuid);
    object.getStringValue("title", alarm.name);
    if (alarm.name.find('\n') != std::string::npos)
        _replaceString(alarm.name, "\n", " ");

    int time = 0;
    object.getIntegerValue("alarm_time", time);
    alarm.hour = time / 100;
    alarm.min = time % 100;

    object.getUnsignedLongLongValue("created_time", alarm.mobileCreateTime);
    object.getUnsignedLongLongValue("modified_time", alarm.mobileModifiedTime);
    object.getUnsignedLongLongValue("alerttime", alarm.mobileAlertTime);
    if (alarm.mobileAlertTime == kAlertNow) {
        alarm.mobileAlertTime
            = static_cast<unsigned long long>(AlarmSyncUtil::getCurrentDeviceMilliSecTime());
    }

    bool enabled = false;
    object.getBooleanValue("enable", enabled);
    alarm.enable = enabled ? 1 : 0;

    int repeat = 0;
    object.getIntegerValue("repeat_type", repeat);
    alarm.repeatWeekly
        = AlarmSyncUtil::convertRepeatWeeklyFromMobileData(repeat, &alarm.repeat_once);

    object.getBooleanValue("is_deleted", alarm.isDeleted);
}

void AlarmJsonParser::_replaceString(
    std::string& text, const std::string& from, const std::string& to)
{
    if (text.empty() || from.empty() || to.empty())
        return;
    size_t at = 0;
    while ((at = text.find(from, at)) != std::string::npos) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
}
