#include "vconf.h"

#include "host/common/Keys.h"
#include "host/common/KeyWatches.h"
#include "host/common/Log.h"
#include "host/common/SettingsStore.h"

#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <string>

struct _keynode_t {
    std::string name;
};

namespace {

host::KeyWatches& watches()
{
    static host::KeyWatches watches(host::kDeviceStore);
    return watches;
}

// A key may have several callbacks.
host::KeyWatches::Owner ownerOf(vconf_callback_fn callback)
{
    return reinterpret_cast<host::KeyWatches::Owner>(callback);
}

} // namespace

// Keys live in the session's store, so that every process sees one value.
template <typename Value>
static std::optional<Value> readKey(const char* key)
{
    if (!key)
        return std::nullopt;
    try {
        const auto value = host::SettingsStore::session().read(host::kDeviceStore, key);
        if (value && std::holds_alternative<Value>(*value))
            return std::get<Value>(*value);
    } catch (const std::exception& error) {
        // An unreadable store answers like an unset key.
        host::logError(std::string("a setting cannot be read: ") + error.what());
    }
    return std::nullopt;
}

template <typename Value>
static int readNumber(const char* key, int* out)
{
    const std::optional<Value> value = out ? readKey<Value>(key) : std::nullopt;
    if (!value)
        return VCONF_ERROR;
    *out = *value;
    return VCONF_OK;
}

extern "C" int vconf_get_int(const char* in_key, int* intval)
{
    return readNumber<int>(in_key, intval);
}

extern "C" int vconf_get_bool(const char* in_key, int* boolval)
{
    return readNumber<bool>(in_key, boolval);
}

extern "C" char* vconf_get_str(const char* in_key)
{
    const std::optional<std::string> text = readKey<std::string>(in_key);
    return text ? strdup(text->c_str()) : nullptr;
}

// Runs action, which may throw.
template <typename Action>
static int attempt(Action action)
{
    try {
        return action() ? VCONF_OK : VCONF_ERROR;
    } catch (const std::exception& error) {
        host::logError(std::string("a setting cannot be written or followed: ") + error.what());
        return VCONF_ERROR;
    }
}

static int writeKey(const char* key, const host::SettingValue& value)
{
    if (!key)
        return VCONF_ERROR;
    return attempt([&] {
        host::SettingsStore::session().write(host::kDeviceStore, key, value);
        return true;
    });
}

extern "C" int vconf_set_int(const char* in_key, const int intval)
{
    return writeKey(in_key, intval);
}

extern "C" int vconf_set_bool(const char* in_key, const int boolval)
{
    return writeKey(in_key, boolval != 0);
}

extern "C" int vconf_set_str(const char* in_key, const char* strval)
{
    return strval ? writeKey(in_key, std::string(strval)) : VCONF_ERROR;
}

extern "C" int vconf_notify_key_changed(const char* in_key, vconf_callback_fn cb, void* user_data)
{
    if (!in_key || !cb)
        return VCONF_ERROR;
    return attempt([&] {
        watches().set(in_key, ownerOf(cb), [cb, user_data](const std::string& key) {
            keynode_t node = { key };
            cb(&node, user_data);
        });
        return true;
    });
}

extern "C" int vconf_ignore_key_changed(const char* in_key, vconf_callback_fn cb)
{
    if (!in_key || !cb)
        return VCONF_ERROR;
    return attempt([&] { return watches().unset(in_key, ownerOf(cb)); });
}

extern "C" char* vconf_keynode_get_name(keynode_t* keynode)
{
    return keynode ? keynode->name.data() : nullptr;
}
