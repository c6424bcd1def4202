#include "host/daemon/TrayService.h"

#include "host/daemon/Answering.h"

namespace host {

TrayService::TrayService(AlarmSchedule& schedule)
    : _schedule(schedule)
{
}

std::vector<sdbus::Struct<int64_t, std::string>> TrayService::List()
{
    return answering([&] {
        std::vector<sdbus::Struct<int64_t, std::string>> entries;
        for (const TrayEntry& entry : _schedule.tray())
            entries.emplace_back(entry.posted, entry.text);
        return entries;
    });
}

} // namespace host
