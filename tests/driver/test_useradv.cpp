#include "driver/ptz_driver_canon_operations.h"
#include "driver/ptz_driver_canon_params.h"
#include "tests/cmd/command_bench.h"
#include "tests/support/bus_fake.h"

namespace {

class UserAdv : public CommandBench {
  protected:
    gboolean change(const char *name, std::variant<int, const char *, bool> value)
    {
        framework().params = {{name, value}};
        return ptz_driver_canon_op_useradv_changed(&driver->parent_instance, name);
    }
};

TEST_F(UserAdv, EachChangeHasItsEffect)
{
    EXPECT_TRUE(change("CamImageFreeze", "Auto"));
    EXPECT_EQ(now().image_freeze_mode, IMAGE_FREEZE_AUTO);
    EXPECT_EQ(outcome(change("CamImageFreeze", "sometimes")), "refused"); // without a word
    EXPECT_TRUE(change("AdjustableZoomSpeedEnabled", false));
    EXPECT_FALSE(now().adjustable_zoom_speed);
    EXPECT_TRUE(change("StatusUpdate", false));
    EXPECT_FALSE(driver->status_update);
    EXPECT_TRUE(change("MoveSpeed", 42));
    EXPECT_EQ(driver->parent_instance.speed, 42.0);
    for (const auto &[profile, number] : {std::pair{"sport", 1}, {"stage", 0}}) {
        EXPECT_TRUE(change("ResponseProfile", profile));
        EXPECT_EQ(now().response_profile, number);
    }
    EXPECT_EQ(outcome(change("CamDeviceStatus", "text")), "");
    EXPECT_EQ(outcome(change("ResponseProfile", "Sport")), refused("Unsupported response profile: Sport"));
}

TEST_F(UserAdv, BroadcastRatesTakeTheCaptureModeAnew)
{
    bus().replies["VideoCaptureMode"] = "(<'720p60'>,)";
    EXPECT_EQ(outcome(change("BroadcastFrameRateEnabled", true)), "04 02 08 19 00 | 04 02 08 04 00 04 02 08 18 00");
    bus().replies.clear();
    EXPECT_FALSE(change("BroadcastFrameRateEnabled", false));
    EXPECT_FALSE(now().broadcast_frame_rate); // stored before the refresh failed
    EXPECT_EQ(take_errors(), (Lines{"Fatal error, failed to get new capture mode"}));
}

TEST_F(UserAdv, WrongTypesAreRefusedOnceTheCameraRuns)
{
    for (const std::string name : {"CamImageFreeze", "AdjustableZoomSpeedEnabled", "StatusUpdate", "ResponseProfile",
                                   "BroadcastFrameRateEnabled"}) {
        EXPECT_EQ(outcome(change(name.c_str(), 1)), refused("Faulty type of UserAdvanced parameter value for " + name));
        driver->driver_initialized = FALSE;
        EXPECT_TRUE(ptz_driver_canon_set_useradv(driver, name.c_str()));
        driver->driver_initialized = TRUE;
    }
    EXPECT_FALSE(change("MoveSpeed", true));
}

TEST_F(UserAdv, WhatTheModelLacksIsNeitherOfferedNorApplied)
{
    const auto install = [this] {
        framework().take();
        ptz_driver_canon_install_useradv(driver);
        ptz_driver_canon_connect_imagesource(driver);
        return framework().take();
    };
    const std::string device = "add_params UserAdv CamDeviceStatus CamLastTestDate DeviceModVer StatusUpdate";
    const std::string images = "connect ImageSource Brightness .. IrCorrection, 62";
    EXPECT_EQ(install(), (Lines{device, "add_params UserAdv CamImageFreeze", "add_params UserAdv MoveSpeed",
                                "add_params UserAdv AdjustableZoomSpeedEnabled", "add_params UserAdv ResponseProfile",
                                "add_params UserAdv BroadcastFrameRateEnabled", images}));
    framework().refuse_params = true;
    install();
    Lines errors(4, "Installing UserAdvanced properties failed");
    errors.emplace_back("Installing UserAdvanced Response Profile properties failed");
    errors.emplace_back("Installing UserAdvanced Broadcast Frame Rate properties failed");
    EXPECT_EQ(take_errors(), errors);
    model.image_freeze_supported = model.response_profile_supported = model.capture_modes_integer = FALSE;
    EXPECT_EQ(install(),
              (Lines{device, "add_params UserAdv MoveSpeed", "add_params UserAdv AdjustableZoomSpeedEnabled", images}));
    EXPECT_TRUE(change("ResponseProfile", 3));
    EXPECT_TRUE(change("BroadcastFrameRateEnabled", 3));
}

// Everything that a camera block gets after it has started.
class ApplyAll : public CommandBench {
  protected:
    ApplyAll()
    {
        driver->driver_initialized = FALSE;
        framework().params = {{"CamImageFreeze", "on"},
                              {"ResponseProfile", "sport"},
                              {"MoveSpeed", 5},
                              {"Sharpness", 0},
                              {"StatusUpdate", false}};
    }
};

TEST_F(ApplyAll, SendsTheSettingsInOrderAndThoseThatFollow)
{
    bus().replies["Rotation"] = "(<180>,)";
    driver->parent_instance.backlight_mode = 1;
    EXPECT_EQ(outcome(ptz_driver_canon_apply_params(driver)),
              "04 00 07 00 00 | 04 02 08 03 01 | 04 00 03 01 06 | 04 02 08 17 00 | 04 02 08 1D 00");
    EXPECT_EQ(driver->rotation, 180);
    EXPECT_EQ(now().image_freeze_mode, IMAGE_FREEZE_ON);
    EXPECT_EQ(now().response_profile, 1);
    EXPECT_FALSE(driver->status_update);
    EXPECT_NE(driver->parent_instance.speed, 5.0); // takes effect only when it changes
}

TEST_F(ApplyAll, CountsWhatFailsAndGoesOn)
{
    const auto fails_with = [this](const char *rotation, const decltype(FrameworkBench::params) &params) {
        bus().replies = {{"Rotation", rotation}};
        framework().params = params;
        EXPECT_FALSE(ptz_driver_canon_apply_params(driver));
        return take_errors();
    };
    EXPECT_EQ(fails_with("(<90>,)", {}), (Lines{"Unsupported rotation mode", "Failed to send rotation commands."}));
    EXPECT_EQ(driver->rotation, 0);
    EXPECT_EQ(fails_with("('?',)", {}), (Lines{"Could not get rotation."}));
    EXPECT_EQ(fails_with("(<0>,)", {{"ResponseProfile", "slow"}}), (Lines{"Unsupported response profile: slow"}));
    EXPECT_EQ(fails_with("(<0>,)", {{"Sharpness", 101}}), Lines{});
    framework().params = {};
    driver->parent_instance.backlight_mode = 0; // does not count
    EXPECT_TRUE(ptz_driver_canon_apply_params(driver));
}

} // namespace
