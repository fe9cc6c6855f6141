// A GPIO line held for one operation, and released at its end.
#pragma once

#include "core/gpio_line.h"
#include "ugpio/ugpio.h"

#include <memory>

class GpioHandle {
  public:
    // Requests the line by its number unless that is -1, else by its name; false with errno when it cannot be had.
    // `label` may be null.
    GpioHandle(const GpioLine &line, const char *label);
    ~GpioHandle();
    GpioHandle(const GpioHandle &) = delete;
    GpioHandle &operator=(const GpioHandle &) = delete;

    explicit operator bool() const { return handle_ != nullptr; }
    // False with errno on failure.
    bool full_open();
    // For an opened line: 0 or 1, negative with errno on failure.
    int value() { return ugpio_get_value(handle_); }
    ugpio *get() { return handle_; }

  private:
    ugpio *handle_;
    bool opened_ = false;
};

// One level read, with the line requested and released for it.
struct GpioReading {
    int level;          // 0 or 1, -1 when the read failed
    const char *failed; // what failed: "request", "open", "get value of"; null when nothing did
    int error;          // its error number
};

GpioReading gpio_read_level(const GpioLine &line, const char *label);
