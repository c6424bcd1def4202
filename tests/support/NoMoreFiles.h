#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/types.h>

/// While it lives, the process can open no file and accept no connection. What it has open stays.
class NoMoreFiles {
public:
    explicit NoMoreFiles(pid_t pid)
        : _pid(pid)
    {
        rlim_t free = 0;
        const std::string open = "/proc/" + std::to_string(pid) + "/fd/";
        while (std::filesystem::is_symlink(open + std::to_string(free)))
            ++free;
        EXPECT_EQ(0, prlimit(pid, RLIMIT_NOFILE, nullptr, &_before));
        // Far below the first free number: a file that is open only for a moment would otherwise
        // leave its number to the next.
        const rlimit less = { free / 2, _before.rlim_max };
        EXPECT_EQ(0, prlimit(pid, RLIMIT_NOFILE, &less, nullptr));
    }
    NoMoreFiles(const NoMoreFiles&) = delete;
    NoMoreFiles& operator=(const NoMoreFiles&) = delete;
    ~NoMoreFiles() { EXPECT_EQ(0, prlimit(_pid, RLIMIT_NOFILE, &_before, nullptr)); }

private:
    pid_t _pid;
    rlimit _before = {};
};
