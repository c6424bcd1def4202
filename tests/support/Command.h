#pragma once

#include "TempDir.h"

#include <string>
#include <sys/types.h>
#include <vector>

struct CommandResult {
    int status = -1; ///< exit status; 128 and the signal's number when a signal ended it
    std::string out;
    std::string err;
};

/// Runs a program, found on PATH, to its end.
CommandResult runCommand(const std::vector<std::string>& arguments);

/// A program that runs beside the test, and ends with the object.
class BackgroundCommand {
public:
    explicit BackgroundCommand(const std::vector<std::string>& arguments);
    BackgroundCommand(const BackgroundCommand&) = delete;
    BackgroundCommand& operator=(const BackgroundCommand&) = delete;
    ~BackgroundCommand();

    /// What it has written to standard output so far.
    std::string output() const;

    /// Sends it the signal.
    void signal(int number) const;

    pid_t id() const { return _process; }

    /// Waits for its end. Once.
    CommandResult finish();

private:
    TempDir _files;
    pid_t _process = -1;
};
