#ifndef DLOG_H
#define DLOG_H

#include <tizen.h>
#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    DLOG_UNKNOWN  = 0,
    DLOG_DEFAULT  = 1,
    DLOG_VERBOSE  = 2,
    DLOG_DEBUG    = 3,
    DLOG_INFO     = 4,
    DLOG_WARN     = 5,
    DLOG_ERROR    = 6,
    DLOG_FATAL    = 7,
    DLOG_SILENT   = 8,
    DLOG_PRIO_MAX = 9
} log_priority;

typedef enum {
    DLOG_ERROR_NONE              = TIZEN_ERROR_NONE,
    DLOG_ERROR_NOT_PERMITTED     = TIZEN_ERROR_NOT_PERMITTED,
    DLOG_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER
} dlog_error_e;

int dlog_print(log_priority prio, const char *tag, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));

#ifdef __cplusplus
}
#endif

#endif
