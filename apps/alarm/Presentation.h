#pragma once

#include <AlarmDbData.h>
#include <ctime>
#include <string>
#include <vector>

/** How alarms are shown. The texts are one line without its end unless they say otherwise. */

/// A JSON object with all that the user can set or wants to know.
std::string alarmJson(const AlarmDbData& alarm, time_t now);
std::string alarmsJson(const std::vector<AlarmDbData>& alarms, time_t now);

/// "3  07:30  mon-fri  on  Gym"
std::string alarmLine(const AlarmDbData& alarm, time_t now);

/// "alarm 3: Alarm set for 9 hours 12 minutes from now." in the device's language; the forecast
/// when it will not ring or is ringing.
std::string alarmSetText(const AlarmDbData& alarm, time_t now);

/// "alarm 3 rings Tue 22 Nov 07:30, in 9 h 12 min", "alarm 3 is ringing", "alarm 3 is off", or that
/// and why it stays silent
std::string alarmForecast(const AlarmDbData& alarm, time_t now);

/// A table of lines with their ends, for a terminal of so many columns; names are cut to fit.
/// Plain: times and days are the same in every language and region.
std::string alarmTable(
    const std::vector<AlarmDbData>& alarms, time_t now, size_t columns, bool plain);

/// A line with its end for each thing to know.
std::string alarmDetails(const AlarmDbData& alarm, time_t now);
