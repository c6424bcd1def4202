#include "bundle.h"

#include "host/common/Handles.h"

#include <cstring>
#include <new>

extern "C" bundle* bundle_create(void)
try {
    return new bundle;
} catch (const std::bad_alloc&) {
    return nullptr;
}

extern "C" int bundle_free(bundle* b)
{
    if (!b)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    delete b;
    return BUNDLE_ERROR_NONE;
}

extern "C" int bundle_add_str(bundle* b, const char* key, const char* str)
try {
    if (!b || !key || !*key || !str)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    if (host::findEntry(b->entries, key))
        return BUNDLE_ERROR_KEY_EXISTS;
    b->entries.emplace_back(key, str);
    return BUNDLE_ERROR_NONE;
} catch (const std::bad_alloc&) {
    return BUNDLE_ERROR_OUT_OF_MEMORY;
}

extern "C" int bundle_get_str(bundle* b, const char* key, char** str)
{
    if (!b || !key || !str)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    const std::string* value = host::findEntry(b->entries, key);
    if (!value)
        return BUNDLE_ERROR_KEY_NOT_AVAILABLE;
    *str = const_cast<char*>(value->c_str());
    return BUNDLE_ERROR_NONE;
}

extern "C" int bundle_encode(bundle* b, bundle_raw** r, int* len)
try {
    if (!b || !r || !len)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    const std::string text = host::encodeEntries(b->entries);
    char* copy = strdup(text.c_str());
    if (!copy)
        return BUNDLE_ERROR_OUT_OF_MEMORY;
    *r = reinterpret_cast<bundle_raw*>(copy);
    *len = static_cast<int>(text.size());
    return BUNDLE_ERROR_NONE;
} catch (const std::bad_alloc&) {
    return BUNDLE_ERROR_OUT_OF_MEMORY;
}

extern "C" bundle* bundle_decode(const bundle_raw* r, const int len)
try {
    if (!r || len < 0)
        return nullptr;
    const std::string text(reinterpret_cast<const char*>(r), static_cast<size_t>(len));
    const auto entries = host::decodeEntries(text);
    return entries ? new bundle{ *entries } : nullptr;
} catch (const std::bad_alloc&) {
    return nullptr;
}
