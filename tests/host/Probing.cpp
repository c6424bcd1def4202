#include "Probing.h"

#include <gtest/gtest.h>

std::vector<std::string> inEnvironment(
    const Environment& changes, const std::vector<std::string>& command)
{
    std::vector<std::string> line = { "env" };
    for (const auto& [name, value] : changes) {
        if (value)
            line.push_back(name + "=" + *value);
        else
            line.insert(line.begin() + 1, "--unset=" + name); // options go before
    }
    line.insert(line.end(), command.begin(), command.end());
    return line;
}

std::vector<std::string> probeCommand(
    const std::vector<std::string>& arguments, const Environment& changes)
{
    std::vector<std::string> command = { HOST_PROBE };
    command.insert(command.end(), arguments.begin(), arguments.end());
    return inEnvironment(changes, command);
}

std::string probe(const std::vector<std::string>& arguments, const Environment& changes)
{
    const CommandResult result = runCommand(probeCommand(arguments, changes));
    EXPECT_EQ(0, result.status) << result.err;
    return result.out;
}
