#include "dlog.h"

#include "host/common/Log.h"

#include <cstdio>
#include <string>

extern "C" int dlog_print(log_priority prio, const char* tag, const char* fmt, ...)
{
    if (!tag || !fmt || prio < DLOG_VERBOSE || prio >= DLOG_SILENT)
        return DLOG_ERROR_INVALID_PARAMETER;

    va_list arguments;
    va_start(arguments, fmt);
    va_list again;
    va_copy(again, arguments);
    const int size = vsnprintf(nullptr, 0, fmt, arguments);
    std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
    vsnprintf(text.data(), text.size() + 1, fmt, again);
    va_end(again);
    va_end(arguments);
    if (size < 0)
        return DLOG_ERROR_INVALID_PARAMETER;

    host::writeLog(prio, tag, text.c_str());
    return size;
}
