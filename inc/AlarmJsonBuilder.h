#pragma once

#include "AlarmJsonObject.h"
#include "AlarmMessage.h"

#include <memory>
#include <string>
#include <vector>

struct AlarmDbData;
typedef struct _JsonNode JsonNode;

/**
 * Builds one outgoing message: a JSON object with its kind as "msgId" and, as a
 * rule, alarms as "list". A later call with a name that is there replaces the
 * member. Main loop only.
 */
class AlarmJsonBuilder {
public:
    AlarmJsonBuilder();
    AlarmJsonBuilder(const AlarmJsonBuilder&) = delete;
    AlarmJsonBuilder& operator=(const AlarmJsonBuilder&) = delete;
    virtual ~AlarmJsonBuilder();

    /** Sets "msgId", to an empty text for an unknown kind. */
    void setMessageType(AlarmMessage::Type type);

    void addStringMember(const std::string& name, const std::string& value);
    void addBooleanMember(const std::string& name, bool value);
    void addIntegerMember(const std::string& name, int value);
    void addUnsignedLongLongMember(const std::string& name, unsigned long long value);

    /** "list" becomes the alarms in the short form, which other applications read. Unsets TZ. */
    void addAlarmsByApp(std::vector<AlarmDbData>& alarms);

    /** "list" becomes the alarms in the full form, which the phone and AlarmJsonParser read. */
    void addAlarmList(std::vector<AlarmDbData>& alarms);

    /** The message as compact text. */
    void getJsonMessage(std::string& out);

    /**
     * Makes out a new object with "id", "enable" (a number), and "hour" and "min" of
     * the local time at which the alarm will really ring, after a change of
     * daylight-saving time too. Unsets TZ.
     */
    void _getMinimumJsonObjectFromAlarm(AlarmDbData& alarm, AlarmJsonObject& out);

    /**
     * Makes out a new object with "uuid", "title", "alarm_time" (705 is 07:05),
     * "alerttime", "created_time", "modified_time", "enable" (a boolean),
     * "repeat_type" and "is_deleted".
     */
    void _getJsonObjectFromAlarm(AlarmDbData& alarm, AlarmJsonObject& out);

    /** Makes out a new empty object, whatever the time. */
    void _setWhenJsonObejct(AlarmJsonObject& out, long time);

private:
    AlarmJsonObject _message;
    std::unique_ptr<JsonNode, void (*)(JsonNode*)> _node;
};
