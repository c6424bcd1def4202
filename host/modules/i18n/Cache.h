#pragma once

#include "Icu.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace i18n {

/// Keeps objects that are slow to make, such as formats, by the key that they are made from. An
/// object lives as long as its last user, so it may leave the cache at any time. Any thread.
template <typename Value>
class Cache {
public:
    /// The value of the key; if there is none, the result of make, which is kept unless it is null.
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

    /// The same for a value that is made for a locale, too. Null, with the status, for a name that
    /// is none.
    template <typename Make>
    std::shared_ptr<Value> get(
        const std::u16string& key, const std::string& locale, UErrorCode& status, Make make)
    {
        return get(key + u'\0' + localeKey(locale), [&]() -> std::shared_ptr<Value> {
            if (isLocaleName(locale.c_str()))
                return make();
            status = U_ILLEGAL_ARGUMENT_ERROR;
            return nullptr;
        });
    }

private:
    static const size_t kCapacity = 64;

    std::mutex _mutex;
    std::unordered_map<std::u16string, std::shared_ptr<Value>> _values;
};

} // namespace i18n
