#pragma once

#include "AlarmCompanion.h"

#include <chrono>
#include <memory>
#include <string>

namespace companion {

class StoreConnection;

/// The preferences that tell of changes in the store. A change is announced for applications, for
/// widgets, or for both, so who must know of every change watches the two.
inline const char* const kChangedKeys[] = { ".alarmDbChanged", ".alarmDbChangedWidget" };

/**
 * Reads of one moment: no change of another process comes between them. Others wait to write, so it
 * is to be short. The library's reads do not tell a failure from an empty store; these do.
 */
class AlarmReading {
public:
    static constexpr std::chrono::milliseconds kPatience{ 2000 };

    /// Waits for a busy store that long, for all of its reads together.
    explicit AlarmReading(std::chrono::milliseconds patience = kPatience);
    AlarmReading(const AlarmReading&) = delete;
    AlarmReading& operator=(const AlarmReading&) = delete;
    ~AlarmReading();

    // As the functions of AlarmCompanion.h.
    Found find(int id, AlarmDbData& alarm);
    std::optional<std::vector<AlarmDbData>> all();

    /// By the platform's id.
    Found findRegistered(int alarmMgrId, AlarmDbData& alarm);

    /// The phone's alarms of whose change it has not heard, deleted ones too, by row id.
    std::optional<std::vector<AlarmDbData>> unsynced();

    /// Why the store cannot be read, for the user; empty when all reads until now could be made.
    const std::string& fault() const { return _fault; }

private:
    Found _taken(const AlarmDbData& read, AlarmDbData& alarm);
    bool _isRead();

    std::unique_ptr<StoreConnection> _store;
    std::string _fault;
};

/// As AlarmReading::findRegistered().
Found findRegisteredAlarm(int alarmMgrId, AlarmDbData& alarm);

/// Why the alarms cannot be read, for the user; empty when they can.
std::string storeFault();

/// The alarm that rings next after now.
std::optional<AlarmDbData> upcomingAlarm(const std::vector<AlarmDbData>& alarms, time_t now);

} // namespace companion
