// The libraries that a driver merely calls: what comes back out of them.
#include "block_defaults/block_defaults.h"
#include "image_source_control/image_source_control.h"
#include "image_source_control/image_source_control_read.h"
#include "ptzmath/ptzmath.h"
#include "ptzorvel/driver/data_caches.h"
#include "ptzorvel/driver/driver_private.h"
#include "status_cache/status_cache_read.h"
#include "tests/platform/bus_fixture.h"
#include "tests/support/temp_folder.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

TEST(PtzMath, FieldsOfViewFollowTheTangentOfTheHalfAngle)
{
    float hfov = 0.0f, vfov = 0.0f;
    ptzmath_get_zoom_fov(1.0f, 90.0f, 16.0f / 9.0f, &hfov, &vfov);
    EXPECT_NEAR(hfov, 90.0f, 1e-4f);
    EXPECT_NEAR(vfov, 58.7155f, 1e-3f);
    ptzmath_get_zoom_fov(2.0f, 90.0f, 1.0f, &hfov, nullptr);
    EXPECT_NEAR(hfov, 53.1301f, 1e-3f);
}

TEST(StatusCache, CopiesValuesDuringTheCallAndCountsThem)
{
    gint32 zoom = 5;
    float pan = -12.5f;
    const ScParam records[] = {{"ZOOM", 4, &zoom, SC_TYPE_INTEGER},
                               {"PAN", 4, &pan, SC_TYPE_REAL},
                               {"WIDE", 8, &pan, SC_TYPE_REAL},
                               {"ODD", 4, &pan, 7},
                               {nullptr, 4, &pan, SC_TYPE_REAL}};
    const ScParam *list[] = {&records[0], &records[1], &records[2], &records[3], &records[4], nullptr};
    for (zoom = 5; zoom < 7; zoom++)
        EXPECT_EQ(sc_set_group("POSITION", list, 0), 2);
    EXPECT_EQ(print(status_cache_snapshot()), "{'POSITION': {'ZOOM': <6>, 'PAN': <-12.5>}}");
    EXPECT_LT(sc_set_group("", list, 0), 0);
    EXPECT_LT(sc_set_group(nullptr, list, 0), 0);
    EXPECT_LT(sc_set_group("POSITION", nullptr, 0), 0);
    status_cache_clear();
}

TEST(StatusReport, FillsAsManyRecordsAsThereIsRoomForFromStableStorage)
{
    auto *driver = PTZ_DRIVER(g_object_new(PTZ_TYPE_DRIVER, nullptr));
    const PTZDriverClass *klass = PTZ_DRIVER_GET_CLASS(driver);
    ScParam spare[PTZ_STATUS_SPARE_RECORDS] = {};
    klass->prepare_move(driver);
    EXPECT_EQ(klass->report_status_params(driver, 0, 1, -1, 0, 0, 0, 1, 0, 1, 13, spare), 13);
    const ScParam *list[] = {&spare[0], &spare[1], &spare[3], &spare[4], &spare[8], &spare[12], nullptr};
    EXPECT_EQ(sc_set_group("G", list, 0), 6);
    EXPECT_EQ(print(status_cache_snapshot()), "{'G': {'PTZ_STATE': <0>, 'PTZ_MOVING': <1>, 'TILT_MOVING': <1>, "
                                              "'ZOOM_MOVING': <-1>, 'POSITION_CHANGED': <1>, 'MOVE_COUNT': <1>}}");
    const void *first = spare[0].value;
    EXPECT_EQ(klass->report_status_params(driver, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, spare), 2);
    EXPECT_EQ(spare[0].value, first);
    EXPECT_EQ(klass->report_status_params(driver, 0, 0, 0, 0, 0, 0, 0, 0, 1, -1, spare), 0);
    status_cache_clear();
    g_object_unref(driver);
}

TEST(DataCaches, OnlyOpenCachesTakeValuesAndSayWhetherTheyAreNew)
{
    const auto update = [](gint32 tilt) {
        guint32 result = 9;
        ptz_driver_position_datacache_update(36100, tilt, 36000, 36000, &result);
        return result;
    };
    EXPECT_EQ(update(36000), 0u);
    ASSERT_EQ(ptz_driver_position_datacache_init(nullptr), 0);
    for (const gint32 tilt : {36000, 35999})
        EXPECT_EQ(update(tilt) * 10 + update(tilt), 10u);
    EXPECT_THAT(print(ptz_data_caches_snapshot()),
                HasSubstr("'position': {'open': <true>, 'pan': <36100>, 'tilt': <35999>, 'pan_offset': <36000>, "
                          "'tilt_offset': <36000>}"));
    for (int times = 0; times < 2; times++)
        ptz_driver_position_datacache_close(nullptr);
    EXPECT_THAT(print(ptz_data_caches_snapshot()), HasSubstr("'position': {'open': <false>}"));
}

TEST(ImageSourceControl, RemembersWhatThePictureDoesAndRefusesWithoutAHandle)
{
    ImageSourceControl *control = image_source_control_init();
    gboolean blanked = FALSE, frozen = TRUE;
    EXPECT_TRUE(image_source_control_set_no_video(control, TRUE));
    EXPECT_TRUE(image_source_control_freeze_video(control, TRUE));
    EXPECT_TRUE(image_source_control_freeze_video(control, FALSE));
    EXPECT_FALSE(image_source_control_set_no_video(nullptr, FALSE));
    image_source_control_read(&blanked, &frozen);
    EXPECT_TRUE(blanked && !frozen);
    image_source_control_free(control);
    image_source_control_free(nullptr);
    EXPECT_EQ(image_source_control_handles(), 0);
}

TEST(BlockDefaults, AreThoseOfTheBlockAndItsVersionOrNone)
{
    const TempFolder folder("PTZ_DATA_DIR");
    EXPECT_EQ(block_defaults_init("KRX_camblock", "1.00"), nullptr); // no file
    folder.write("block_defaults.conf", "[KRX_camblock]\nVersion=1.00\nModel=KRX131\n");
    BlockDefaults *defaults = block_defaults_init("KRX_camblock", "1.00");
    BlockDefaultsRecord *model = block_defaults_get_block_model(defaults);
    ASSERT_NE(model, nullptr);
    EXPECT_STREQ(model->text, "KRX131");
    EXPECT_EQ(model->size, 6u);
    block_defaults_free(model);
    EXPECT_EQ(block_defaults_get_capture_mode(defaults), nullptr);
    block_defaults_free(nullptr);
    EXPECT_EQ(block_defaults_init("KRX_camblock", "1.01"), nullptr);
    EXPECT_EQ(block_defaults_init("OTHER", "1.00"), nullptr);
    folder.write("block_defaults.conf", "Version=1.00\n"); // malformed
    EXPECT_EQ(block_defaults_init("KRX_camblock", "1.00"), nullptr);
}

} // namespace
