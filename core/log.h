// Messages to syslog. The texts are the system's own: never put text from outside in the place of the format.
#pragma once

void log_error(const char *format, ...) __attribute__((format(printf, 1, 2)));   // priority 3
void log_warning(const char *format, ...) __attribute__((format(printf, 1, 2))); // priority 4
void log_info(const char *format, ...) __attribute__((format(printf, 1, 2)));    // priority 6

// A message with one text in it, as a table keeps it: written whole beside the row, its format checked like any other,
// and said by calling it with the text.
using LogMessage = void (*)(const char *subject);
#define ERROR_MESSAGE(format) [](const char *subject) { log_error(format, subject); }
#define WARNING_MESSAGE(format) [](const char *subject) { log_warning(format, subject); }

// Where messages go instead of syslog, e.g. into a test's record; nullptr restores syslog.
using LogSink = void (*)(int priority, const char *text);
void log_set_sink(LogSink sink);
