#pragma once

#include "common/Values.h"

#include <optional>
#include <string>
#include <vector>

struct Command;

/// What add and edit are told about an alarm.
struct AlarmOptions {
    std::optional<ClockTime> time;
    std::optional<int> inSeconds;
    std::optional<Days> days;
    std::optional<std::string> name;
    std::optional<std::string> tone;
    std::optional<int> volume;
    std::optional<int> type;
    std::optional<int> vibration;
    std::optional<int> snooze;
    bool off = false;
};

struct CommandLine {
    const Command* command = nullptr; ///< none: only help is asked for
    std::optional<int> id;
    AlarmOptions alarm;
    bool json = false;
    bool plain = false; ///< texts are the same in every language
    bool help = false;
};

/// Throws a Failure that says what is wrong and what would be right.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);
