#pragma once

#include "AlarmDbData.h"
#include "AlarmMessage.h"

#include <string>
#include <vector>

class AlarmJsonObject;
typedef struct _JsonNode JsonNode;
typedef struct _JsonParser JsonParser;

/**
 * Reads incoming messages: their kind from "msgId" and their alarms from
 * "list". Main loop only.
 *
 * Any text may be given. What is not JSON, and what is nested deeper than 512,
 * is logged and changes nothing.
 */
class AlarmJsonParser {
public:
    /** Has read nothing: the kind is -1, there are no alarms. */
    AlarmJsonParser();
    /** Has read the message. */
    explicit AlarmJsonParser(const std::string& message);
    AlarmJsonParser(const AlarmJsonParser&) = delete;
    AlarmJsonParser& operator=(const AlarmJsonParser&) = delete;
    virtual ~AlarmJsonParser();

    /** Reads another message, whose alarms are added to those that are there. */
    void setJsonMessage(const std::string& message);

    /**
     * The kind of the last message that could be read, -1 before the first. Without
     * "msgId" or with an unknown one it is FirstConnectionReq.
     */
    AlarmMessage::Type getMessageType();

    /**
     * Replaces out by the alarms of all messages so far, in their order. Nothing but the
     * members that the phone sends is filled; absent ones are 0, false or empty, and
     * hour and min may be out of range. deviceType stays that of the watch: the
     * caller sets it before the alarm is stored.
     */
    void getAlarmList(std::vector<AlarmDbData>& out);

    // Members of the last message that could be read, as the getters of AlarmJsonObject.

    void getStringValue(const std::string& name, std::string& out);
    void getIntegerValue(const std::string& name, int& out);
    void getBooleanValue(const std::string& name, bool& out);

private:
    void _prepare(const std::string& message);
    AlarmJsonObject _rootObject() const;
    void _getAlarms();
    static void _getAlarmFromJsonObject(const AlarmJsonObject& object, AlarmDbData& alarm);
    static void _replaceString(std::string& text, const std::string& from, const std::string& to);

    JsonParser* _parser;
    JsonNode* _root = nullptr;
    AlarmMessage::Type _type = static_cast<AlarmMessage::Type>(-1);
    std::vector<AlarmDbData> _alarms;
};
