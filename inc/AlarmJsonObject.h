#pragma once

#include <list>
#include <string>

typedef struct _JsonObject JsonObject;

/**
 * A counted reference to a JSON object, or none. Copies share the object: what
 * is changed through one is seen through the others. Names and texts that are
 * added have to be UTF-8. Main loop only.
 *
 * Getters leave their output alone when the member is absent or nothing is
 * held, so give it its default first. A member of another type reads as
 * JSON-GLib reads it: mostly 0, false or an empty text, with a warning of its own.
 *
 * A call that adds or removes a member needs an object to be held.
 */
class AlarmJsonObject {
public:
    /** Holds nothing; give it an object with setJsonObject(). */
    AlarmJsonObject() = default;
    AlarmJsonObject(const AlarmJsonObject& other);
    /** As copy(). */
    AlarmJsonObject& operator=(const AlarmJsonObject& other);
    virtual ~AlarmJsonObject();

    /**
     * Shares the other's object. The reference to the object that was held is not
     * given back: that object stays alive. Copying itself does nothing.
     */
    void copy(const AlarmJsonObject& other);

    /** Releases the held object and takes a reference to this one; the caller keeps its own. */
    void setJsonObject(JsonObject* object);

    /** The held object or null; it stays alive as long as something holds it. */
    JsonObject* getJsonObject() const;

    bool hasMember(const std::string& name) const;

    /** Always UTF-8: half a surrogate pair becomes replacement characters (U+FFFD). */
    void getStringValue(const std::string& name, std::string& out) const;

    /** The integer's low 32 bits. */
    void getIntegerValue(const std::string& name, int& out) const;

    /** The integer's 64 bits: -1 becomes the greatest value. */
    void getUnsignedLongLongValue(const std::string& name, unsigned long long& out) const;

    void getBooleanValue(const std::string& name, bool& out) const;

    /** Makes out hold the member, nothing when that is not an object. */
    void getObjectValue(const std::string& name, AlarmJsonObject& out) const;

    /**
     * Appends the elements of an array; one that is not an object becomes an
     * AlarmJsonObject that holds nothing. A member that is not an array is logged.
     */
    void getArrayObject(const std::string& name, std::list<AlarmJsonObject>& out) const;

    // A member of the same name is replaced.

    void addStringMember(const std::string& name, const std::string& value);
    void addBooleanMember(const std::string& name, bool value);
    void addIntegerMember(const std::string& name, int value);
    void addLongLongIntMember(const std::string& name, long long value);

    /** Writes the same 64 bits as a signed number. */
    void addUnsignedLongLongMember(const std::string& name, unsigned long long value);

    /** Shares the other's object, or adds null when it holds nothing. */
    void addObjectMember(const std::string& name, const AlarmJsonObject& value);

    /** An array that shares the objects of the list, each as addObjectMember(). */
    void addArrayMember(const std::string& name, const std::list<AlarmJsonObject>& list);

    void removeMember(const std::string& name);

    /** The object as compact text; out stays as it was when nothing is held. */
    void getJsonMessage(std::string& out);

private:
    JsonObject* _object = nullptr;
};
