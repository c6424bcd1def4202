#include "app_preference.h"
#include "host/common/Bus.h"
#include "host/common/Session.h"
#include "host/common/SettingsStore.h"

#include <exception>
#include <map>
#include <memory>
#include <string>

using host::SettingsStore;

namespace {

struct Watch {
    preference_changed_cb callback;
    void* data;
};

// The callbacks of this process, by key, behind one watch on the store.
class Watches {
public:
    static Watches& instance()
    {
        host::bus(); // made first, so that it outlives the watch
        static Watches watches;
        return watches;
    }

    void set(const std::string& key, Watch watch)
    {
        if (!_watch) {
            _watch = SettingsStore::session().watch(
                [this](const std::string& store, const std::string& changed) {
                    if (store == host::identity().package)
                        _call(changed);
                });
        }
        _callbacks[key] = watch;
    }

    bool unset(const std::string& key) { return _callbacks.erase(key) > 0; }

private:
    void _call(const std::string& key)
    {
        const auto found = _callbacks.find(key);
        if (found == _callbacks.end())
            return;
        const Watch watch = found->second; // the callback may unset itself
        watch.callback(key.c_str(), watch.data);
    }

    std::map<std::string, Watch> _callbacks;
    std::shared_ptr<void> _watch;
};

// Runs action on the package's store; what goes wrong there is an input/output error.
template <typename Action>
int withStore(const char* key, Action action)
{
    if (!key)
        return PREFERENCE_ERROR_INVALID_PARAMETER;
    const std::string& package = host::identity().package;
    if (package.empty())
        return PREFERENCE_ERROR_IO_ERROR;
    try {
        return action(SettingsStore::session(), package);
    } catch (const std::exception&) {
        return PREFERENCE_ERROR_IO_ERROR;
    }
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
        Watches::instance().set(key, { callback, user_data });
        return PREFERENCE_ERROR_NONE;
    });
}

extern "C" int preference_unset_changed_cb(const char* key)
{
    return withStore(key, [&](SettingsStore&, const std::string&) {
        return Watches::instance().unset(key) ? PREFERENCE_ERROR_NONE : PREFERENCE_ERROR_NO_KEY;
    });
}
