// Nothing stands in the table of commands that no operation sends, and the simulated camera block, which has a table
// of its own, takes all of it.
#include "cmd/capture_mode.h"
#include "cmd/colour.h"
#include "cmd/day_night.h"
#include "cmd/move_focus.h"
#include "cmd/move_zoom.h"
#include "cmd/picture.h"
#include "cmd/sensor_halt.h"
#include "cmd/video.h"
#include "tests/scenario/board_fixture.h"
#include "vcc/model.h"
#include "vcc/rows.h"

namespace {

TEST_F(OnBoard, EveryRowIsSentAndTaken)
{
    open(); // which sends what most parameters say
    driver->limit_max_zoom = 19999;
    CameraModel odd = *driver->cam_model; // what the one model there is does not use
    odd.zoom_by_magnification = FALSE;
    odd.sw_reset_supported = TRUE;
    for (const CameraModel *model : {driver->cam_model, const_cast<const CameraModel *>(&odd)}) {
        driver->cam_model = model;
        ptz_driver_canon_cmd_zoom_absolute(driver, 5000);
        ptz_driver_canon_cmd_zoom_absolute(driver, 15000);
    }
    for (const PTZMotion &way : {motion(1, 1), motion(2, 1), motion(2, 0)}) {
        move(way, way);
        move(way);
        move({}, way);
    }
    ptz_driver_canon_cmd_move_focus(driver, 1, 5000);
    ptz_driver_canon_cmd_move_focus(driver, 3, 50);
    for (auto *switched : {ptz_driver_canon_cmd_image_stabilizer, ptz_driver_canon_cmd_distortion_correction})
        switched(driver, "on");
    ptz_driver_canon_cmd_auto_ircut_filter_wait_time(driver, 50);
    ptz_driver_canon_cmd_white_balance_onepush(driver);
    ptz_driver_canon_cmd_ircut(driver, IR_CUT_DAY);
    gboolean restart_required = FALSE; // to the other frequency, by a restart of the camera block's own
    EXPECT_TRUE(ptz_driver_canon_cmd_capture_mode(driver, "1080p50", FALSE, TRUE, &restart_required));
    ptz_driver_canon_cmd_halt_sensor(driver, TRUE);

    EXPECT_EQ(board.offences(), sim::Counts{});
    const sim::Counts seen = board.records();
    // The simulator knows the reset and the halt of the sensor as one command.
    const auto name_on_board = [](const VccRowInfo &row) {
        const std::string name = row.name;
        return name == ROW_SOFTWARE_RESET.name || name == ROW_IMAGE_SENSOR_HALT.name ? "System" : name;
    };
    for (const VccRowInfo &row : vcc_rows())
        EXPECT_TRUE(seen.contains(name_on_board(row))) << row.name;
}

} // namespace
