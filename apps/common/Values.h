#pragma once

#include <string>

/** The values of the command line, read from text and written as they are read. */

struct ClockTime {
    int hour = 0;
    int minute = 0;
};

struct Days {
    bool once = true;
    int weekdays = 0; ///< as AlarmDbData::repeatWeekly; 0 when once
};

// Each throws a Failure that says what would be right.
ClockTime parseClockTime(const std::string& text); ///< "07:30"
Days parseDays(const std::string& text); ///< "mon-fri", "sat,sun", "daily", "once"
int parseDuration(const std::string& text); ///< seconds of "5s", "10m", "2h"
int parseNumber(const std::string& option, const std::string& text, int lowest, int highest);
int parseId(const std::string& text, const std::string& command); ///< whose list shows the ids
std::string parseName(const std::string& text);
std::string parseTone(const std::string& text); ///< the file's absolute path

std::string clockText(int hour, int minute);
std::string daysText(const Days& days);
std::string durationText(long seconds); ///< "9 h 12 min"
