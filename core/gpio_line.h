#pragma once

// A GPIO line: its number, or -1 and its name. Configured unless the number is negative and there is no name.
struct GpioLine {
    int number;
    char *name;

    bool configured() const { return number >= 0 || name != nullptr; }
};
