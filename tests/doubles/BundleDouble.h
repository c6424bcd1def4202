#pragma once

#include <bundle.h>
#include <string>
#include <utility>
#include <vector>

struct _bundle_t {
    std::vector<std::pair<std::string, std::string>> entries;
};

struct BundleDouble {
    int encodeResult = BUNDLE_ERROR_NONE; ///< when it is not 0 there is no text
};

BundleDouble& bundleDouble();

/// The entries that bundle_encode has made the text of: "key=value&key=value", with escapes as in
/// a URI.
std::vector<std::pair<std::string, std::string>> decodedEntries(const std::string& text);
