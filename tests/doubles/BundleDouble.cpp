#include "BundleDouble.h"

#include <cstring>
#include <glib.h>
#include <sstream>

namespace {
std::string taken(char* made)
{
    std::string text = made;
    g_free(made);
    return text;
}

std::string escaped(const std::string& text)
{
    return taken(g_uri_escape_string(text.c_str(), ":/", FALSE));
}

std::string unescaped(const std::string& text)
{
    return taken(g_uri_unescape_string(text.c_str(), nullptr));
}
} // namespace

BundleDouble& bundleDouble()
{
    static BundleDouble instance;
    return instance;
}

int bundle_encode(bundle* b, bundle_raw** r, int* len)
{
    if (!b)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    if (bundleDouble().encodeResult != BUNDLE_ERROR_NONE)
        return bundleDouble().encodeResult;
    std::string text;
    for (const auto& [key, value] : b->entries)
        text += (text.empty() ? "" : "&") + escaped(key) + "=" + escaped(value);
    *r = reinterpret_cast<bundle_raw*>(strdup(text.c_str()));
    *len = static_cast<int>(text.size());
    return BUNDLE_ERROR_NONE;
}

std::vector<std::pair<std::string, std::string>> decodedEntries(const std::string& text)
{
    std::vector<std::pair<std::string, std::string>> entries;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, '&');) {
        const size_t divider = part.find('=');
        entries.emplace_back(
            unescaped(part.substr(0, divider)), unescaped(part.substr(divider + 1)));
    }
    return entries;
}
