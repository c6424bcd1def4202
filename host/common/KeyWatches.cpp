#include "host/common/KeyWatches.h"

#include "host/common/Bus.h"
#include "host/common/SettingsStore.h"

#include <algorithm>

namespace host {

KeyWatches::KeyWatches(std::string store)
    : _store(std::move(store))
{
    bus(); // made first, so that it outlives the watch
}

void KeyWatches::set(const std::string& key, Owner owner, Call call)
{
    if (!_news) {
        _news = SettingsStore::session().watch(
            [this](const std::string& store, const std::string& changed) {
                if (store == _store)
                    _call(changed);
            });
    }
    const auto found = _find(key, owner);
    const int place = found == _watches.end() ? ++_last : found->first;
    _watches[place] = { key, owner, std::move(call) };
}

bool KeyWatches::unset(const std::string& key, Owner owner)
{
    const auto found = _find(key, owner);
    if (found == _watches.end())
        return false;
    _watches.erase(found);
    return true;
}

KeyWatches::Watches::iterator KeyWatches::_find(const std::string& key, Owner owner)
{
    return std::find_if(_watches.begin(), _watches.end(),
        [&](const auto& each) { return each.second.key == key && each.second.owner == owner; });
}

// A call may set and take out any.
void KeyWatches::_call(const std::string& key)
{
    const int last = _last;
    int place = 0;
    for (auto at = _watches.begin(); at != _watches.end() && at->first <= last;
         at = _watches.upper_bound(place)) {
        place = at->first;
        if (at->second.key != key)
            continue;
        const Call call = at->second.call;
        call(key);
    }
}

} // namespace host
