#include "vconf.h"

#include "host/common/SettingsStore.h"

#include <cstring>
#include <exception>
#include <optional>
#include <string>

// Keys live in the session's store, so that every process sees one value.
template <typename Value>
static std::optional<Value> readKey(const char* key)
{
    if (!key)
        return std::nullopt;
    try {
        const auto value = host::SettingsStore::session().read("vconf", key);
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
