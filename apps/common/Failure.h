#pragma once

#include <stdexcept>
#include <string>

/// An error that ends a command: one line that says why, and the exit status.
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

/// An error of the one who gave the input, not of the program.
inline Failure badInput(const std::string& text) { return { Failure::kBadInput, text }; }
