#include "host/common/Entries.h"

#include "host/common/Boundary.h"

#include <algorithm>
#include <glib.h>
#include <set>

namespace host {

const char* const kOperationKey = "__APP_SVC_OP_TYPE__";
const char* const kApplicationIdKey = "__APP_SVC_PKG_NAME__";

namespace {

// The packed form: the number of entries, then each key and value as its length and its bytes. A
// number is decimal and ends with a colon.
void appendNumber(std::string& packed, size_t number)
{
    packed += std::to_string(number);
    packed += ':';
}

void appendText(std::string& packed, const std::string& text)
{
    appendNumber(packed, text.size());
    packed += text;
}

bool takeNumber(const std::string& packed, size_t& at, size_t& number)
{
    const size_t start = at;
    for (number = 0; at < packed.size() && packed[at] >= '0' && packed[at] <= '9'; ++at) {
        number = number * 10 + static_cast<size_t>(packed[at] - '0');
        if (number > packed.size())
            return false;
    }
    return at > start && at < packed.size() && packed[at++] == ':';
}

bool takeText(const std::string& packed, size_t& at, std::string& text)
{
    size_t size = 0;
    if (!takeNumber(packed, at, size) || packed.size() - at < size)
        return false;
    text = packed.substr(at, size);
    at += size;
    return text.find('\0') == std::string::npos;
}

} // namespace

const std::string* findEntry(const Entries& entries, std::string_view key)
{
    for (const auto& [name, value] : entries) {
        if (name == key)
            return &value;
    }
    return nullptr;
}

void setEntry(Entries& entries, std::string_view key, const char* value)
{
    const auto entry = std::find_if(
        entries.begin(), entries.end(), [key](const auto& each) { return each.first == key; });
    if (entry == entries.end()) {
        if (value)
            entries.emplace_back(key, value);
    } else if (value) {
        entry->second = value;
    } else {
        entries.erase(entry);
    }
}

size_t sizeOf(const Entries& entries)
{
    size_t size = 0;
    for (const auto& [key, value] : entries)
        size += key.size() + value.size();
    return size;
}

std::string encodeEntries(const Entries& entries)
{
    std::string packed;
    appendNumber(packed, entries.size());
    for (const auto& [key, value] : entries) {
        appendText(packed, key);
        appendText(packed, value);
    }
    const CText text(
        g_base64_encode(reinterpret_cast<const guchar*>(packed.data()), packed.size()));
    return text.get();
}

std::optional<Entries> decodeEntries(const std::string& text)
{
    gsize size = 0;
    const CText bytes(reinterpret_cast<char*>(g_base64_decode(text.c_str(), &size)));
    const std::string packed(bytes.get(), size);

    Entries entries;
    std::set<std::string> keys;
    size_t at = 0;
    size_t count = 0;
    if (!takeNumber(packed, at, count))
        return std::nullopt;
    while (entries.size() < count) {
        std::string key;
        std::string value;
        if (!takeText(packed, at, key) || !takeText(packed, at, value) || key.empty()
            || !keys.insert(key).second)
            return std::nullopt;
        entries.emplace_back(std::move(key), std::move(value));
    }
    // g_base64_decode skips characters that it does not know, and the loop stops at the last entry.
    // A text with anything more in it does not come out again when the entries are encoded.
    if (encodeEntries(entries) != text)
        return std::nullopt;
    return entries;
}

} // namespace host
