#include "hw/power.h"

#include "core/clock.h"
#include "core/guard.h"
#include "core/log.h"
#include "port/gpio_handle.h"

#include <cerrno>

namespace {

constexpr int POWER_CYCLE_PAUSE_US = 100000;
// Half a minute, by the millisecond; and two minutes.
constexpr int POWER_POLLS = 30000, POWER_POLL_INTERVAL_US = 1000;
constexpr int UPGRADE_POLLS = 600, UPGRADE_POLL_INTERVAL_US = 200000;

const char *text_of(const char *text)
{
    return text != nullptr ? text : "";
}

bool drive(const GpioLine &line, bool high)
{
    return ptz_driver_canon_set_gpio(line.number, line.name, high ? GPIO_OUT_HIGH : GPIO_OUT_LOW) == 0;
}

bool drive_if_configured(const GpioLine &line, bool high)
{
    return !line.configured() || drive(line, high);
}

// The level that asserts a line is low when it is active low, and the opposite one releases it.
bool level_for(bool asserted, gboolean active_low)
{
    return asserted != (active_low != FALSE);
}

bool set_pcie_reset(PTZDriverCanon *self, bool assert)
{
    return drive_if_configured(self->reset_pcie_pin, level_for(assert, self->reset_pins_active_low));
}

bool set_fpga_reset(PTZDriverCanon *self, bool assert)
{
    return !self->fpga_is_used || drive(self->fpga_reset_pin, level_for(assert, self->fpga_reset_pins_active_low));
}

bool set_pcie_clock(PTZDriverCanon *self, bool on)
{
    return drive_if_configured(self->enable_pcie_clk_pin, on);
}

bool wait_high(const GpioLine &line, int polls, int interval_us, const char *failure)
{
    if (ptz_driver_canon_wait_gpio(line.number, line.name, polls, interval_us) == 0)
        return true;
    log_error("%s", failure);
    return false;
}

bool wait_power_good(PTZDriverCanon *self)
{
    return wait_high(self->power_good_pin, POWER_POLLS, POWER_POLL_INTERVAL_US,
                     "Fatal error, camera block power could not be enabled.\n");
}

bool wait_init_done(PTZDriverCanon *self)
{
    return wait_high(self->init_done_pin, POWER_POLLS, POWER_POLL_INTERVAL_US,
                     "Fatal error, camera block could not be boot up.\n");
}

template <auto set, bool on>
bool step(PTZDriverCanon *self)
{
    return set(self, on);
}

struct Step {
    bool (*run)(PTZDriverCanon *self);
    const char *failure;
};

constexpr Step POWER_ON[] = {
    {step<ptz_driver_canon_set_power, true>, "Fatal error, failed to supply power"},
    {wait_power_good, "Fatal error, failed to supply power"},
    {step<set_pcie_clock, true>, "Fatal error, failed to enable the clock for PCIe"},
    {step<ptz_driver_canon_set_reset, false>, "Fatal error, failed to release the reset for camera block"},
    {wait_init_done, "Fatal error, failed to release the reset for camera block"},
    {step<set_pcie_reset, false>, "Fatal error, failed to release the reset for PCIe"},
    {step<set_fpga_reset, false>, "Fatal error, failed to release the reset of FPGA"},
};

constexpr Step POWER_OFF[] = {
    {step<set_fpga_reset, true>, "Fatal error, failed to reset FPGA"},
    {step<set_pcie_reset, true>, "Fatal error, failed to reset PCIe"},
    {step<ptz_driver_canon_set_reset, true>, "Fatal error, failed to reset camera block"},
    {step<set_pcie_clock, false>, "Fatal error, failed to disable power supply"},
    {step<ptz_driver_canon_set_power, false>, "Fatal error, failed to disable power supply"},
};

template <std::size_t n>
bool run_sequence(PTZDriverCanon *self, const Step (&steps)[n])
{
    for (const Step &each : steps) {
        if (!each.run(self)) {
            log_error("%s", each.failure);
            return false;
        }
    }
    return true;
}

} // namespace

bool ptz_driver_canon_power_on(PTZDriverCanon *self)
{
    GUARD(self, false);
    return run_sequence(self, POWER_ON);
}

bool ptz_driver_canon_power_off(PTZDriverCanon *self)
{
    GUARD(self, false);
    return run_sequence(self, POWER_OFF);
}

bool ptz_driver_canon_power_cycle(PTZDriverCanon *self)
{
    GUARD(self, false);
    if (!ptz_driver_canon_power_off(self))
        return false;
    clock_sleep_us(POWER_CYCLE_PAUSE_US);
    return ptz_driver_canon_power_on(self);
}

bool ptz_driver_canon_wait_fw_upgrade_complete(PTZDriverCanon *self)
{
    GUARD(self, false);
    return wait_high(self->fw_upgrade_complete_pin, UPGRADE_POLLS, UPGRADE_POLL_INTERVAL_US,
                     "Fatal error, camera block firmware upgrade could not be completed.\n");
}

bool ptz_driver_canon_set_power(PTZDriverCanon *self, bool on)
{
    GUARD(self, false);
    if (!drive_if_configured(self->power_pin, level_for(on, self->power_pins_active_low)))
        return false;
    self->camera_powered = on;
    return true;
}

bool ptz_driver_canon_set_reset(PTZDriverCanon *self, bool assert)
{
    GUARD(self, false);
    if (!drive(self->reset_pin, level_for(assert, self->reset_pins_active_low)))
        return false;
    self->camera_reset_released = !assert;
    return true;
}

int ptz_driver_canon_set_gpio(int number, const char *name, unsigned flags)
{
    ugpio *line = nullptr;
    if (number != -1)
        line = ugpio_request_one(number, flags, nullptr);
    else if (name != nullptr)
        line = ugpio_request_one_named(name, flags);
    else
        errno = EINVAL;
    if (line == nullptr) {
        const int error = errno;
        log_error("%d - (%s) ERROR: Failed to change gpio %d/%s", error, g_strerror(error), number, text_of(name));
        return -1;
    }
    ugpio_free(line);
    return 0;
}

int ptz_driver_canon_wait_gpio(int number, const char *name, int polls, int interval_us)
{
    const GpioLine line{number, const_cast<char *>(name)};
    for (int poll = 0; poll < polls && !clock_cancelled(); ++poll) {
        const GpioReading reading = gpio_read_level(line, nullptr);
        if (reading.failed != nullptr) {
            log_error("%d - (%s) ERROR: Failed to %s gpio %d/%s", reading.error, g_strerror(reading.error),
                      reading.failed, number, text_of(name));
            return -1;
        }
        if (reading.level == 1)
            return 0;
        if (poll + 1 < polls)
            clock_sleep_us(interval_us);
    }
    log_error("Fatal error, timeout is occurred while waiting for %s!\n", text_of(name));
    return -1;
}
