#include "ptzorvel/ptzd/move_operation.h"

#include "ptzorvel/driver/driver_private.h"

namespace {

bool call_driver(PTZDriver *driver, const MoveRequest &move)
{
    driver->zoom_requested = move.axes[AXIS_ZOOM].type != PTZ_MOVE_NONE;
    const PTZSpeed speed = move.speed.value_or(PTZSpeed{to_fixed(driver->speed), {}});
    const auto &axes = move.axes;
    return PTZ_DRIVER_GET_CLASS(driver)->move(driver, &axes[AXIS_PAN], &axes[AXIS_TILT], &axes[AXIS_ZOOM],
                                              &axes[AXIS_IRIS], &axes[AXIS_FOCUS], &axes[AXIS_BRIGHTNESS],
                                              &speed) != FALSE;
}

} // namespace

bool drive_axes(PTZDriver *driver, const DriverHost &host, const MoveRequest &move)
{
    PTZRequest request{};
    request.words[PTZ_REQUEST_PRESET_WORD] = move.preset ? 1 : 0;
    ptz_driver_set_request(driver, &request);
    const unsigned failed = host.sends_failed();
    MoveRequest first = move;
    MoveRequest tilt = move;
    // A driver takes pan and tilt together by one type only.
    const bool apart = move.axes[AXIS_PAN].type != PTZ_MOVE_NONE && move.axes[AXIS_TILT].type != PTZ_MOVE_NONE &&
                       move.axes[AXIS_PAN].type != move.axes[AXIS_TILT].type;
    if (apart) {
        first.axes[AXIS_TILT] = {};
        tilt.axes = {};
        tilt.axes[AXIS_TILT] = move.axes[AXIS_TILT];
    }
    const bool moved = call_driver(driver, first) && (!apart || call_driver(driver, tilt));
    return moved && host.sends_failed() == failed;
}

bool stop_axes(PTZDriver *driver, const DriverHost &host, AxisMask axes)
{
    bool stopped = true;
    if ((axes & kStoppedAxes) == kStoppedAxes) {
        ptz_driver_set_request(driver, nullptr);
        stopped = PTZ_DRIVER_GET_CLASS(driver)->stop(driver) != FALSE;
        axes &= ~kStoppedAxes;
    }
    MoveRequest rest;
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if ((axes & axis_bit(axis)) != 0)
            rest.axes[axis].type = PTZ_MOVE_CONTINUOUS; // at speed 0
    return (axes == 0 || drive_axes(driver, host, rest)) && stopped;
}
