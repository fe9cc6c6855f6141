#include "driver/ptz_driver_canon_operations.h"
#include "tests/support/driver_fixture.h"

namespace {

class Special : public DriverBench {
  protected:
    Special() { make_driver(); }

    gboolean run(const char *command)
    {
        return ptz_driver_canon_op_run_special_command(&driver->parent_instance, command);
    }

    Lines list()
    {
        char **commands = nullptr;
        EXPECT_TRUE(ptz_driver_canon_op_get_special_commands(&driver->parent_instance, &commands));
        Lines lines;
        for (char **command = commands; command != nullptr && *command != nullptr; ++command)
            lines.emplace_back(*command);
        g_strfreev(commands);
        return lines;
    }
};

TEST_F(Special, ListDependsOnTheState)
{
    const Lines all{"wbonep",
                    "video_output|hdmi",
                    "video_output|sdi",
                    "scan_mode|progressive",
                    "scan_mode|interlaced",
                    "sdi_mapping|level_a",
                    "sdi_mapping|level_b",
                    "reset"};
    EXPECT_EQ(list(), all);
    driver->driver_initialized = FALSE;
    driver->parent_instance.state = PTZ_STATE_INITIALISING;
    EXPECT_TRUE(list().empty());
    driver->parent_instance.state = PTZ_STATE_FAILED;
    EXPECT_EQ(list(), all);
}

TEST_F(Special, CommandsAreStoredAndSentAndAnythingElseIsRefused)
{
    driver->current.capture_mode = g_strdup("1080p60");
    EXPECT_TRUE(run("WbOneP"));
    EXPECT_TRUE(run("video_output|sdi"));
    EXPECT_TRUE(run("scan_mode|interlaced"));
    EXPECT_TRUE(run("sdi_mapping|level_b"));
    EXPECT_EQ(port.take_payloads(),
              (Lines{"03 00 04 09", "04 02 08 17 01", "04 02 08 04 01 04 02 08 18 01", "04 02 08 1D 01"}));
    EXPECT_STREQ(driver->current.video_output, "sdi");
    EXPECT_STREQ(driver->current.scan_mode, "interlaced");
    port.deaf = true;
    EXPECT_FALSE(run("video_output|hdmi"));
    EXPECT_STREQ(driver->current.video_output, "hdmi"); // stored before it was sent
    for (const char *text : {"", "RESET", "reset ", "video_output", "video_output|", "video_output|HDMI",
                             "video_output|hdmi|x", "scan_mode|hdmi", "%s%n", "|"})
        EXPECT_FALSE(run(text)) << text;
    EXPECT_FALSE(run(nullptr));
    EXPECT_EQ(port.attempts, 4 + 10);
}

TEST_F(Special, RotationSignalQueuesOneCommandPerChange)
{
    PTZDriver *base = &driver->parent_instance;
    const auto signal = [base](const char *name, GVariant *parameters) {
        g_variant_ref_sink(parameters);
        ptz_driver_canon_op_signal_received(base, name, parameters);
        g_variant_unref(parameters);
    };
    driver->camera_powered = TRUE;
    signal("CurrentRotationChanged", g_variant_new("(i)", 180));
    signal("CurrentRotationChanged", g_variant_new("(i)", 180));
    signal("CurrentRotationChanged", g_variant_new("(s)", "180"));
    signal("SomethingElse", g_variant_new("(i)", 90));
    EXPECT_EQ(framework().take(), (Lines{"queue_task 0"}));
    EXPECT_EQ(framework().run_tasks(), 0u);
    EXPECT_EQ(port.take_payloads(), (Lines{"04 02 08 03 01"}));

    signal("CurrentRotationChanged", g_variant_new("(i)", 0));
    driver->closed = TRUE; // too late
    framework().run_tasks();
    EXPECT_TRUE(port.packets.empty());
}

} // namespace
