#include "host/common/KeyWatches.h"

#include "host/common/Bus.h"
#include "host/common/SettingsStore.h"

namespace host {

KeyWatches::KeyWatches(std::string store)
    : _store(std::move(store))
{
    bus(); // made first, so that it outlives the watches
}

void KeyWatches::set(const std::string& key, Owner owner, Call call)
{
    const auto found = _watches.find({ key, owner });
    if (found != _watches.end()) {
        *found->second.call = std::move(call);
        return;
    }
    auto held = std::make_shared<Call>(std::move(call));
    std::shared_ptr<void> news = SettingsStore::session().watch(_store, key, [key, held] {
        const Call current = *held; // which may be replaced while it runs
        current(key);
    });
    _watches[{ key, owner }] = { std::move(held), std::move(news) };
}

bool KeyWatches::unset(const std::string& key, Owner owner)
{
    return _watches.erase({ key, owner }) != 0;
}

} // namespace host
