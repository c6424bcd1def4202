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
 * rule, alarms as "list"; or a reply to the voice assistant. A later call with a
 * name that is there replaces the member. Main loop only.
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

    // Replies to the voice assistant: "result" is "success" or "failure", followed by
    // "description". An alarm is described by "id", "time" (atime as wall time of the process's
    // zone, in milliseconds as if that were UTC), "name", "repeatDays" ([{"day":"Sunday"}, ...];
    // none when it rings once), "isRepeat", "enabled" and "snoozeDuration" in minutes.

    /** The reply to a request to open the alarm screen: these two members. */
    void openAlarmByOrvik(bool success, std::string& description);

    /**
     * The reply to a request for a new alarm. It has "alarms", an array of the one
     * alarm: after a success when withAlarm is set, after a failure when description
     * is "SameAlarmExist", for which alarm is the one that exists. With withAlert set,
     * "alarmAlert" is alert.
     */
    void addAlarmByOrvik(AlarmDbData& alarm, bool success, std::string& description, bool withAlarm,
        bool withAlert, bool alert);

    /**
     * The reply to a request for alarms. After a success, "alarms" has those of
     * the vector in its order, and is absent when there are none; after a failure,
     * "alarm" is an empty array. With withAlert set, "alarmAlert" is alert.
     */
    void addAlarmListByOrvik(std::vector<AlarmDbData>& alarms, bool success,
        std::string& description, bool withAlert, bool alert);

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
