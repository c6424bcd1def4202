#include "bundle.h"

#include "host/common/Boundary.h"
#include "host/common/Handles.h"

// Runs work that fails only for a lack of memory.
template <typename Work>
static int guarded(const Work& work)
{
    return host::guarded("a bundle cannot be made or changed", BUNDLE_ERROR_OUT_OF_MEMORY, work);
}

extern "C" bundle* bundle_create(void)
{
    return host::guarded("a bundle cannot be made or changed", nullptr, [] { return new bundle; });
}

extern "C" int bundle_free(bundle* b)
{
    if (!b)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    delete b;
    return BUNDLE_ERROR_NONE;
}

extern "C" int bundle_add_str(bundle* b, const char* key, const char* str)
{
    if (!b || !key || !*key || !str)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    if (host::findEntry(b->entries, key))
        return BUNDLE_ERROR_KEY_EXISTS;
    return guarded([=] {
        b->entries.emplace_back(key, str);
        return BUNDLE_ERROR_NONE;
    });
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
{
    if (!b || !r || !len)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    return guarded([=] {
        const std::string text = host::encodeEntries(b->entries);
        *r = reinterpret_cast<bundle_raw*>(host::copyForC(text));
        *len = static_cast<int>(text.size());
        return BUNDLE_ERROR_NONE;
    });
}

extern "C" bundle* bundle_decode(const bundle_raw* r, const int len)
{
    if (!r || len < 0)
        return nullptr;
    return host::guarded("a bundle cannot be made or changed", nullptr, [=] {
        const std::string text(reinterpret_cast<const char*>(r), static_cast<size_t>(len));
        const auto entries = host::decodeEntries(text);
        return entries ? new bundle{ *entries } : nullptr;
    });
}
