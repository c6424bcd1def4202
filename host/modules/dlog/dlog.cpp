#include "dlog.h"

#include "host/common/Boundary.h"

#include <cstdio>

static int print(log_priority prio, const char* tag, const char* fmt, va_list arguments)
{
    char* made = nullptr;
    const int size = vasprintf(&made, fmt, arguments);
    if (size < 0)
        return DLOG_ERROR_INVALID_PARAMETER;
    const host::CText text(made);
    host::writeLog(prio, tag, text.get());
    return size;
}

extern "C" int dlog_print(log_priority prio, const char* tag, const char* fmt, ...)
{
    if (!tag || !fmt || prio < DLOG_VERBOSE || prio >= DLOG_SILENT)
        return DLOG_ERROR_INVALID_PARAMETER;
    va_list arguments;
    va_start(arguments, fmt);
    const int written = host::guarded("a log line cannot be written", DLOG_ERROR_NOT_PERMITTED,
        [&]() -> int { return print(prio, tag, fmt, arguments); });
    va_end(arguments);
    return written;
}
