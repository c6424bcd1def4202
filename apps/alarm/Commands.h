#pragma once

struct CommandLine;

/// Runs the command and prints its result. Throws a Failure when it could not be done.
void runCommand(const CommandLine& line);
