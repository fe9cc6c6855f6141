// Catches what the code under test logs: its syslog messages and GLib's guard warnings, in the order they came.
//
//   LogCapture log;
//   ...
//   EXPECT_EQ(log.take(), (Lines{"error: Invalid status length"}));
//   EXPECT_EQ(log.take(), (Lines{guard_line("vccif_append_data", "len > 0")}));
//
// One at a time per process; on destruction messages go where they go by default. Safe to use from several threads.
#pragma once

#include "core/log.h"

#include <glib.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <syslog.h>
#include <utility>
#include <vector>

using Lines = std::vector<std::string>;

// The line of a failed guard: `operation` is the function's name, `expression` what did not hold.
inline std::string guard_line(const std::string &operation, const std::string &expression)
{
    return "guard: " + operation + ": assertion '" + expression + "' failed";
}

class LogCapture {
  public:
    LogCapture()
    {
        current_ = this;
        log_set_sink(take_syslog);
        g_log_set_default_handler(take_glib, nullptr);
    }

    ~LogCapture()
    {
        g_log_set_default_handler(g_log_default_handler, nullptr);
        log_set_sink(nullptr);
        current_ = nullptr;
    }

    // Everything logged so far, each line as "error: text", "warning: text", "info: text", "guard: text" (GLib's
    // critical level) or "glib: text" (any other of GLib's).
    Lines lines() const
    {
        const std::lock_guard hold(mutex_);
        return lines_;
    }

    // The same, and forgets them.
    Lines take()
    {
        const std::lock_guard hold(mutex_);
        return std::exchange(lines_, {});
    }

    // How often exactly this line was logged.
    long count(const std::string &line) const
    {
        const std::lock_guard hold(mutex_);
        return std::count(lines_.begin(), lines_.end(), line);
    }

  private:
    static void take_syslog(int priority, const char *text)
    {
        static constexpr const char *levels[] = {"error: ", "warning: ", "other: ", "info: "};
        current_->add(priority >= LOG_ERR && priority <= LOG_INFO ? levels[priority - LOG_ERR] : "other: ", text);
    }

    static void take_glib(const gchar *, GLogLevelFlags level, const gchar *text, gpointer)
    {
        current_->add((level & G_LOG_LEVEL_CRITICAL) != 0 ? "guard: " : "glib: ", text);
    }

    void add(const char *level, const char *text)
    {
        const std::lock_guard hold(mutex_);
        lines_.push_back(std::string(level) + text);
    }

    static inline LogCapture *current_ = nullptr;
    mutable std::mutex mutex_;
    Lines lines_;
};
