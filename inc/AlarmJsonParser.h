#pragma once

#include "AlarmDbData.h"
#include "AlarmJsonObject.h"
#include "AlarmMessage.h"

#include <memory>
#include <string>
#include <vector>

typedef struct _JsonNode JsonNode;
typedef struct _JsonParser JsonParser;

/**
 * Reads incoming messages: their kind from "msgId" and their alarms from
 * "list". Main loop only.
 *
 * Any text may be given. What JSON-GLib cannot read, what holds no value, and what
 * is nested deeper than 512 is logged and changes nothing. JSON-GLib reads more than
 * JSON: comments, single quotes and broken escapes.
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
     * hour and min may be out of range. A line feed in a title became a blank, an
     * "alerttime" of -1 the time at which the message was read. deviceType stays that of
     * the watch: the caller sets it before the alarm is stored.
     */
    void getAlarmList(std::vector<AlarmDbData>& out);

    // Members of the last message that could be read, as the getters of AlarmJsonObject.

    void getStringValue(const std::string& name, std::string& out);
    void getIntegerValue(const std::string& name, int& out);
    void getBooleanValue(const std::string& name, bool& out);

    /** As setJsonMessage(). */
    void _prepare(const std::string& message);

    /** Appends the alarms of the last message's "list". */
    void _getAlarms();

    /** Fills the members that the phone sends; those that the object lacks as getAlarmList(). */
    void _getAlarmFromJsonObject(AlarmJsonObject object, AlarmDbData& alarm);

    /**
     * Replaces each from in text by to, not looking at what it has put there. Does
     * nothing when one of the three is empty.
     */
    void _replaceString(std::string& text, const std::string& from, const std::string& to);

private:
    AlarmJsonObject _rootObject() const;

    std::unique_ptr<JsonParser, void (*)(void*)> _parser;
    std::unique_ptr<JsonNode, void (*)(JsonNode*)> _root;
    AlarmMessage::Type _type = static_cast<AlarmMessage::Type>(-1);
    std::vector<AlarmDbData> _alarms;
};
