#include "AlarmJsonObject.h"

#include "AlarmLog.h"
#include "JsonText.h"
#include "Utf8.h"

namespace {
JsonObject* newReference(JsonObject* object) { return object ? json_object_ref(object) : nullptr; }
} // namespace

AlarmJsonObject::AlarmJsonObject(const AlarmJsonObject& other)
    : _object(newReference(other._object))
{
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): copy() does it
AlarmJsonObject& AlarmJsonObject::operator=(const AlarmJsonObject& other)
{
    copy(other);
    return *this;
}

AlarmJsonObject::~AlarmJsonObject()
{
    if (_object)
        json_object_unref(_object);
}

void AlarmJsonObject::copy(const AlarmJsonObject& other)
{
    if (this != &other)
        _object = newReference(other._object);
}

void AlarmJsonObject::setJsonObject(JsonObject* object)
{
    JsonObject* const held = _object;
    _object = newReference(object);
    if (held)
        json_object_unref(held);
}

JsonObject* AlarmJsonObject::getJsonObject() const { return _object; }

bool AlarmJsonObject::hasMember(const std::string& name) const
{
    return _object && json_object_has_member(_object, name.c_str()) != FALSE;
}

void AlarmJsonObject::getStringValue(const std::string& name, std::string& out) const
{
    if (!hasMember(name))
        return;
    const char* value = json_object_get_string_member(_object, name.c_str());
    // JSON-GLib makes bytes that are not UTF-8 of half a surrogate pair.
    out = validText(value ? value : "");
}

void AlarmJsonObject::getIntegerValue(const std::string& name, int& out) const
{
    if (hasMember(name))
        out = static_cast<int>(json_object_get_int_member(_object, name.c_str()));
}

void AlarmJsonObject::getUnsignedLongLongValue(
    const std::string& name, unsigned long long& out) const
{
    if (hasMember(name))
        out = static_cast<unsigned long long>(json_object_get_int_member(_object, name.c_str()));
}

void AlarmJsonObject::getBooleanValue(const std::string& name, bool& out) const
{
    if (hasMember(name))
        out = json_object_get_boolean_member(_object, name.c_str()) != FALSE;
}

void AlarmJsonObject::getObjectValue(const std::string& name, AlarmJsonObject& out) const
{
    if (hasMember(name))
        out.setJsonObject(json_object_get_object_member(_object, name.c_str()));
}

void AlarmJsonObject::getArrayObject(const std::string& name, std::list<AlarmJsonObject>& out) const
{
    if (!hasMember(name))
        return;
    JsonArray* array = json_object_get_array_member(_object, name.c_str());
    if (!array) {
        LOG_CRITICAL("json_object_get_array_member(%s) failed.", name.c_str());
        return;
    }
    const guint length = json_array_get_length(array);
    for (guint i = 0; i < length; ++i) {
        AlarmJsonObject element;
        element.setJsonObject(json_array_get_object_element(array, i));
        out.push_back(element);
    }
}

void AlarmJsonObject::addStringMember(const std::string& name, const std::string& value)
{
    json_object_set_string_member(_object, name.c_str(), value.c_str());
}

void AlarmJsonObject::addBooleanMember(const std::string& name, bool value)
{
    json_object_set_boolean_member(_object, name.c_str(), value ? TRUE : FALSE);
}

void AlarmJsonObject::addIntegerMember(const std::string& name, int value)
{
    json_object_set_int_member(_object, name.c_str(), value);
}

void AlarmJsonObject::addLongLongIntMember(const std::string& name, long long value)
{
    json_object_set_int_member(_object, name.c_str(), value);
}

void AlarmJsonObject::addUnsignedLongLongMember(const std::string& name, unsigned long long value)
{
    json_object_set_int_member(_object, name.c_str(), static_cast<gint64>(value));
}

void AlarmJsonObject::addObjectMember(const std::string& name, const AlarmJsonObject& value)
{
    json_object_set_object_member(_object, name.c_str(), newReference(value._object));
}

void AlarmJsonObject::addArrayMember(
    const std::string& name, const std::list<AlarmJsonObject>& list)
{
    JsonArray* array = json_array_new();
    for (const AlarmJsonObject& element : list)
        json_array_add_object_element(array, newReference(element._object));
    json_object_set_array_member(_object, name.c_str(), array);
}

void AlarmJsonObject::removeMember(const std::string& name)
{
    json_object_remove_member(_object, name.c_str());
}

void AlarmJsonObject::getJsonMessage(std::string& out)
{
    if (!_object)
        return;
    const JsonTree tree(json_node_new(JSON_NODE_OBJECT));
    json_node_set_object(tree.get(), _object);
    writeJson(tree.get(), out);
}
