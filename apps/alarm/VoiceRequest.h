#pragma once

#include "common/Values.h"

#include <ctime>
#include <optional>
#include <string>

/// What the voice assistant asks for; docs/voice.md has the members.
struct VoiceRequest {
    enum class Operation { Open, Add, List };

    Operation operation = Operation::Open;
    bool withAlert = false; ///< whether the reply tells that an alarm rings

    // Of Add.
    ClockTime time;
    std::optional<tm>
        date; ///< its year, month and day; none for the next time, and for one that repeats
    Days days;
    std::string name;
    bool mayBeSnoozed = true;
    bool withAlarm = true; ///< whether the reply describes the new alarm

    // Of List.
    std::optional<int> id; ///< none for all alarms
};

/// In bytes. The only limit of a name: the store needs none, and the phone hears of no watch alarm.
inline const size_t kLongestVoiceRequest = 16 << 10;

/// Reads a request strictly. Throws a Failure that says what is wrong with it.
VoiceRequest readVoiceRequest(const std::string& text);
