#pragma once

#include <string>
#include <vector>

/// What the application of EchoApplication.cpp has written down in this session.
class EchoLog {
public:
    explicit EchoLog(const std::string& application);

    struct Line {
        int pid = 0;
        std::string text;
    };
    std::vector<Line> lines() const;

    /// How often it wrote this text.
    int count(const std::string& text) const;
    /// Which processes wrote it, in their order.
    std::vector<int> pids(const std::string& text) const;
    /// The texts of the requests, in their order.
    std::vector<std::string> requests() const;

private:
    std::string _path;
};
