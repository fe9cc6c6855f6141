#include "cmd/ptz_driver_canon_cmd_video.h"
#include "tests/support/driver_fixture.h"

namespace {

class Video : public DriverBench {
  protected:
    Video()
    {
        make_driver();
        driver->cmd_retries = 1;
    }
};

TEST_F(Video, FixedChoices)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_rotate(driver, 0));
    EXPECT_TRUE(ptz_driver_canon_cmd_rotate(driver, 180));
    EXPECT_TRUE(ptz_driver_canon_cmd_video_output(driver, "HDMI"));
    EXPECT_TRUE(ptz_driver_canon_cmd_video_output(driver, "sdi"));
    EXPECT_TRUE(ptz_driver_canon_cmd_sdi_mapping_mode(driver, "level_a"));
    EXPECT_TRUE(ptz_driver_canon_cmd_sdi_mapping_mode(driver, "Level_B"));
    EXPECT_TRUE(ptz_driver_canon_cmd_halt_sensor(driver, TRUE));
    EXPECT_TRUE(ptz_driver_canon_cmd_halt_sensor(driver, FALSE));
    EXPECT_EQ(port.take_payloads(),
              (Lines{"04 02 08 03 00", "04 02 08 03 01", "04 02 08 17 00", "04 02 08 17 01", "04 02 08 1D 00",
                     "04 02 08 1D 01", "05 00 08 00 00 01", "05 00 08 00 01 00"}));
}

TEST_F(Video, ModeWithItsScan)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_video_mode(driver, "1080P60", "Interlaced"));
    EXPECT_TRUE(ptz_driver_canon_cmd_video_mode(driver, "720p60", "interlaced"));
    EXPECT_TRUE(ptz_driver_canon_cmd_video_mode(driver, "1080p50", "progressive"));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 02 08 04 01 04 02 08 18 01", "04 02 08 04 00 04 02 08 18 00",
                                           "04 02 08 04 01 04 02 08 18 00"}));
}

TEST_F(Video, RefusalsSendNothing)
{
    EXPECT_FALSE(ptz_driver_canon_cmd_rotate(driver, 90));
    EXPECT_FALSE(ptz_driver_canon_cmd_video_output(driver, "vga"));
    EXPECT_FALSE(ptz_driver_canon_cmd_sdi_mapping_mode(driver, "c"));
    EXPECT_FALSE(ptz_driver_canon_cmd_video_mode(driver, "480i", "progressive"));
    EXPECT_FALSE(ptz_driver_canon_cmd_video_mode(driver, "720p60", "zigzag"));
    EXPECT_FALSE(ptz_driver_canon_cmd_video_mode(driver, nullptr, "progressive"));
    EXPECT_EQ(log.take(),
              (Lines{"error: Unsupported rotation mode", "error: Unsupported video output type",
                     "error: Unsupported SDI mapping mode", "error: Unsupported video mode: 480i",
                     "error: Unsupported video scan mode", guard_line("ptz_driver_canon_cmd_video_mode", "mode")}));
    EXPECT_TRUE(port.packets.empty());
}

TEST_F(Video, EachFailureHasItsMessage)
{
    port.deaf = true;
    ptz_driver_canon_cmd_rotate(driver, 0);
    ptz_driver_canon_cmd_video_mode(driver, "720p60", "progressive");
    ptz_driver_canon_cmd_video_output(driver, "sdi");
    ptz_driver_canon_cmd_sdi_mapping_mode(driver, "level_a");
    ptz_driver_canon_cmd_halt_sensor(driver, TRUE);
    Lines failures;
    for (const std::string &line : log.take())
        if (line.starts_with("error: "))
            failures.push_back(line.substr(7));
    EXPECT_EQ(failures, (Lines{"Failed to send rotate setup command", "Failed to send video mode setup command",
                               "Failed to send video output setup command", "Failed to send SDI mapping setup command",
                               "Failed to send image sensor halt mode setup command"}));
}

TEST_F(Video, HaltSettlesASecondAfterFreshStatus)
{
    ptz_driver_canon_utils_halt_sensor_and_settle(driver);
    EXPECT_EQ(port.take_payloads(), (Lines{"05 00 08 00 00 01"}));
    EXPECT_EQ(port.reads, 1 + 1); // one before, and cmd_retries after while no status comes
    EXPECT_EQ(clock.slept_us(), 1000000);
}

} // namespace
