#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace i18n {

/// What is slow to make, by what it is made of. A value lives as long as its last user, so it may
/// leave the cache at any time. Any thread.
template <typename Value>
class Cache {
public:
    /// The key's value, else what make answers; its null is an error and is not kept.
    template <typename Make>
    std::shared_ptr<Value> get(const std::u16string& key, Make make)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const auto found = _values.find(key);
        if (found != _values.end())
            return found->second;
        std::shared_ptr<Value> value = make();
        if (value) {
            if (_values.size() >= kCapacity)
                _values.clear();
            _values.emplace(key, value);
        }
        return value;
    }

private:
    static const size_t kCapacity = 64;

    std::mutex _mutex;
    std::unordered_map<std::u16string, std::shared_ptr<Value>> _values;
};

} // namespace i18n
