// Moving and stopping.
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/ptzd/calls.h"

#include <cmath>

namespace {

CallError failed(const char *what)
{
    return {ErrorKind::failed, std::string("The camera did not ") + what + "; see the system log."};
}

std::optional<CallError> carry_out(PTZDriver *driver, const MoveRequest &move)
{
    if (!driver_replaces(driver, &PTZDriverClass::move))
        return not_supported("move");
    PTZRequest request{};
    request.words[PTZ_REQUEST_PRESET_WORD] = move.preset ? 1 : 0;
    ptz_driver_set_request(driver, &request);
    driver->zoom_requested = move.axes[AXIS_ZOOM].type != PTZ_MOVE_NONE;
    const PTZSpeed speed = move.speed.value_or(PTZSpeed{to_fixed(driver->speed), {}});
    const auto &axes = move.axes;
    const bool moved = PTZ_DRIVER_GET_CLASS(driver)->move(driver, &axes[AXIS_PAN], &axes[AXIS_TILT], &axes[AXIS_ZOOM],
                                                          &axes[AXIS_IRIS], &axes[AXIS_FOCUS], &axes[AXIS_BRIGHTNESS],
                                                          &speed) != FALSE;
    return moved ? std::nullopt : std::optional(failed("move"));
}

} // namespace

void call_move(PtzService &service, const CallPtr &call)
{
    MoveRequest move;
    if (const auto error = parse_move(call->parameters(), move)) {
        call->refuse(*error);
        return;
    }
    const unsigned stops = call->stops_before();
    // Goes with the work: a move that is refused on the way is given up.
    const auto claim = std::make_shared<MoveClaim>(service.move_owners(), call->sender(), move);
    service.run(call, PtzService::Gate::running, [&service, move, stops, claim](PTZDriver *driver, Call &answered) {
        std::optional<CallError> error;
        if (service.stops() != stops)
            error = CallError{ErrorKind::cancelled, "A stop came in before this move began; send it again if it is "
                                                    "still wanted."};
        else
            error = carry_out(driver, move);
        if (error) {
            answered.refuse(*error);
            return;
        }
        claim->keep();
        answered.answer();
    });
}

void call_stop(PtzService &service, const CallPtr &call)
{
    const unsigned up_to = service.move_owners().latest();
    service.run_stop(call, [&service, up_to](PTZDriver *driver, Call &answered) {
        ptz_driver_set_request(driver, nullptr);
        if (!driver_replaces(driver, &PTZDriverClass::stop)) {
            answered.refuse(not_supported("stop"));
        } else if (PTZ_DRIVER_GET_CLASS(driver)->stop(driver)) {
            service.move_owners().stopped(up_to);
            answered.answer();
        } else {
            answered.refuse(failed("take the stop"));
        }
    });
}

void call_angle_to_zoom(PtzService &service, const CallPtr &call)
{
    double angle = 0.0;
    double scale = 0.0;
    g_variant_get(call->parameters(), "(dd)", &angle, &scale);
    // Below 0.001 degrees an angle is nothing in the driver's numbers.
    auto error = check_number("angle", angle, 0.001, 180.0, " degrees");
    if (!error)
        error = check_number("scale_percent", scale, 1.0, 1000.0, " percent");
    if (!error && scale != std::floor(scale))
        error = CallError{ErrorKind::invalid_argument, "scale_percent: give a whole number."};
    if (error) {
        call->refuse(*error);
        return;
    }
    service.run(call, PtzService::Gate::running, [angle, scale](PTZDriver *driver, Call &answered) {
        gint32 zoom = 0;
        if (!driver_replaces(driver, &PTZDriverClass::angle_to_zoom))
            answered.refuse(not_supported("turn angles into zoom positions"));
        else if (PTZ_DRIVER_GET_CLASS(driver)->angle_to_zoom(driver, to_fixed(angle), static_cast<gint32>(scale),
                                                             &zoom))
            answered.answer(g_variant_new("(d)", from_fixed(zoom)));
        else
            answered.refuse(failed("find a zoom position"));
    });
}
