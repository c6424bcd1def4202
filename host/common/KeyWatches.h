#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace host {

/**
 * The callbacks of this process for changed keys of one store, called in the order in which they
 * were set. Several changes of a key may be one call. A callback that another one removes is not
 * called any more; one that is set meanwhile hears of the next change. Main thread only.
 */
class KeyWatches {
public:
    using Call = std::function<void(const std::string& key)>;
    /// Distinguishes the callbacks of one key: any function pointer of the caller's, or null.
    using Owner = void (*)();

    /// Throws std::exception without a bus, as set does.
    explicit KeyWatches(std::string store);
    KeyWatches(const KeyWatches&) = delete;
    KeyWatches& operator=(const KeyWatches&) = delete;

    /// Replaces the callback that the owner has set for the key.
    void set(const std::string& key, Owner owner, Call call);
    /// False when the owner has no callback for the key.
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
