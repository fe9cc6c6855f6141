// A timer of the main thread that any thread may set going and that ends when there is nothing left to do.
#pragma once

#include <glib.h>

#include <functional>
#include <mutex>

class MainTimer {
  public:
    // `tick` runs on the main thread every `period_us` microseconds of real time (at least a millisecond) from start()
    // on, until it returns false. It may be set going again from within.
    MainTimer(double period_us, std::function<bool()> tick);
    // Main thread.
    ~MainTimer();
    MainTimer(const MainTimer &) = delete;
    MainTimer &operator=(const MainTimer &) = delete;

    // Any thread; one tick more at least follows.
    void start();
    // Main thread: while it runs, the next tick comes a period and a half from now. False: it does not run.
    bool postpone();

  private:
    static gboolean on_tick(gpointer self);

    const guint period_ms_;
    const std::function<bool()> tick_;
    std::mutex mutex_;
    GSource *source_ = nullptr; // under the mutex, like the rest
    bool wanted_ = false;
};
