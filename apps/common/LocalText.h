#pragma once

#include <AlarmDbData.h>
#include <ctime>
#include <string>

/** An alarm as the watch's screens show it: in the device's language, region and clock format. */

/// "07∶30 AM"
std::string localTimeText(const AlarmDbData& alarm);

/// "Tue, Nov 24", or the letters of the weekdays with a dot for each on which it is silent.
std::string localDaysText(const AlarmDbData& alarm);

/// "Tue, Nov 24 07∶30 AM"
std::string localInstantText(time_t instant);

/// "Alarm set for 9 hours 12 minutes from now." for an alarm that will ring; a minute at least.
std::string localToast(const AlarmDbData& alarm);
