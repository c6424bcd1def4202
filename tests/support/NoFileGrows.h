#pragma once

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>

/// Lets no file of the process grow beyond the file's size, and some bytes more, while it lives, as
/// on a full disk.
class NoFileGrows {
public:
    explicit NoFileGrows(const std::string& file, std::size_t more = 0)
    {
        _handler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &_before);
        rlimit full = _before;
        full.rlim_cur = std::filesystem::file_size(file) + more;
        EXPECT_EQ(0, setrlimit(RLIMIT_FSIZE, &full));
    }
    NoFileGrows(const NoFileGrows&) = delete;
    NoFileGrows& operator=(const NoFileGrows&) = delete;
    ~NoFileGrows()
    {
        setrlimit(RLIMIT_FSIZE, &_before);
        std::signal(SIGXFSZ, _handler);
    }

private:
    rlimit _before = {};
    void (*_handler)(int) = nullptr;
};
