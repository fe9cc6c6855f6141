// The driver and the simulated board in one process, on one virtual clock: seconds pass in milliseconds.
#pragma once

#include "driver/type.h"
#include "port/config.h"
#include "port/settings.h"
#include "sim/image.h"
#include "tests/sim/sim_fixture.h"
#include "tests/support/bus_fake.h"
#include "tests/support/capture.h"
#include "tests/support/virtual_clock.h"
#include "vcc/status.h"

#include <filesystem>

inline PTZMotion motion(int type, double value)
{
    return {static_cast<gint32>(value * 65536.0), {0, 0}, type};
}

inline std::size_t open_descriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

class OnBoard : public testing::Test {
  protected:
    // `settings`: further lines for the driver's configuration.
    explicit OnBoard(const std::string &settings = "")
    {
        bus() = BusBench{};
        port_transfer_settings = {};
        ptz_port_canon_forget_config();
        vccif_clear_status();
        EXPECT_EQ(board.start(), std::nullopt);
        clock.on_advance = [this](std::int64_t us) { board.advance(us); };
        clock.wait_slice_us = 1000;
        folder.write("krx_driver.conf", folder.read("krx_driver.conf") + settings);
        driver = ptz_driver_canon_new(1, 0);
        operations().install_params(&base());
    }

    ~OnBoard() override { g_object_unref(driver); }

    PTZDriver &base() { return driver->parent_instance; }
    PTZDriverClass &operations() { return *PTZ_DRIVER_GET_CLASS(&base()); }

    void open() { operations().open(&base()); }
    void reset() { operations().run_special_command(&base(), "reset"); }

    void move(const PTZMotion &pan, const PTZMotion &tilt = {}, const PTZMotion &zoom = {})
    {
        const PTZMotion none{};
        const PTZSpeed speed{};
        base().zoom_requested = zoom.type != PTZ_MOVE_NONE;
        operations().move(&base(), &pan, &tilt, &zoom, &none, &none, &none, &speed);
    }

    void pass(double seconds)
    {
        const auto us = static_cast<std::int64_t>(seconds * 1e6);
        clock.advance(us);
        move({}); // which refreshes the status
    }

    void put_image(std::uint32_t version, std::size_t size)
    {
        const std::vector<std::uint8_t> image = sim::make_image(version, size);
        folder.write("IMC.APP", {image.begin(), image.end()});
    }

    bool running() { return base().state == PTZ_STATE_RUNNING && driver->driver_initialized; }

    TempFolder folder;
    Environment data_dir{"PTZ_DATA_DIR", folder.path()};
    Environment board_dir{"PTZ_BOARD", folder.path()};
    sim::Board board{{.folder = folder.path(), .manual_time = true}};
    VirtualClock clock;
    LogCapture log;
    PTZDriverCanon *driver = nullptr;
};
