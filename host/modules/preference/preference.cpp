#include "app_preference.h"
#include "host/common/Boundary.h"
#include "host/common/KeyWatches.h"
#include "host/common/Session.h"
#include "host/common/SettingsStore.h"

#include <string>

using host::SettingsStore;

namespace {

host::KeyWatches& watches()
{
    static host::KeyWatches watches(host::identity().package);
    return watches;
}

// Runs the action on the package's store; a failure of the store is an input/output error.
template <typename Action>
int withStore(const char* key, const Action& action)
{
    if (!key)
        return PREFERENCE_ERROR_INVALID_PARAMETER;
    const host::OutOfMemoryOr failure{ PREFERENCE_ERROR_IO_ERROR };
    return host::guarded("a preference cannot be used", failure, [&] {
        const std::string& package = host::identity().package;
        if (package.empty())
            return PREFERENCE_ERROR_IO_ERROR;
        return action(SettingsStore::session(), package);
    });
}

} // namespace

extern "C" int preference_is_existing(const char* key, bool* existing)
{
    if (!existing)
        return PREFERENCE_ERROR_INVALID_PARAMETER;
    return withStore(key, [&](SettingsStore& store, const std::string& package) {
        *existing = store.read(package, key).has_value();
        return PREFERENCE_ERROR_NONE;
    });
}

extern "C" int preference_get_int(const char* key, int* value)
{
    if (!value)
        return PREFERENCE_ERROR_INVALID_PARAMETER;
    return withStore(key, [&](SettingsStore& store, const std::string& package) {
        const auto found = store.read(package, key);
        if (!found)
            return PREFERENCE_ERROR_NO_KEY;
        if (!std::holds_alternative<int>(*found))
            return PREFERENCE_ERROR_INVALID_PARAMETER;
        *value = std::get<int>(*found);
        return PREFERENCE_ERROR_NONE;
    });
}

extern "C" int preference_set_int(const char* key, int value)
{
    return withStore(key, [&](SettingsStore& store, const std::string& package) {
        store.write(package, key, value);
        return PREFERENCE_ERROR_NONE;
    });
}

extern "C" int preference_set_changed_cb(
    const char* key, preference_changed_cb callback, void* user_data)
{
    if (!callback)
        return PREFERENCE_ERROR_INVALID_PARAMETER;
    return withStore(key, [&](SettingsStore&, const std::string&) {
        watches().set(key, nullptr, [callback, user_data](const std::string& changed) {
            callback(changed.c_str(), user_data);
        });
        return PREFERENCE_ERROR_NONE;
    });
}

extern "C" int preference_unset_changed_cb(const char* key)
{
    return withStore(key, [&](SettingsStore&, const std::string&) {
        return watches().unset(key, nullptr) ? PREFERENCE_ERROR_NONE : PREFERENCE_ERROR_NO_KEY;
    });
}
