#include "GettextDouble.h"

namespace {
const char* const kDomain = "alarm-merid";

// It stays the caller's; gettext's own result is never written either.
char* borrowed(const std::string& text) { return const_cast<char*>(text.c_str()); }
} // namespace

GettextDouble& gettextDouble()
{
    static GettextDouble instance;
    return instance;
}

// The linker sends the calls here.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
char* __wrap_dgettext(const char* domain, const char* message)
{
    const auto found = gettextDouble().texts.find(message);
    if (std::string(domain) != kDomain || found == gettextDouble().texts.end())
        return const_cast<char*>(message);
    return borrowed(found->second);
}

char* __wrap_dngettext(
    const char* domain, const char* message, const char* messages, unsigned long count)
{
    gettextDouble().counts.push_back(count);
    const auto forms = gettextDouble().plurals.find(message);
    if (std::string(domain) != kDomain || forms == gettextDouble().plurals.end())
        return const_cast<char*>(count == 1 ? message : messages);
    return borrowed(forms->second.at(count));
}

char* __wrap_bindtextdomain(const char* domain, const char* directory)
{
    gettextDouble().bound.push_back(std::string(domain) + " " + directory);
    return borrowed(gettextDouble().bound.back());
}
}
// NOLINTEND(bugprone-reserved-identifier)
