// Nothing stands in the table of commands that no operation sends, and the simulated camera block, which has a table
// of its own, takes all of it.
#include "cmd/ptz_driver_canon_cmd_brightness.h"
#include "cmd/ptz_driver_canon_cmd_capture_mode.h"
#include "cmd/ptz_driver_canon_cmd_color.h"
#include "cmd/ptz_driver_canon_cmd_day_night.h"
#include "cmd/ptz_driver_canon_cmd_exposure.h"
#include "cmd/ptz_driver_canon_cmd_focus.h"
#include "cmd/ptz_driver_canon_cmd_move_focus.h"
#include "cmd/ptz_driver_canon_cmd_move_iris.h"
#include "cmd/ptz_driver_canon_cmd_move_pan_tilt.h"
#include "cmd/ptz_driver_canon_cmd_move_zoom.h"
#include "cmd/ptz_driver_canon_cmd_picture.h"
#include "cmd/ptz_driver_canon_cmd_stop.h"
#include "cmd/ptz_driver_canon_cmd_video.h"
#include "tests/scenario/board_fixture.h"
#include "vcc/vcc_rows.h"
#include "vcc/vccif_model.h"

namespace {

class CommandTable : public OnBoard {
  protected:
    void drive()
    {
        const PTZMotion both[] = {motion(1, 1), motion(2, 1), motion(2, 0)}, none{};
        const PTZSpeed speed{};
        for (const PTZMotion &way : both) {
            ptz_driver_canon_cmd_move_pan_tilt(driver, &way, &way, &speed, 0);
            ptz_driver_canon_cmd_move_pan_tilt(driver, &way, &none, &speed, 0);
            ptz_driver_canon_cmd_move_pan_tilt(driver, &none, &way, &speed, 0);
        }
        CameraModel by_position = *driver->cam_model;
        by_position.zoom_by_magnification = FALSE;
        for (const CameraModel *model : {driver->cam_model, const_cast<const CameraModel *>(&by_position)}) {
            driver->cam_model = model;
            ptz_driver_canon_cmd_zoom_absolute(driver, 5000);
            ptz_driver_canon_cmd_zoom_absolute(driver, 15000);
        }
        driver->cam_model = vccif_model_krx131();
        ptz_driver_canon_cmd_stop(driver);
        ptz_driver_canon_cmd_move_focus(driver, 1, 5000);
        ptz_driver_canon_cmd_move_focus(driver, 3, 50);
        ptz_driver_canon_cmd_move_brightness(driver, 1, 5000);
        ptz_driver_canon_cmd_move_iris(driver, 1, 5000);
    }

    void set_picture()
    {
        for (auto *scaled :
             {ptz_driver_canon_cmd_sharpness, ptz_driver_canon_cmd_defog_effect, ptz_driver_canon_cmd_brightness,
              ptz_driver_canon_cmd_color_level, ptz_driver_canon_cmd_white_balance_manual_gain_r,
              ptz_driver_canon_cmd_white_balance_manual_gain_b, ptz_driver_canon_cmd_ircut_thresholds,
              ptz_driver_canon_cmd_auto_ircut_filter_hysteresis, ptz_driver_canon_cmd_auto_ircut_filter_wait_time,
              ptz_driver_canon_cmd_exposure_response, ptz_driver_canon_cmd_manual_bright_level,
              ptz_driver_canon_cmd_focus_active_time, ptz_driver_canon_cmd_focus_interval_time})
            scaled(driver, 50);
        for (auto *switched : {ptz_driver_canon_cmd_wdr, ptz_driver_canon_cmd_image_stabilizer,
                               ptz_driver_canon_cmd_distortion_correction, ptz_driver_canon_cmd_defog,
                               ptz_driver_canon_cmd_ir_correction})
            switched(driver, "on");
        ptz_driver_canon_cmd_noise_reduction(driver, "on", 50);
        ptz_driver_canon_cmd_gamma(driver, "straight");
        ptz_driver_canon_cmd_color_hue(driver, "ColorHueRed", 50);
        ptz_driver_canon_cmd_chroma_suppress(driver, 1);
        ptz_driver_canon_cmd_white_balance(driver, "auto");
        ptz_driver_canon_cmd_white_balance_onepush(driver);
        ptz_driver_canon_cmd_ircut(driver, IR_CUT_DAY);
    }

    void set_exposure_and_focus()
    {
        ptz_driver_canon_cmd_exposure_mode(driver, "auto", nullptr);
        ptz_driver_canon_cmd_exposure_window(driver, "full");
        ptz_driver_canon_cmd_spot_exposure_position(driver, 50, 50);
        ptz_driver_canon_cmd_max_exposure_time(driver, "off", 0);
        ptz_driver_canon_cmd_max_gain(driver, "off", 50);
        ptz_driver_canon_cmd_auto_focus_limit(driver, 1);
        ptz_driver_canon_cmd_focus_auto_mode(driver, "zoom");
        ptz_driver_canon_cmd_auto_focus_sensitivity(driver, "low");
    }

    void set_video()
    {
        ptz_driver_canon_cmd_rotate(driver, 180);
        ptz_driver_canon_cmd_video_mode(driver, "1080p60", "progressive");
        ptz_driver_canon_cmd_video_output(driver, "sdi");
        ptz_driver_canon_cmd_sdi_mapping_mode(driver, "level_b");
        ptz_driver_canon_cmd_halt_sensor(driver, TRUE);
        ptz_driver_canon_cmd_halt_sensor(driver, FALSE);
    }

    // To the other frequency, by a restart of the camera block's own.
    void change_over()
    {
        CameraModel with_reset = *driver->cam_model;
        with_reset.sw_reset_supported = TRUE;
        driver->cam_model = &with_reset;
        gboolean restart_required = FALSE;
        EXPECT_TRUE(ptz_driver_canon_cmd_capture_mode(driver, "1080p50", FALSE, TRUE, &restart_required));
        driver->cam_model = vccif_model_krx131();
    }
};

TEST_F(CommandTable, EveryRowIsSentAndTaken)
{
    open();
    log.take();
    driver->limit_max_zoom = 19999;
    drive();
    set_picture();
    set_exposure_and_focus();
    set_video();
    change_over();
    EXPECT_EQ(board.offences(), sim::Counts{});
    const sim::Counts seen = board.records();
    // The simulator knows the reset and the halt of the sensor as one command.
    const auto name_on_board = [](const VccRowInfo &row) {
        const std::string name = row.name;
        return name == kSoftwareReset.name || name == kImageSensorHalt.name ? "System" : name;
    };
    for (const VccRowInfo &row : vcc_rows())
        EXPECT_TRUE(seen.contains(name_on_board(row))) << row.name;
    EXPECT_EQ(log.take(), Lines{});
}

} // namespace
