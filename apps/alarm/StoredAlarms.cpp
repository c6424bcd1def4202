#include "StoredAlarms.h"

#include <AlarmReading.h>

namespace {

Failure unreadable(const std::string& fault)
{
    return { Failure::kFailed, "the alarms cannot be read: " + fault };
}

} // namespace

Failure noSuchAlarm(int id)
{
    return badInput("there is no alarm " + std::to_string(id) + "; alarm list shows all");
}

void check(companion::Saved result, int id)
{
    if (result == companion::Saved::Yes)
        return;
    if (result == companion::Saved::NoSuchAlarm)
        throw noSuchAlarm(id);
    const std::string fault = result == companion::Saved::Busy ? "" : companion::storeFault();
    throw fault.empty() ? Failure(Failure::kFailed, companion::textOf(result)) : unreadable(fault);
}

std::vector<AlarmDbData> storedAlarms()
{
    companion::AlarmReading reading;
    std::optional<std::vector<AlarmDbData>> alarms = reading.all();
    if (!alarms)
        throw unreadable(reading.fault());
    return *alarms;
}

AlarmDbData storedAlarm(int id)
{
    AlarmDbData alarm;
    companion::AlarmReading reading;
    const companion::Found found = reading.find(id, alarm);
    if (found == companion::Found::Unreadable)
        throw unreadable(reading.fault());
    if (found == companion::Found::No)
        throw noSuchAlarm(id);
    return alarm;
}
