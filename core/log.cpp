#include "core/log.h"

#include <cstdarg>
#include <cstdio>
#include <syslog.h>

namespace {

LogSink log_sink = nullptr;

void log_at(int priority, const char *format, va_list args)
{
    if (log_sink == nullptr) {
        vsyslog(priority, format, args);
        return;
    }
    char text[1024];
    vsnprintf(text, sizeof text, format, args);
    log_sink(priority, text);
}

} // namespace

void log_set_sink(LogSink sink)
{
    log_sink = sink;
}

// A macro: the arguments that follow a format can be taken only in the function that has them.
#define LOG_BODY(priority)                                                                                             \
    va_list args;                                                                                                      \
    va_start(args, format);                                                                                            \
    log_at(priority, format, args);                                                                                    \
    va_end(args)

void log_error(const char *format, ...)
{
    LOG_BODY(LOG_ERR);
}

void log_warning(const char *format, ...)
{
    LOG_BODY(LOG_WARNING);
}

void log_info(const char *format, ...)
{
    LOG_BODY(LOG_INFO);
}
