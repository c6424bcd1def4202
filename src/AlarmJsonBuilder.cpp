#include "AlarmJsonBuilder.h"

#include "AlarmDbData.h"
#include "AlarmIcuDataModel.h"
#include "AlarmOrvikUtil.h"
#include "AlarmSyncUtil.h"

#include <ctime>
#include <json-glib/json-glib.h>
#include <list>

namespace {
const char* const kTypeMember = "msgId";
const char* const kListMember = "list";
const char* const kVoiceListMember = "alarms";
const char* const kSameAlarm = "SameAlarmExist";

void makeEmpty(AlarmJsonObject& out)
{
    JsonObject* object = json_object_new();
    out.setJsonObject(object);
    json_object_unref(object);
}

std::list<AlarmJsonObject> objectsOf(const std::vector<AlarmDbData>& alarms,
    AlarmJsonBuilder& builder, void (AlarmJsonBuilder::*fill)(AlarmDbData&, AlarmJsonObject&))
{
    std::list<AlarmJsonObject> objects;
    for (AlarmDbData alarm : alarms)
        (builder.*fill)(alarm, objects.emplace_back());
    return objects;
}

std::list<AlarmJsonObject> weekdaysOf(const AlarmDbData& alarm)
{
    static const char* const names[]
        = { "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday" };
    std::list<AlarmJsonObject> weekdays;
    for (const char digit :
        AlarmOrvikUtil::convertRepeatWeeklyToOrvikData(alarm.repeatWeekly, alarm.repeat_once)) {
        if (digit < '1' || digit > '7')
            continue;
        AlarmJsonObject& weekday = weekdays.emplace_back();
        makeEmpty(weekday);
        weekday.addStringMember("day", names[digit - '1']);
    }
    return weekdays;
}

void describe(const AlarmDbData& alarm, AlarmJsonObject& out)
{
    const long long milliseconds = 1000;
    makeEmpty(out);
    out.addIntegerMember("id", alarm.id);
    out.addLongLongIntMember(
        "time", AlarmIcuDataModel::getLocalTimeTfromUtcTimeT(alarm.atime) * milliseconds);
    out.addStringMember("name", alarm.name);
    out.addArrayMember("repeatDays", weekdaysOf(alarm));
    out.addBooleanMember("isRepeat", alarm.repeat_once == 0);
    out.addBooleanMember("enabled", alarm.enable != 0);
    out.addIntegerMember("snoozeDuration", alarm.snooze_min);
}

void addResult(AlarmJsonObject& message, bool success, const std::string& description)
{
    message.addStringMember("result", success ? "success" : "failure");
    message.addStringMember("description", description);
}

void addAlert(AlarmJsonObject& message, bool withAlert, bool alert)
{
    if (withAlert)
        message.addBooleanMember("alarmAlert", alert);
}
} // namespace

AlarmJsonBuilder::AlarmJsonBuilder()
    : _node(json_node_new(JSON_NODE_OBJECT), json_node_free)
{
    makeEmpty(_message);
    json_node_set_object(_node.get(), _message.getJsonObject());
}

AlarmJsonBuilder::~AlarmJsonBuilder() = default;

void AlarmJsonBuilder::setMessageType(AlarmMessage::Type type)
{
    std::string name;
    AlarmMessage::getId(type, name);
    if (_message.hasMember(kTypeMember))
        _message.removeMember(kTypeMember);
    _message.addStringMember(kTypeMember, name);
}

void AlarmJsonBuilder::addStringMember(const std::string& name, const std::string& value)
{
    _message.addStringMember(name, value);
}

void AlarmJsonBuilder::addBooleanMember(const std::string& name, bool value)
{
    _message.addBooleanMember(name, value);
}

void AlarmJsonBuilder::addIntegerMember(const std::string& name, int value)
{
    _message.addIntegerMember(name, value);
}

void AlarmJsonBuilder::addUnsignedLongLongMember(const std::string& name, unsigned long long value)
{
    _message.addUnsignedLongLongMember(name, value);
}

void AlarmJsonBuilder::addAlarmsByApp(std::vector<AlarmDbData>& alarms)
{
    _message.addArrayMember(
        kListMember, objectsOf(alarms, *this, &AlarmJsonBuilder::_getMinimumJsonObjectFromAlarm));
}

void AlarmJsonBuilder::addAlarmList(std::vector<AlarmDbData>& alarms)
{
    _message.addArrayMember(
        kListMember, objectsOf(alarms, *this, &AlarmJsonBuilder::_getJsonObjectFromAlarm));
}

void AlarmJsonBuilder::openAlarmByOrvik(bool success, std::string& description)
{
    addResult(_message, success, description);
}

void AlarmJsonBuilder::addAlarmByOrvik(AlarmDbData& alarm, bool success, std::string& description,
    bool withAlarm, bool withAlert, bool alert)
{
    addResult(_message, success, description);
    if (success ? withAlarm : description == kSameAlarm) {
        std::list<AlarmJsonObject> described(1);
        describe(alarm, described.front());
        _message.addArrayMember(kVoiceListMember, described);
    }
    addAlert(_message, withAlert, alert);
}

void AlarmJsonBuilder::addAlarmListByOrvik(std::vector<AlarmDbData>& alarms, bool success,
    std::string& description, bool withAlert, bool alert)
{
    addResult(_message, success, description);
    if (!success) {
        _message.addArrayMember("alarm", {});
    } else if (!alarms.empty()) {
        std::list<AlarmJsonObject> described;
        for (const AlarmDbData& alarm : alarms)
            describe(alarm, described.emplace_back());
        _message.addArrayMember(kVoiceListMember, described);
    }
    addAlert(_message, withAlert, alert);
}

void AlarmJsonBuilder::getJsonMessage(std::string& out) { _message.getJsonMessage(out); }

void AlarmJsonBuilder::_getMinimumJsonObjectFromAlarm(AlarmDbData& alarm, AlarmJsonObject& out)
{
    const time_t start = AlarmIcuDataModel::verifyExistingTimeForDst(alarm);
    tm local = {};
    localtime_r(&start, &local);

    makeEmpty(out);
    out.addIntegerMember("id", alarm.id);
    out.addIntegerMember("hour", local.tm_hour);
    out.addIntegerMember("min", local.tm_min);
    out.addIntegerMember("enable", alarm.enable);
}

void AlarmJsonBuilder::_getJsonObjectFromAlarm(AlarmDbData& alarm, AlarmJsonObject& out)
{
    makeEmpty(out);
    out.addStringMember("uuid", alarm.uuid);
    out.addStringMember("title", alarm.name);
    out.addLongLongIntMember("alarm_time", alarm.hour * 100LL + alarm.min);
    out.addUnsignedLongLongMember("alerttime", alarm.mobileAlertTime);
    out.addUnsignedLongLongMember("created_time", alarm.mobileCreateTime);
    out.addUnsignedLongLongMember("modified_time", alarm.mobileModifiedTime);
    out.addBooleanMember("enable", alarm.enable != 0);
    out.addIntegerMember("repeat_type",
        AlarmSyncUtil::convertRepeatWeeklyFromWatchData(alarm.repeatWeekly, alarm.repeat_once));
    out.addBooleanMember("is_deleted", alarm.isDeleted);
}

void AlarmJsonBuilder::_setWhenJsonObejct(AlarmJsonObject& out, long /*time*/) { makeEmpty(out); }
