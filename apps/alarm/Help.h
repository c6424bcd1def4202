#pragma once

#include <string>

/// What --help prints for the command; for an empty one, the overview.
std::string helpText(const std::string& command);
