#include "vconf.h"

#include "host/common/Bus.h"
#include "host/common/Keys.h"
#include "host/common/SettingsStore.h"

#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>

struct _keynode_t {
    std::string name;
};

namespace {

using Callbacks = std::map<vconf_callback_fn, void*>;

// The callbacks of this process, by key, behind one watch on the store.
class Watches {
public:
    static Watches& instance()
    {
        host::bus(); // made first, so that it outlives the watch
        static Watches watches;
        return watches;
    }

    void set(const std::string& key, vconf_callback_fn callback, void* data)
    {
        if (!_watch) {
            _watch = host::SettingsStore::session().watch(
                [this](const std::string& store, const std::string& changed) {
                    if (store == host::kDeviceStore)
                        _call(changed);
                });
        }
        _callbacks[key][callback] = data;
    }

    bool unset(const std::string& key, vconf_callback_fn callback)
    {
        const auto found = _callbacks.find(key);
        return found != _callbacks.end() && found->second.erase(callback) > 0;
    }

private:
    void _call(const std::string& key)
    {
        keynode_t node = { key };
        const Callbacks called = _callbacks[key]; // a callback may take itself out
        for (const auto& [callback, data] : called)
            callback(&node, data);
    }

    std::map<std::string, Callbacks> _callbacks;
    std::shared_ptr<void> _watch;
};

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
    } catch (const std::exception&) {
        // An unreadable store answers like an unset key.
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
    } catch (const std::exception&) {
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
        Watches::instance().set(in_key, cb, user_data);
        return true;
    });
}

extern "C" int vconf_ignore_key_changed(const char* in_key, vconf_callback_fn cb)
{
    if (!in_key || !cb)
        return VCONF_ERROR;
    return attempt([&] { return Watches::instance().unset(in_key, cb); });
}

extern "C" char* vconf_keynode_get_name(keynode_t* keynode)
{
    return keynode ? keynode->name.data() : nullptr;
}
