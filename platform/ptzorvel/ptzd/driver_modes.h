// The modes and the speed factor as the driver has them, for those who want to read back what they have set. The driver
// changes some of them itself: who moves the focus by hand gets its mode.
#pragma once

#include "ptzorvel/ptz_driver.h"

#include <gio/gio.h>

#include <array>
#include <functional>
#include <mutex>

class DriverModes {
  public:
    // `changed`: tells the bus of a property and its new value; command thread.
    explicit DriverModes(std::function<void(const char *name, GVariant *value)> changed);

    // Command thread, after anything that may have changed them.
    void look(const PTZDriver *driver);
    // Any thread: "IrisMode", "FocusMode" (s), "BacklightMode" (s) or "SpeedFactor" (bn), floating; null for another
    // name.
    GVariant *property(const char *name) const;

  private:
    struct Values {
        std::array<gint32, 3> modes{}; // iris, focus, backlight
        gint32 proportional = 0;
        gint16 percent = 0;
    };
    static GVariant *variant(const Values &values, std::size_t property);

    const std::function<void(const char *name, GVariant *value)> changed_;
    mutable std::mutex mutex_;
    Values values_; // under the mutex
};
