#pragma once

#include "common/Values.h"

#include <optional>
#include <string>
#include <vector>

struct Command;

/// The options of add and edit.
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
    const Command* command = nullptr; ///< null when only the overview is asked for
    std::optional<int> id;
    AlarmOptions alarm;
    std::string request; ///< of the voice assistant
    bool json = false;
    bool plain = false; ///< say when an alarm rings in words that are the same in every language
    bool help = false;
};

/// Throws a Failure that says what is wrong and what would be right.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);
