#include "tests/support/driver_fixture.h"
#include "utils/ptz_driver_canon_utils_status.h"
#include "vcc/vccif_status.h"

namespace {

class Status : public DriverBench {
  protected:
    Status() { make_driver(); }
};

TEST_F(Status, DerivesWhatTheBlocksSay)
{
    port.status = StatusRun()
                      .set(0xF8, 29, 1, 0x10)         // zoom moving
                      .set(0xF8, 34, 2, 1596)         // half of the focus range
                      .set(0xF8, 79, 1, 0x88)         // exponents 8 and 8
                      .set(0xF8, 88, 2, 30 * 256)     // 30x
                      .set(0xF8, 92, 2, 2 * 256 + 77) // 2.30078125 degrees
                      .set(0xF8, 94, 2, 256)
                      .set(0xE0, 4, 1, 0x20) // tilt moving
                      .set(0xE0, 16, 4, -12500)
                      .set(0xE0, 32, 4, 90000)
                      .bytes();
    EXPECT_TRUE(ptz_driver_canon_cmd_update_status(driver));
    const CameraState &now = driver->current;
    EXPECT_EQ((std::vector<float>{now.pan_degree, now.tilt_degree, now.zoom_magnification, now.hfov, now.vfov,
                                  now.mask_hfov}),
              (std::vector<float>{-12.5f, 90.0f, 30.0f, 2.30078125f, 1.0f, 2.30078125f}));
    EXPECT_EQ((std::vector<int>{now.focus_position, now.focus_zenta, now.zoom_zenta, now.zoom_moving, now.focus_moving,
                                now.pan_moving, now.tilt_moving}),
              (std::vector<int>{1596, 5000, 9999, 1, 0, 0, 1}));
    EXPECT_EQ(driver->rx_buffer->len, 0u);
    EXPECT_FALSE(framework().take().empty()); // published

    port.status.clear(); // old blocks count as available
    EXPECT_TRUE(ptz_driver_canon_cmd_update_status(driver));
}

TEST_F(Status, BeyondTheOpticalRangeTheFieldOfViewIsComputed)
{
    port.status = StatusRun().set(0xF8, 79, 1, 0x88).set(0xF8, 88, 2, 30 * 256).set(0xF8, 80, 2, 256).bytes(); // 60x
    ptz_driver_canon_cmd_update_status(driver);
    EXPECT_EQ(driver->current.zoom_magnification, 60.0f);
    EXPECT_EQ(driver->current.zoom_zenta, 10909);
    EXPECT_NEAR(driver->current.hfov, 1.1658f, 0.001f); // 2 atan(tan(31.4 deg) / 60)
    EXPECT_EQ(driver->current.mask_hfov, driver->current.hfov);
}

TEST_F(Status, NothingReadChangesNothingButABadRunIsDerivedFrom)
{
    EXPECT_FALSE(ptz_driver_canon_cmd_update_status(driver));
    EXPECT_EQ(port.reads, 1);
    EXPECT_EQ(driver->current.hfov, -1.0f);
    EXPECT_TRUE(framework().take().empty());

    port.status = {0xF8, 0, 0, 0};
    EXPECT_FALSE(ptz_driver_canon_cmd_update_status(driver));
    EXPECT_EQ(log.take(), (Lines{"error: Invalid status length"}));
    EXPECT_EQ(driver->current.focus_zenta, 9999);
    EXPECT_EQ(driver->current.zoom_magnification, 0.0f);
    EXPECT_EQ(driver->current.zoom_zenta, -343);
    EXPECT_EQ(driver->rx_buffer->len, 0u);
    EXPECT_FALSE(framework().take().empty());

    const Bytes full(1024, 0); // a full buffer is left alone
    g_byte_array_append(driver->rx_buffer, full.data(), 1024);
    ptz_driver_canon_cmd_receive_status(driver);
    EXPECT_EQ(port.reads, 2);
}

TEST_F(Status, WaitsThreeHundredPollsAtTenASecond)
{
    EXPECT_FALSE(ptz_driver_canon_utils_wait_all_status(driver));
    EXPECT_EQ(port.reads, 300);
    EXPECT_EQ(clock.slept_us(), 301 * 100000);

    port.status = StatusRun().set(0xF8, 29, 1, 0x02).bytes();
    EXPECT_TRUE(ptz_driver_canon_utils_wait_all_status(driver));
    EXPECT_FALSE(ptz_driver_canon_utils_wait_lens_ready(driver));
    port.status = StatusRun().set(0xF8, 29, 1, 0x55).bytes(); // the bits that do not count
    EXPECT_TRUE(ptz_driver_canon_utils_wait_lens_ready(driver));
}

TEST_F(Status, FirmwareRevisionMustComeWithinEightRefreshes)
{
    const Bytes run = StatusRun().set(0x40, 4, 4, 0x01020304).bytes();
    const auto revision_after = [&](int refreshes) {
        port.reads = 0;
        port.status.clear();
        clock.on_advance = [&, refreshes](std::int64_t) {
            if (port.reads == refreshes - 1)
                port.status = run;
        };
        return vccif_wait_fw_revision(driver);
    };
    EXPECT_EQ(revision_after(1), 0x01020304);
    EXPECT_EQ(revision_after(8), 0x01020304);
    EXPECT_EQ(revision_after(9), -1);
    EXPECT_EQ(revision_after(99), -1);
    EXPECT_EQ(port.reads, 10);
    driver->cmd_retries = 1;
    EXPECT_EQ(revision_after(1), -1);
}

TEST_F(Status, ErrorBits)
{
    const auto errors_with_lens = [this](int bits) {
        port.status = StatusRun().set(0xF8, 29, 1, bits).bytes();
        ptz_driver_canon_cmd_update_status(driver);
        return vccif_inq_error_info(driver);
    };
    EXPECT_EQ(vccif_inq_error_info(nullptr), -1);
    EXPECT_EQ(vccif_inq_error_info(driver), 0x86); // nothing received
    const std::pair<int, int> lens[] = {{0x02, 0xC0}, {0x20, 0x88}, {0x80, 0x10}, {0xA2, 0xD8}, {0x5D, 0}};
    for (const auto &[bits, errors] : lens)
        EXPECT_EQ(errors_with_lens(bits), errors) << "lens " << bits;
    driver->driver_initialized = FALSE;
    EXPECT_EQ(errors_with_lens(0xFF), 0);
}

} // namespace
