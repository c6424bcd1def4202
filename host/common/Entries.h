#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace host {

/// The keys and values of bundles and launch requests, in the order in which they were added.
/// References to an entry stay valid while others are added at the end.
using Entries = std::deque<std::pair<std::string, std::string>>;

/// The value under key, or null. Valid until an entry is removed.
const std::string* findEntry(const Entries& entries, std::string_view key);

/// Sets the value under key: an entry that exists keeps its place, a new one goes to the end. A
/// null value removes the entry.
void setEntry(Entries& entries, std::string_view key, const char* value);

/// The length of all keys and values, in bytes.
size_t sizeOf(const Entries& entries);

/// The longest launch request, by sizeOf.
constexpr size_t kLongestRequest = 65536;

/// The longest request that an application accepts: hostd adds the alarm's id to a registered
/// request.
constexpr size_t kLongestDelivery = kLongestRequest + 256;

/// Printable ASCII without quotes, the same for equal entries.
std::string encodeEntries(const Entries& entries);

/// The entries of a text that encodeEntries has written; nothing for any other text.
std::optional<Entries> decodeEntries(const std::string& text);

/// The keys under which a launch request carries its operation and the application's id.
extern const char* const kOperationKey;
extern const char* const kApplicationIdKey;

} // namespace host
