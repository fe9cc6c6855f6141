// A driver object on a bench: a port that records packets and plays status, a framework that records calls, time that
// stands still and captured messages.
#pragma once

#include "core/instance.h"
#include "tests/support/capture.h"
#include "tests/support/hex.h"
#include "tests/support/temp_folder.h"
#include "tests/support/virtual_clock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <variant>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// What the fake port has seen, and what it does next.
struct PortBench {
    std::vector<std::string> packets; // every packet taken, in hex
    Bytes status;                     // what each read brings; empty: nothing
    bool deaf = false;                // writes fail
    std::size_t takes = SIZE_MAX;     // packets, before writes fail
    int attempts = 0, reads = 0, opens = 0, closes = 0;

    // The command records of the packets so far, header cut off; forgets them.
    std::vector<std::string> take_payloads()
    {
        for (std::string &packet : packets)
            packet.erase(0, 12); // the header: four bytes of three characters
        return std::exchange(packets, {});
    }
};

// A run of the four status blocks at full size, all zero but for what is set by tag and offset.
class StatusRun {
  public:
    StatusRun()
    {
        set(0xF8, 0, 4, 0xF800020C).set(0xE0, 0, 4, 0xE000007C).set(0x60, 0, 4, 0x6000003C).set(0x40, 0, 4, 0x4000001C);
    }
    StatusRun &set(std::uint8_t tag, unsigned offset, unsigned size, std::int64_t value)
    {
        const unsigned at = offset + (tag == 0xF8 ? 0 : tag == 0xE0 ? 528 : tag == 0x60 ? 528 + 128 : 528 + 128 + 64);
        for (unsigned i = 0; i < size; ++i)
            bytes_[at + i] = static_cast<std::uint8_t>(value >> (8 * (size - 1 - i)));
        return *this;
    }
    const Bytes &bytes() const { return bytes_; }

  private:
    Bytes bytes_ = Bytes(528 + 128 + 64 + 32);
};

// What the driver asked of the framework and the other services, in order.
struct FrameworkBench {
    std::vector<std::string> calls;
    std::deque<PTZTask *> queued;
    int status_records = 0;  // how many spare records report_status_params fills
    int set_group_short = 0; // sc_set_group sets that many fewer than asked
    bool set_group_fails = false;
    bool picture_fails = false;
    bool refuse_params = false;
    bool refuse_tasks = false;
    std::vector<const PTZParamDefinition *> tables; // as the driver declared them, kept by address
    int datacache_result = 0;
    // The parameters that the driver may read, in any group.
    std::map<std::string, std::variant<int, const char *, bool>> params;

    std::vector<std::string> take() { return std::exchange(calls, {}); }
    // Runs every queued task once; those that want to go on stay queued. Returns how many remain.
    std::size_t run_tasks();
    void drop_tasks()
    {
        for (PTZTask *task : std::exchange(queued, {}))
            task->destroy(task);
    }
};

// The bench in force: one at a time.
FrameworkBench &framework();

// Puts recording operations in the place of those that the framework gives a driver. The services' own functions
// (status cache, data caches, picture control) are replaced by definitions in the test executable.
void fake_framework_install();

class DriverBench : public ::testing::Test {
  protected:
    DriverBench();
    ~DriverBench() override { drop_driver(); }

    // A folder of its own, which PTZ_DATA_DIR names while the test runs.
    std::string folder() const { return folder_.path(); }
    void write_file(const char *name, const std::string &text) const { folder_.write(name, text); }

    // Makes the driver; the fixture of most tests does so at once. `initialized`: as after start-up.
    void make_driver(bool initialized = true);
    void drop_driver()
    {
        framework().drop_tasks();
        g_clear_object(&driver);
    }

    VirtualClock clock;
    LogCapture log;
    PortBench port;
    PTZDriverCanon *driver = nullptr;

  private:
    TempFolder folder_{"PTZ_DATA_DIR"};
};

// 16.16 values as a move carries them.
inline PTZMotion motion(int type, double value)
{
    return {static_cast<gint32>(value * 65536.0), {0, 0}, type};
}
inline PTZSpeed speed_of(double percent)
{
    return {static_cast<gint32>(percent * 65536.0), {0, 0}};
}

inline constexpr const char *GOOD_CONFIG =
    "[KRX_DRIVER]\nPowerPin=cam_power\nPowerGoodPin=cam_good\nResetPin=cam_reset\n"
    "ResetPinsActiveLow=true\nInitDonePin=cam_done\nMaxDigitalZoom=12\n";
