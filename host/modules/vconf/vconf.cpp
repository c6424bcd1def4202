#include "vconf.h"

#include "host/common/Boundary.h"
#include "host/common/Keys.h"
#include "host/common/KeyWatches.h"
#include "host/common/SettingsStore.h"

#include <cstring>
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

// The callback is its own owner, since a key may have several callbacks.
host::KeyWatches::Owner ownerOf(vconf_callback_fn callback)
{
    return reinterpret_cast<host::KeyWatches::Owner>(callback);
}

} // namespace

// Reads a key from the session's store, in which every process sees the same value. A store that
// cannot be read answers as if the key were not set.
template <typename Value>
static std::optional<Value> readKey(const char* key)
{
    return host::guarded("a setting cannot be read", std::nullopt, [key]() -> std::optional<Value> {
        if (!key)
            return std::nullopt;
        const auto value = host::SettingsStore::session().read(host::kDeviceStore, key);
        const Value* found = value ? std::get_if<Value>(&*value) : nullptr;
        return found ? std::optional(*found) : std::nullopt;
    });
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

const char* const kNotWritten = "a setting cannot be written";
const char* const kNotFollowed = "a setting cannot be followed";

template <typename Value>
static int writeKey(const char* key, const Value& value)
{
    return host::guarded(kNotWritten, VCONF_ERROR, [&] {
        if (!key)
            return VCONF_ERROR;
        host::SettingsStore::session().write(host::kDeviceStore, key, value);
        return VCONF_OK;
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
    return strval ? writeKey(in_key, strval) : VCONF_ERROR;
}

extern "C" int vconf_notify_key_changed(const char* in_key, vconf_callback_fn cb, void* user_data)
{
    if (!in_key || !cb)
        return VCONF_ERROR;
    return host::guarded(kNotFollowed, VCONF_ERROR, [&] {
        watches().set(in_key, ownerOf(cb), [cb, user_data](const std::string& key) {
            keynode_t node = { key };
            cb(&node, user_data);
        });
        return VCONF_OK;
    });
}

extern "C" int vconf_ignore_key_changed(const char* in_key, vconf_callback_fn cb)
{
    if (!in_key || !cb)
        return VCONF_ERROR;
    return host::guarded(kNotFollowed, VCONF_ERROR,
        [&] { return watches().unset(in_key, ownerOf(cb)) ? VCONF_OK : VCONF_ERROR; });
}

extern "C" char* vconf_keynode_get_name(keynode_t* keynode)
{
    return keynode ? keynode->name.data() : nullptr;
}
