// The lines that power, reset and boot the camera block, in the order in which it wants them.
//
// Everything blocks the calling thread: up to 30 seconds for power good and for initialisation done, 120 seconds for
// a firmware upgrade. All report failures themselves and return false (or -1).
#pragma once

#include "core/instance.h"

// Power, power good, PCIe clock, camera-block reset, initialisation done, PCIe and FPGA resets. Stops at the first
// failure and leaves the lines and flags as far as it got.
bool ptz_driver_canon_power_on(PTZDriverCanon *self);

// All resets, PCIe clock and power off; stops at the first failure.
bool ptz_driver_canon_power_off(PTZDriverCanon *self);

// Power off, a pause of 100 ms, power on. A failed power-off does not power on.
bool ptz_driver_canon_power_cycle(PTZDriverCanon *self);

// Waits until the camera block says that its firmware upgrade is complete.
bool ptz_driver_canon_wait_fw_upgrade_complete(PTZDriverCanon *self);

// Drives the power line, when there is one, then notes it in `camera_powered`; a failure leaves the flag.
bool ptz_driver_canon_set_power(PTZDriverCanon *self, bool on);

// Drives the camera-block reset, then notes it in `camera_reset_released`; a failure leaves the flag.
bool ptz_driver_canon_set_reset(PTZDriverCanon *self, bool assert);

// Levels for ptz_driver_canon_set_gpio().
inline constexpr unsigned GPIO_OUT_LOW = 0;
inline constexpr unsigned GPIO_OUT_HIGH = 2;

// Drives one output line, by name when the number is -1. The line keeps its level. 0, or -1 after a message.
int ptz_driver_canon_set_gpio(int number, const char *name, unsigned flags);

// Waits until one input line reads high: at most `polls` reads, `interval_us` microseconds apart. 0, or -1 after a
// message on timeout or failure.
int ptz_driver_canon_wait_gpio(int number, const char *name, int polls, int interval_us);
