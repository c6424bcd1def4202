#pragma once

#include <string>

struct Command;

/// What --help prints for the command; without one, the overview.
std::string helpText(const Command* command);
