#pragma once

#include <AlarmDbData.h>
#include <ctime>
#include <optional>
#include <vector>

/** Following and reading the store, with an answer that tells "none" from "cannot be read". */
namespace app {

/// The preferences that tell of changes in the store. A change is announced for applications, for
/// widgets, or for both.
inline const char* const kChangedKeys[] = { ".alarmDbChanged", ".alarmDbChangedWidget" };

/// Every alarm, the phone's too, by time of day. Deleted ones are left out. None when the store
/// cannot be read. Needs waitOnBusyStore().
std::optional<std::vector<AlarmDbData>> allAlarms();

enum class Found { Yes, No, Unreadable };

/// Reads an alarm into the default record alarm, by its row id or by the platform's id.
Found findAlarm(int id, AlarmDbData& alarm);
Found findRegisteredAlarm(int alarmMgrId, AlarmDbData& alarm);

/// Whether an alarm that is on does not ring here: one of the phone that is not registered, unless
/// it waits for its instant and the phone's alarms are to ring.
bool isSilent(const AlarmDbData& alarm, time_t now);

/// The alarm that rings next after now.
std::optional<AlarmDbData> upcomingAlarm(const std::vector<AlarmDbData>& alarms, time_t now);

} // namespace app
