#pragma once

#include <app_alarm.h>
#include <ctime>
#include <optional>
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

    int cancelResult = ALARM_ERROR_NONE;
    std::vector<int> cancelled;
};

AlarmDouble& alarmDouble();
