#pragma once

#include "Command.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

/// What to change in the test's own environment for a program; nothing takes a variable away.
using Environment = std::map<std::string, std::optional<std::string>>;

/// The command line that runs command in the changed environment.
std::vector<std::string> inEnvironment(
    const Environment& changes, const std::vector<std::string>& command);

/// The command line of the probe, whose commands Probe.cpp lists.
std::vector<std::string> probeCommand(
    const std::vector<std::string>& arguments, const Environment& changes = Environment());

/// What the probe printed. Fails the test when it does not end well.
std::string probe(
    const std::vector<std::string>& arguments, const Environment& changes = Environment());
