#include "dlog.h"

#include "host/common/Boundary.h"

#include <cstdio>
#include <string>

static int print(log_priority prio, const char* tag, const char* fmt, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int size = vsnprintf(nullptr, 0, fmt, again);
    va_end(again);
    if (size < 0)
        return DLOG_ERROR_INVALID_PARAMETER;
    std::string text(static_cast<size_t>(size), '\0');
    vsnprintf(text.data(), text.size() + 1, fmt, arguments);
    host::writeLog(prio, tag, text.c_str());
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
