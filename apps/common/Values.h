#pragma once

#include <string>

/** Values of the commands' arguments: how they are read and how they are shown. */

struct ClockTime {
    int hour = 0;
    int minute = 0;
};

struct Days {
    bool once = true;
    int weekdays = 0; ///< as AlarmDbData::repeatWeekly; 0 when once
};

// Each throws a Failure for other texts, which says what is allowed.
ClockTime parseClockTime(const std::string& text); ///< "07:30"
Days parseDays(const std::string& text); ///< "mon-fri", "sat,sun", "daily", "once"
int parseDuration(const std::string& text); ///< seconds of "5s", "10m", "2h"
int parseNumber(const std::string& option, const std::string& text, int lowest, int highest);
int parseId(const std::string& text, const std::string& command); ///< "COMMAND list" shows the ids
std::string parseName(const std::string& text);
std::string parseTone(const std::string& text); ///< the file's absolute path

/// The row id that a request has as text; 0 for any other text.
int rowIdIn(const std::string& text);

std::string clockText(int hour, int minute);
std::string daysText(const Days& days);
std::string durationText(long seconds); ///< "9 h 12 min"
