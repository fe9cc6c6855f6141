// Limits, advanced settings and special commands.
#include "driver/operations.h"
#include "driver/params.h"
#include "tests/cmd/command_bench.h"
#include "tests/support/bus_fake.h"

namespace {

class Params : public CommandBench {
  protected:
    PTZDriver *base() { return &driver->parent_instance; }

    gboolean change(const char *name, std::variant<int, const char *, bool> value)
    {
        framework().params = {{name, value}};
        return ptz_driver_canon_op_useradv_changed(base(), name);
    }

    std::string change_limit(const char *name) { return outcome(ptz_driver_canon_op_limit_changed(base(), name)); }
    gboolean run(const char *command) { return ptz_driver_canon_op_run_special_command(base(), command); }

    // The errors of applying everything that a camera block gets after it has started.
    Lines errors_of_applying(const char *rotation, const decltype(FrameworkBench::params) &params)
    {
        bus().replies = {{"Rotation", rotation}};
        framework().params = params;
        EXPECT_FALSE(ptz_driver_canon_apply_params(driver));
        return take_errors();
    }
};

TEST_F(Params, LimitsAreReadAtStartUpAndMissingOnesSkipped)
{
    framework().params = {{"MinPan", -100}, {"MaxPan", 100},    {"MinTilt", -10},    {"MaxTilt", "high"},
                          {"MinZoom", 5},   {"MaxZoom", 15000}, {"MinFocus", 2124},  {"MaxFocus", 9000},
                          {"MinIris", 6},   {"MaxIris", 900},   {"MinBrightness", 7}};
    ptz_driver_canon_read_limits(driver);
    EXPECT_EQ((std::vector<int>{driver->limit_min_pan, driver->limit_max_pan, driver->limit_min_tilt,
                                driver->limit_max_tilt, driver->limit_min_zoom, driver->limit_max_zoom,
                                driver->limit_min_focus, driver->limit_max_focus, driver->limit_min_iris,
                                driver->limit_max_iris, driver->limit_min_brightness, driver->limit_max_brightness}),
              (std::vector<int>{-100, 100, -10, 9999, 5, 15000, 2124, 9000, 6, 900, 7, 9999}));
    EXPECT_EQ(outcome(TRUE), "04 00 01 10 01"); // the near limit reaches the camera block

    framework().params = {{"MaxBrightness", 12}, {"MinFocus", 9999}, {"MinFieldAngle", 23}, {"MinIris", "x"}};
    for (const char *name : {"MaxBrightness", "MinFieldAngle", "Unheard"})
        EXPECT_EQ(change_limit(name), "");
    EXPECT_EQ(driver->limit_max_brightness, 12);
    port.deaf = true;
    EXPECT_FALSE(change_limit("MinFocus").starts_with("refused")); // whether or not it could be sent
    EXPECT_EQ(driver->limit_min_focus, 9999);
    for (const char *name : {"MinIris", "MaxFieldAngle"})
        EXPECT_EQ(change_limit(name), refused(std::string("Faulty type of Limit parameter value for ") + name));
    Life::stop(driver);
    EXPECT_EQ(change_limit("MinIris"), "");
}

TEST_F(Params, LimitRowsOutliveTheirDeclaration)
{
    const auto rows = [](const PTZParamDefinition *table) {
        Lines lines;
        for (const PTZParamDefinition *row = table; row->type != PTZ_PARAM_END; ++row)
            lines.push_back(std::string(row->name) + " " + row->default_text + " in " + row->range);
        return lines;
    };
    ptz_driver_canon_install_limits(driver);
    Lines expected{"MinZoom 1 in 1..1054",          "MaxZoom 9999 in 1..19999",     "MinFieldAngle 23 in 23..23",
                   "MaxFieldAngle 628 in 628..628", "MinPan -170 in -170..170",     "MaxPan 170 in -170..170",
                   "MinTilt -20 in -20..90",        "MaxTilt 90 in -20..90",        "MinFocus 1 in 1..9999",
                   "MaxFocus 9999 in 9999..9999",   "MinIris 1 in 1..9999",         "MaxIris 9999 in 1..9999",
                   "MinBrightness 1 in 1..9999",    "MaxBrightness 9999 in 1..9999"};
    EXPECT_EQ(rows(framework().tables[0]), expected);
    model.field_angle_limits = {5, 500};
    model.near_focus_limit_default = 2124;
    ptz_driver_canon_install_limits(driver); // another model's
    expected[2] = "MinFieldAngle 5 in 5..5";
    expected[3] = "MaxFieldAngle 500 in 500..500";
    expected[8] = "MinFocus 2124 in 1..9999";
    EXPECT_EQ(rows(framework().tables[1]), expected);
}

TEST_F(Params, EachAdvancedSettingHasItsEffect)
{
    for (const auto &[mode, number] : {std::pair{"ON", 1}, {"off", 2}, {"Auto", 3}}) {
        EXPECT_EQ(outcome(change("CamImageFreeze", mode)), ""); // kept without a packet
        EXPECT_EQ(now().image_freeze_mode, number);
    }
    EXPECT_EQ(outcome(change("CamImageFreeze", "sometimes")), "refused"); // without a word
    EXPECT_TRUE(change("AdjustableZoomSpeedEnabled", false));
    EXPECT_FALSE(now().adjustable_zoom_speed);
    EXPECT_TRUE(change("StatusUpdate", false));
    EXPECT_FALSE(driver->status_update);
    EXPECT_TRUE(change("MoveSpeed", 42));
    EXPECT_EQ(base()->speed, 42.0);
    for (const auto &[profile, number] : {std::pair{"sport", 1}, {"stage", 0}}) {
        EXPECT_TRUE(change("ResponseProfile", profile));
        EXPECT_EQ(now().response_profile, number);
    }
    EXPECT_EQ(outcome(change("ResponseProfile", "Sport")), refused("Unsupported response profile: Sport"));

    bus().replies["VideoCaptureMode"] = "(<'720p60'>,)";
    EXPECT_EQ(outcome(change("BroadcastFrameRateEnabled", true)), "04 02 08 19 00 | 04 02 08 04 00 04 02 08 18 00");
    bus().replies.clear();
    EXPECT_FALSE(change("BroadcastFrameRateEnabled", false));
    EXPECT_FALSE(now().broadcast_frame_rate); // stored before the refresh failed
    EXPECT_EQ(take_errors(), (Lines{"Fatal error, failed to get new capture mode"}));

    for (const std::string name : {"CamImageFreeze", "AdjustableZoomSpeedEnabled", "StatusUpdate", "ResponseProfile",
                                   "BroadcastFrameRateEnabled"}) {
        Life::run(driver);
        EXPECT_EQ(outcome(change(name.c_str(), 1)), refused("Faulty type of UserAdvanced parameter value for " + name));
        Life::stop(driver);
        EXPECT_TRUE(ptz_driver_canon_set_useradv(driver, name.c_str()));
    }
}

TEST_F(Params, WhatTheModelLacksIsNeitherOfferedNorApplied)
{
    framework().refuse_params = true;
    ptz_driver_canon_install_limits(driver);
    ptz_driver_canon_install_useradv(driver);
    const std::string advanced = "Installing UserAdvanced ", failed = "properties failed";
    EXPECT_EQ(take_errors(), (Lines{"Installing Limit " + failed, advanced + failed, advanced + failed,
                                    advanced + failed, advanced + failed, advanced + "Response Profile " + failed,
                                    advanced + "Broadcast Frame Rate " + failed}));
    framework().take();
    model.image_freeze_supported = model.response_profile_supported = model.capture_modes_integer = FALSE;
    ptz_driver_canon_install_useradv(driver);
    EXPECT_EQ(framework().take(),
              (Lines{"add_params UserAdv CamDeviceStatus CamLastTestDate DeviceModVer StatusUpdate",
                     "add_params UserAdv MoveSpeed", "add_params UserAdv AdjustableZoomSpeedEnabled"}));
    EXPECT_TRUE(change("ResponseProfile", 3));
    EXPECT_TRUE(change("CamImageFreeze", "on"));
}

TEST_F(Params, AreAppliedInOrderAndFailuresCounted)
{
    Life::stop(driver);
    bus().replies["Rotation"] = "(<180>,)";
    base()->backlight_mode = 1;
    framework().params = {{"CamImageFreeze", "on"},
                          {"ResponseProfile", "sport"},
                          {"MoveSpeed", 5},
                          {"Sharpness", 0},
                          {"StatusUpdate", false}};
    EXPECT_EQ(outcome(ptz_driver_canon_apply_params(driver)),
              "04 00 07 00 00 | 04 02 08 03 01 | 04 00 03 01 06 | 04 02 08 17 00 | 04 02 08 1D 00");
    EXPECT_EQ(now().image_freeze_mode, IMAGE_FREEZE_ON);
    EXPECT_FALSE(driver->status_update);
    EXPECT_NE(base()->speed, 5.0); // takes effect only when it changes

    EXPECT_EQ(errors_of_applying("(<90>,)", {}),
              (Lines{"Unsupported rotation mode", "Failed to send rotation commands."}));
    EXPECT_EQ(errors_of_applying("('?',)", {}), (Lines{"Could not get rotation."}));
    EXPECT_EQ(errors_of_applying("(<0>,)", {{"ResponseProfile", "slow"}}),
              (Lines{"Unsupported response profile: slow"}));
    EXPECT_EQ(errors_of_applying("(<0>,)", {{"Sharpness", 101}}), Lines{});
    framework().params = {};
    base()->backlight_mode = 0; // does not count
    EXPECT_TRUE(ptz_driver_canon_apply_params(driver));
}

TEST_F(Params, SpecialCommandsAreStoredAndSentAndAnythingElseIsRefused)
{
    set_capture_mode("1080p60");
    for (const char *text : {"WbOneP", "video_output|sdi", "scan_mode|interlaced", "sdi_mapping|level_b"})
        EXPECT_TRUE(run(text)) << text;
    EXPECT_EQ(port.take_payloads(),
              (Lines{"03 00 04 09", "04 02 08 17 01", "04 02 08 04 01 04 02 08 18 01", "04 02 08 1D 01"}));
    port.deaf = true;
    EXPECT_FALSE(run("video_output|hdmi"));
    EXPECT_STREQ(now().video_output, "hdmi"); // stored before it was sent
    const int attempts = port.attempts;
    for (const char *text :
         {"RESET", "reset ", "video_output|", "video_output|HDMI", "video_output|hdmi|x", "scan_mode|hdmi", "%s%n"})
        EXPECT_FALSE(run(text)) << text;
    EXPECT_FALSE(run(nullptr));
    model.video_output_selectable = FALSE;
    EXPECT_FALSE(run("video_output|sdi"));
    model.video_output_selectable = TRUE;
    EXPECT_EQ(port.attempts, attempts);

    const std::string all = "wbonep video_output|hdmi video_output|sdi scan_mode|progressive scan_mode|interlaced "
                            "sdi_mapping|level_a sdi_mapping|level_b reset ";
    for (const auto &[initialized, state, offered] : {std::tuple{true, 1, all}, {false, 4, ""}, {false, 7, all}}) {
        initialized ? Life::run(driver) : Life::stop(driver);
        base()->state = state;
        char **commands = nullptr;
        EXPECT_TRUE(ptz_driver_canon_op_get_special_commands(base(), &commands));
        std::string list;
        for (char **command = commands; command != nullptr && *command != nullptr; ++command)
            list += *command + std::string(" ");
        EXPECT_EQ(list, offered);
        g_strfreev(commands);
    }
}

TEST_F(Params, RotationSignalQueuesOneCommandPerChange)
{
    const auto signal = [this](const char *name, GVariant *parameters) {
        g_variant_ref_sink(parameters);
        ptz_driver_canon_op_signal_received(base(), name, parameters);
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
    Life::close(driver); // too late
    framework().run_tasks();
    EXPECT_TRUE(port.packets.empty());
}

} // namespace
