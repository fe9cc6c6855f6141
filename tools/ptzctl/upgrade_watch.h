// The way of an upgrade, shown as it goes: a bar on a terminal, a line every tenth elsewhere, objects with --json.
#pragma once

#include "command.h"

class UpgradeWatch {
  public:
    // Hears from the service from now on.
    explicit UpgradeWatch(Context &context);
    ~UpgradeWatch();
    UpgradeWatch(const UpgradeWatch &) = delete;
    UpgradeWatch &operator=(const UpgradeWatch &) = delete;

    // Has the camera started anew and shows what is heard until that is over. Throws Failure: what came of it, no
    // answer in time, or Interrupted.
    void restart();

  private:
    static void on_progress(GDBusConnection *, const char *, const char *, const char *, const char *,
                            GVariant *parameters, gpointer self);
    void show(unsigned sent, unsigned chunks);

    Context &context_;
    guint subscription_;
    bool bar_;                   // standard output is a terminal, and no JSON is asked for
    bool bar_shown_ = false;     // its line is not ended yet
    int tenths_ = -1;            // the last that were shown
    std::exception_ptr failure_; // carried over GDBus's frames
};
