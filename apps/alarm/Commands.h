#pragma once

#include <string>

struct CommandLine;

/// What the application can do for the user.
struct Command {
    const char* name;
    bool takesId;
    bool takesAlarm; ///< a time and the options of an alarm
    bool takesRequest; ///< of the voice assistant
    void (*run)(const CommandLine& line);
    const char* help; ///< lines, without the options of an alarm
};

/// Throws a Failure that names all commands when there is none of the name.
const Command& findCommand(const std::string& name);

/// Runs the line's command and prints its result. Throws a Failure when it could not be done.
void runCommand(const CommandLine& line);
