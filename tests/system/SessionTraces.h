#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// The command lines of the processes that have the text in their environment.
inline std::vector<std::string> processesWith(const std::string& text)
{
    const auto contents = [](const std::filesystem::path& file) {
        std::ostringstream read;
        read << std::ifstream(file, std::ios::binary).rdbuf();
        return read.str();
    };
    std::vector<std::string> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        if (contents(entry.path() / "environ").find(text) != std::string::npos)
            found.push_back(contents(entry.path() / "cmdline"));
    }
    return found;
}
