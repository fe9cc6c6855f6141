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
    EXPECT_FALSE(change("CamImageFreeze", "sometimes")); // refused without a word
    EXPECT_TRUE(change("AdjustableZoomSpeedEnabled", false));
    EXPECT_FALSE(now().adjustable_zoom_speed);
    EXPECT_TRUE(change("StatusUpdate", false));
    EXPECT_FALSE(driver->status_update);
    EXPECT_TRUE(change("MoveSpeed", 42));
    EXPECT_EQ(driver->parent_instance.speed, 42.0);
    EXPECT_TRUE(change("ResponseProfile", "sport"));
    EXPECT_EQ(now().response_profile, 1);
    EXPECT_TRUE(change("ResponseProfile", "stage"));
    EXPECT_EQ(now().response_profile, 0);
    EXPECT_TRUE(change("CamDeviceStatus", "text"));
    EXPECT_EQ(take_errors(), Lines{});
    EXPECT_FALSE(change("ResponseProfile", "Sport"));
    EXPECT_EQ(take_errors(), (Lines{"Unsupported response profile: Sport"}));
    EXPECT_TRUE(port.packets.empty());
}

TEST_F(UserAdv, BroadcastRatesTakeTheCaptureModeAnew)
{
    bus().replies["VideoCaptureMode"] = "(<'720p60'>,)";
    EXPECT_TRUE(change("BroadcastFrameRateEnabled", true));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 02 08 19 00", "04 02 08 04 00 04 02 08 18 00"}));
    bus().replies.clear();
    EXPECT_FALSE(change("BroadcastFrameRateEnabled", false));
    EXPECT_FALSE(now().broadcast_frame_rate); // stored before the refresh failed
    EXPECT_EQ(take_errors(), (Lines{"Fatal error, failed to get new capture mode"}));
}

TEST_F(UserAdv, WrongTypesAreRefusedOnceTheCameraRuns)
{
    for (const char *name : {"CamImageFreeze", "AdjustableZoomSpeedEnabled", "StatusUpdate", "ResponseProfile",
                             "BroadcastFrameRateEnabled"}) {
        EXPECT_FALSE(change(name, 1)) << name;
        EXPECT_EQ(take_errors(), Lines{std::string("Faulty type of UserAdvanced parameter value for ") + name});
        driver->driver_initialized = FALSE;
        EXPECT_TRUE(ptz_driver_canon_set_useradv(driver, name));
        driver->driver_initialized = TRUE;
    }
    EXPECT_FALSE(change("MoveSpeed", true));
    EXPECT_EQ(take_errors().size(), 1u);
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
    EXPECT_EQ(take_errors(),
              (Lines{"Installing UserAdvanced properties failed", "Installing UserAdvanced properties failed",
                     "Installing UserAdvanced properties failed", "Installing UserAdvanced properties failed",
                     "Installing UserAdvanced Response Profile properties failed",
                     "Installing UserAdvanced Broadcast Frame Rate properties failed"}));
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
    EXPECT_TRUE(ptz_driver_canon_apply_params(driver));
    EXPECT_EQ(port.take_payloads(),
              (Lines{"04 00 07 00 00", "04 02 08 03 01", "04 00 03 01 06", "04 02 08 17 00", "04 02 08 1D 00"}));
    EXPECT_EQ(driver->rotation, 180);
    EXPECT_EQ(now().image_freeze_mode, IMAGE_FREEZE_ON);
    EXPECT_EQ(now().response_profile, 1);
    EXPECT_FALSE(driver->status_update);
    EXPECT_NE(driver->parent_instance.speed, 5.0); // takes effect only when it changes
    EXPECT_EQ(take_errors(), Lines{});
}

TEST_F(ApplyAll, CountsWhatFailsAndGoesOn)
{
    bus().replies["Rotation"] = "(<90>,)";
    EXPECT_FALSE(ptz_driver_canon_apply_params(driver));
    EXPECT_EQ(driver->rotation, 0);
    EXPECT_EQ(take_errors(), (Lines{"Unsupported rotation mode", "Failed to send rotation commands."}));
    driver->parent_instance.backlight_mode = 0; // does not count
    bus().replies.erase("Rotation");
    EXPECT_FALSE(ptz_driver_canon_apply_params(driver));
    EXPECT_EQ(take_errors().front(), "Could not get rotation.");
    bus().replies["Rotation"] = "(<0>,)";
    framework().params = {{"ResponseProfile", "slow"}};
    EXPECT_FALSE(ptz_driver_canon_apply_params(driver));
    framework().params = {{"Sharpness", 101}};
    EXPECT_FALSE(ptz_driver_canon_apply_params(driver));
    framework().params = {};
    EXPECT_TRUE(ptz_driver_canon_apply_params(driver));
}

} // namespace
