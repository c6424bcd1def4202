#pragma once

#include <string>

typedef struct _GHashTable GHashTable;

/**
 * The kinds of message that watch and phone exchange about alarms. A message
 * carries the name of its kind as its member "msgId". Main loop only.
 */
class AlarmMessage {
public:
    /** A response follows its request; an indication follows its acknowledgement. */
    enum Type : int {
        FirstConnectionReq,
        FirstConnectionRsp,
        SequenceReq,
        SequenceRsp,
        AlarmListReq,
        AlarmListRsp,
        ReconnectWatchChangeReq,
        ReconnectWatchChangeRsp,
        MobileUpdateAck,
        MobileUpdateInd,
        WatchUpdateAck,
        WatchUpdateInd,
    };

    virtual ~AlarmMessage();

    /** Writes the kind's name, such as "alarm-list-req"; id stays as it was for an unknown kind. */
    static void getId(AlarmMessage::Type type, std::string& id);

    /**
     * The kind of a name. An unknown name is taken for a FirstConnectionReq: to
     * refuse it, compare the name.
     */
    static AlarmMessage::Type getType(const std::string& id);

    /** The same for a text, which must not be null (std::logic_error). */
    static AlarmMessage::Type getType(const char* id);

    /** Makes the table of names. The first getType() calls it. */
    static void _initializeHash();

private:
    static GHashTable* _typeHash;
};
