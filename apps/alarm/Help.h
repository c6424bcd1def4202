#pragma once

#include <string>

struct Command;

/// What --help prints for the command; for null, the overview of all commands.
std::string helpText(const Command* command);
