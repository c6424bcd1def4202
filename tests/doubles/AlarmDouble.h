#pragma once

#include <app_alarm.h>
#include <ctime>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The platform alarm service.
struct AlarmDouble {
    struct Request {
        std::string applicationId;
        tm date;
        int weekFlag;
        /// What the id output held on entry.
        int presetId;
    };
    int scheduleResult = ALARM_ERROR_NONE;
    int nextId = 1;
    std::optional<int> idOnRefusal; ///< what a refusal writes to the output
    std::vector<Request> scheduled;
    std::function<void()> onSchedule; ///< called before each request is answered

    int cancelResult = ALARM_ERROR_NONE;
    std::vector<int> cancelled;
    std::function<void()> onCancel; ///< called before each request is answered

    /// The ids that were given and not taken back.
    std::set<int> registered;
};

AlarmDouble& alarmDouble();
