#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace host {

/**
 * What this process calls when keys of a store change, in the order of setting. Several changes may
 * be one call. What is taken out while others are called is not called any more; what is set
 * meanwhile hears of the next change. Main thread only.
 */
class KeyWatches {
public:
    using Call = std::function<void(const std::string& key)>;
    /// Tells the calls of one key apart: a function of the watch's owner, or null.
    using Owner = void (*)();

    /// Throws std::exception when there is no bus, as set does.
    explicit KeyWatches(std::string store);
    KeyWatches(const KeyWatches&) = delete;
    KeyWatches& operator=(const KeyWatches&) = delete;

    /// Takes the place of what the owner has set for the key.
    void set(const std::string& key, Owner owner, Call call);
    /// False when there was none.
    bool unset(const std::string& key, Owner owner);

private:
    struct Watch {
        std::shared_ptr<Call> call;
        std::shared_ptr<void> news;
    };

    std::string _store;
    std::map<std::pair<std::string, Owner>, Watch> _watches;
};

} // namespace host
