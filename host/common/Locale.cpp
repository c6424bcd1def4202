#include "host/common/Locale.h"

#include <map>
#include <regex>

namespace host {

std::optional<std::string> localeSetting(const std::string& name)
{
    // The groups are language, script, region and modifier; the character set is not kept.
    static const std::regex form("([a-z]{2,3})(_[A-Z][a-z]{3})?(_(?:[A-Z]{2}|[0-9]{3}))?"
                                 "(?:\\.[A-Za-z0-9-]+)?(?:@([A-Za-z0-9=;-]+))?");
    static const std::map<std::string, std::string> scripts
        = { { "cyrillic", "_Cyrl" }, { "devanagari", "_Deva" }, { "latin", "_Latn" } };
    std::smatch parts;
    if (!std::regex_match(name, parts, form))
        return std::nullopt;
    std::string script = parts.str(2);
    const auto named = scripts.find(parts.str(4));
    if (script.empty() && named != scripts.end())
        script = named->second;
    return parts.str(1) + script + parts.str(3) + ".UTF-8";
}

} // namespace host
