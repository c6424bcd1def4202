#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace host {

/// A dictionary that keeps the order of addition: what bundles and launch requests carry. An entry
/// stays where it is while others are added behind it.
using Entries = std::deque<std::pair<std::string, std::string>>;

/// The value under key, or null. Valid until an entry is taken away.
const std::string* findEntry(const Entries& entries, std::string_view key);

/// The bytes of all keys and values.
size_t sizeOf(const Entries& entries);

/// The most that a launch request may have.
constexpr size_t kLongestRequest = 65536;

/// The most that an application takes: hostd adds the alarm's id to a registered request.
constexpr size_t kLongestDelivery = kLongestRequest + 256;

/// Printable ASCII without quotes, the same for equal entries.
std::string encodeEntries(const Entries& entries);

/// What encodeEntries was given; nothing for a text that it cannot have written.
std::optional<Entries> decodeEntries(const std::string& text);

/// The keys under which a launch request carries its operation and the application's id.
extern const char* const kOperationKey;
extern const char* const kApplicationIdKey;

} // namespace host
