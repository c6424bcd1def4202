#pragma once

#include <map>
#include <string>
#include <vector>

/// The translations of one language, of the domain "alarm-merid". A message without one is its own
/// translation, as in gettext.
struct GettextDouble {
    std::map<std::string, std::string> texts;
    /// Plural forms by message and count.
    std::map<std::string, std::map<unsigned long, std::string>> plurals;
    /// What was bound: the domain, a blank and the directory.
    std::vector<std::string> bound;
    std::vector<unsigned long> counts;
};

GettextDouble& gettextDouble();
