#include "ptzorvel/driver/driver_private.h"

#include <algorithm>
#include <utility>

namespace {

// What the framework adds to the driver's own status, in this order.
constexpr const char *kReportKeys[] = {"PTZ_STATE",        "PTZ_MOVING",    "PAN_MOVING",  "TILT_MOVING",
                                       "ZOOM_MOVING",      "FOCUS_MOVING",  "IRIS_MOVING", "BRIGHTNESS_MOVING",
                                       "POSITION_CHANGED", "SPEED_CHANGED", "IRIS_MODE",   "FOCUS_MODE",
                                       "MOVE_COUNT"};
constexpr int kReportCount = static_cast<int>(std::size(kReportKeys));
static_assert(kReportCount <= PTZ_STATUS_SPARE_RECORDS);

} // namespace

// Called under the driver's status lock: neither this nor who hears of the axes calls the driver.
int driver_report_status(PTZDriver *driver, int pan_moving, int tilt_moving, int zoom_moving, int focus_moving,
                         int iris_moving, int brightness_moving, guint32 position_result, guint32 speed_result, int,
                         int max, ScParam *spare)
{
    // As a move names them.
    const int moving[] = {pan_moving, tilt_moving, zoom_moving, iris_moving, focus_moving, brightness_moving};
    unsigned mask = 0;
    for (unsigned axis = 0; axis < std::size(moving); axis++)
        mask |= moving[axis] > 0 ? 1u << axis : 0u;
    auto &[params, names, controller, request, report, moves, moving_axes] = driver_private(driver);
    report = {driver->state,
              mask != 0,
              pan_moving,
              tilt_moving,
              zoom_moving,
              focus_moving,
              iris_moving,
              brightness_moving,
              static_cast<gint32>(position_result),
              static_cast<gint32>(speed_result),
              driver->iris_mode,
              driver->focus_mode,
              moves};
    if (std::exchange(moving_axes, mask) != mask)
        driver_emit_moving(driver, mask);
    if (spare == nullptr)
        return 0;
    const int count = std::clamp(max, 0, kReportCount);
    for (int i = 0; i < count; i++)
        spare[i] = {kReportKeys[i], 4, &report[static_cast<std::size_t>(i)], SC_TYPE_INTEGER};
    return count;
}
