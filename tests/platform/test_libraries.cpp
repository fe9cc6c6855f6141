// The libraries that a driver merely calls: what comes back out of them.
#include "block_defaults/block_defaults.h"
#include "image_source_control/image_source_control.h"
#include "image_source_control/image_source_control_read.h"
#include "ptzmath/ptzmath.h"
#include "ptzorvel/driver/data_caches.h"
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/driver/temperature_watch.h"
#include "status_cache/status_cache_read.h"
#include "tests/platform/bus_fixture.h"
#include "tests/support/temp_folder.h"

#include <gmock/gmock.h>

namespace {

TEST(PtzMath, FieldsOfViewFollowTheTangentOfTheHalfAngle)
{
    float hfov = 0.0f, vfov = 0.0f;
    ptzmath_get_zoom_fov(2.0f, 90.0f, 16.0f / 9.0f, &hfov, &vfov);
    EXPECT_NEAR(hfov, 53.1301f, 1e-3f);
    EXPECT_NEAR(vfov, 31.4172f, 1e-3f);
}

TEST(StatusReport, FillsTheRecordsThatThereAreAndTheCacheCopiesThemByTheirTypes)
{
    auto *driver = PTZ_DRIVER(g_object_new(PTZ_TYPE_DRIVER, nullptr));
    const PTZDriverClass *klass = PTZ_DRIVER_GET_CLASS(driver);
    ScParam spare[PTZ_STATUS_SPARE_RECORDS] = {};
    klass->prepare_move(driver);
    for (const int room : {2, 13})
        EXPECT_EQ(klass->report_status_params(driver, 0, 1, -1, 0, 0, 0, 1, 0, 1, room, spare), room);
    float pan = -12.5f;
    const ScParam wide{"WIDE", 8, &pan, SC_TYPE_REAL}, odd{"ODD", 4, &pan, 7}, real{"PAN", 4, &pan, SC_TYPE_REAL};
    const ScParam *list[] = {&spare[0], &spare[1], &spare[3], &spare[4], &spare[12], &wide, &odd, &real, nullptr};
    EXPECT_EQ(sc_set_group("G", list, 0), 6);
    pan = 0.0f;
    EXPECT_EQ(print(status_cache_snapshot()), "{'G': {'PTZ_STATE': <0>, 'PTZ_MOVING': <1>, 'TILT_MOVING': <1>, "
                                              "'ZOOM_MOVING': <-1>, 'MOVE_COUNT': <1>, 'PAN': <-12.5>}}");
    const char moved[] = "TILT_MOVING"; // the same key, written elsewhere
    const ScParam tilt{moved, 4, &pan, SC_TYPE_REAL};
    const ScParam *turned[] = {&real, &tilt, &spare[1], nullptr};
    EXPECT_EQ(sc_set_group("G", turned, 0), 3);
    EXPECT_EQ(print(status_cache_snapshot()), "{'G': {'PTZ_STATE': <0>, 'PTZ_MOVING': <1>, 'TILT_MOVING': <0.0>, "
                                              "'ZOOM_MOVING': <-1>, 'MOVE_COUNT': <1>, 'PAN': <0.0>}}");
    EXPECT_LT(sc_set_group("", list, 0), 0);
    status_cache_clear();
    g_object_unref(driver);
}

TEST(DataCaches, OnlyOpenCachesTakeValuesAndSayWhetherTheyAreNew)
{
    guint32 results[] = {9, 9, 9, 9};
    ptz_driver_position_datacache_update(36100, 36000, 36000, 36000, &results[0]);
    ASSERT_EQ(ptz_driver_position_datacache_init(nullptr), 0);
    for (const int i : {1, 2, 3})
        ptz_driver_position_datacache_update(36100, i < 3 ? 36000 : 35999, 36000, 36000, &results[i]);
    EXPECT_THAT(results, testing::ElementsAre(0, 1, 0, 1));
    EXPECT_THAT(print(ptz_data_caches_snapshot()),
                testing::HasSubstr("'position': {'open': <true>, 'pan': <36100>, 'tilt': <3"));
    ptz_driver_position_datacache_close(nullptr);
}

TEST(ImageSourceControl, RemembersWhatThePictureDoesAndRefusesWithoutAHandle)
{
    const TempFolder board("PTZ_BOARD");
    ImageSourceControl *control = image_source_control_init();
    EXPECT_EQ(board.read("picture"), "blanked=0 frozen=0\n");
    gboolean blanked = FALSE, frozen = TRUE;
    EXPECT_TRUE(image_source_control_set_no_video(control, TRUE) && image_source_control_freeze_video(control, FALSE));
    EXPECT_FALSE(image_source_control_set_no_video(nullptr, FALSE));
    image_source_control_read(&blanked, &frozen);
    EXPECT_TRUE(blanked && !frozen);
    EXPECT_EQ(board.read("picture"), "blanked=1 frozen=0\n");
    image_source_control_free(control);
    EXPECT_EQ(image_source_control_handles(), 0);
}

TEST(BlockDefaults, AreThoseOfTheBlockAndItsVersionOrNone)
{
    const TempFolder folder("PTZ_DATA_DIR");
    EXPECT_EQ(block_defaults_init("KRX_camblock", "1.00"), nullptr); // no file
    folder.write("block_defaults.conf", "[KRX_camblock]\nVersion=1.00\nModel=KRX131\n");
    BlockDefaults *defaults = block_defaults_init("KRX_camblock", "1.00");
    BlockDefaultsRecord *model = block_defaults_get_block_model(defaults);
    EXPECT_EQ(std::string(model->text, model->size), "KRX131");
    block_defaults_free(model);
    EXPECT_EQ(block_defaults_get_capture_mode(defaults), nullptr);
    EXPECT_EQ(block_defaults_init("KRX_camblock", "1.01"), nullptr);
}

TEST(TemperatureWatch, HasHysteresisAndNoRegardToASpoiltSensor)
{
    const TempFolder folder("PTZ_BOARD");
    TemperatureWatch watch;
    watch.add(0, PTZ_TRIGGER_UPPER, 60.0, 1.0);
    watch.add(0, PTZ_TRIGGER_LOWER, -10.0, 0.5);
    constexpr int below = PTZ_TEMPERATURE_BELOW, fine = PTZ_TEMPERATURE_IN_RANGE, above = PTZ_TEMPERATURE_ABOVE;
    const std::pair<const char *, int> seconds[] = {
        {"", fine},      {"99000x\n", fine}, {"60000\n", fine}, {"60100\n", above}, {"59100\n", above}, {"", above},
        {"59000", fine}, {"-10000\n", fine}, {"-10100", below}, {"-9600\n", below}, {"-9500\n", fine},
    };
    for (const auto &[text, expected] : seconds) {
        folder.write("thermal_zone0/temp", text);
        EXPECT_EQ(watch.measure([](int) { return ptz_camera_temperature(); }), expected) << text;
    }
}

} // namespace
