// From any thread to the main loop: a function is called there, once for however many wakings came before.
#pragma once

#include <glib.h>

#include <functional>

class MainWake {
  public:
    // `priority`: G_PRIORITY_*. Made and destroyed on the main thread; never called after that.
    MainWake(int priority, std::function<void()> function);
    ~MainWake();
    MainWake(const MainWake &) = delete;
    MainWake &operator=(const MainWake &) = delete;

    // Any thread, while this lives.
    void wake() { wake_at(0); }
    // The same, not before that time of the monotonic clock. Of several the last one counts.
    void wake_at(gint64 monotonic_us) { g_source_set_ready_time(source_, monotonic_us); }

  private:
    const std::function<void()> function_;
    GSource *source_;
};
