#pragma once

#include <stdexcept>
#include <string>

/// Ends a command: one line for the user and the exit status.
class Failure : public std::runtime_error {
public:
    static constexpr int kFailed = 1;
    static constexpr int kBadInput = 2;

    Failure(int exitStatus, const std::string& text)
        : std::runtime_error(text)
        , _status(exitStatus)
    {
    }
    int status() const { return _status; }

private:
    int _status;
};

inline Failure badInput(const std::string& text) { return { Failure::kBadInput, text }; }
