#pragma once

#include <dlog.h>
#include <string>
#include <vector>

/// Every line that was logged.
struct DlogDouble {
    struct Line {
        log_priority priority;
        std::string tag;
        std::string text;
    };
    std::vector<Line> lines;

    /// The messages of one priority, without their source, colour and prefix.
    std::vector<std::string> messages(log_priority priority) const;

    std::vector<std::string> criticals() const { return messages(DLOG_ERROR); }

    /// The messages of one priority, each as "function: message".
    std::vector<std::string> messagesWithFunctions(log_priority priority) const;
};

DlogDouble& dlogDouble();
