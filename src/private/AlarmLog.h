#pragma once

#include <dlog.h>

/// The part of a path after its last slash.
constexpr const char* alarmLogFile(const char* path)
{
    const char* name = path;
    for (const char* at = path; *at != '\0'; ++at) {
        if (*at == '/')
            name = at + 1;
    }
    return name;
}

/// Writes a line of the library's log: file, function and line, then the message in its level's
/// colour.
#define ALARM_LOG(priority, look, function, format, ...)                                           \
    (void)dlog_print(priority, "alarm-common", "%s: %s(%d) > " look format "\033[0;m",             \
        alarmLogFile(__FILE__), function, __LINE__, ##__VA_ARGS__)

/// For a helper function: its lines carry the name of the operation that it is a part of.
#define LOG_CRITICAL_OF(operation, format, ...)                                                    \
    ALARM_LOG(DLOG_ERROR, "\033[0;31m* Critical * ", operation, format, ##__VA_ARGS__)
#define LOG_CRITICAL(format, ...) LOG_CRITICAL_OF(__func__, format, ##__VA_ARGS__)
#define LOG_INFO(format, ...) ALARM_LOG(DLOG_INFO, "\033[0;32m", __func__, format, ##__VA_ARGS__)
#define LOG_WARNING(format, ...) ALARM_LOG(DLOG_WARN, "\033[0;35m", __func__, format, ##__VA_ARGS__)
