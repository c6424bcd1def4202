#include "AlarmMessage.h"

#include <glib.h>

namespace {
// In the order of AlarmMessage::Type.
const char* const kNames[] = {
    "alarm-first-connection-req",
    "alarm-first-connection-rsp",
    "alarm-sequence-req",
    "alarm-sequence-rsp",
    "alarm-list-req",
    "alarm-list-rsp",
    "alarm-reconnect-watch-change-req",
    "alarm-reconnect-watch-change-rsp",
    "alarm-mobile-update-ack",
    "alarm-mobile-update-ind",
    "alarm-watch-update-ack",
    "alarm-watch-update-ind",
};
const int kNameCount = G_N_ELEMENTS(kNames);
} // namespace

GHashTable* AlarmMessage::_typeHash = nullptr;

AlarmMessage::~AlarmMessage() = default;

void AlarmMessage::getId(AlarmMessage::Type type, std::string& id)
{
    if (type >= 0 && type < kNameCount)
        id = kNames[type];
}

AlarmMessage::Type AlarmMessage::getType(const std::string& id)
{
    if (!_typeHash)
        _initializeHash();
    return static_cast<Type>(GPOINTER_TO_INT(g_hash_table_lookup(_typeHash, id.c_str())));
}

AlarmMessage::Type AlarmMessage::getType(const char* id) { return getType(std::string(id)); }

void AlarmMessage::_initializeHash()
{
    _typeHash = g_hash_table_new(g_str_hash, g_str_equal);
    for (int type = 0; type < kNameCount; ++type) {
        g_hash_table_insert(_typeHash, const_cast<char*>(kNames[type]), GINT_TO_POINTER(type));
    }
}
