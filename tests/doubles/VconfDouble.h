#pragma once

#include <map>
#include <string>
#include <vconf.h>
#include <vector>

/// Settings by type. A key that is not in its type's map cannot be read.
struct VconfDouble {
    std::map<std::string, int> ints;
    std::map<std::string, bool> bools;
    std::map<std::string, std::string> texts;
    /// The keys in the order in which they were asked for.
    std::vector<std::string> asked;
};

VconfDouble& vconfDouble();
