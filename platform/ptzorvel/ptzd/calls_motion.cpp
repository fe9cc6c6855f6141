// Moving and stopping.
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/ptzd/calls.h"
#include "ptzorvel/ptzd/move_operation.h"

#include <cmath>

namespace {

CallError failed(const char *what)
{
    return {ErrorKind::failed, std::string("The camera did not ") + what + "; see the system log."};
}

// Sends a move that has had its turn. What became of it, when it did not begin.
std::optional<CallError> carry_out(PtzService &service, PTZDriver *driver, const MoveRequest &move, unsigned stops,
                                   Motion::Ticket &ticket)
{
    if (!driver_replaces(driver, &PTZDriverClass::move))
        return not_supported("move");
    Motion &motion = service.motion();
    const AxisWays ways = axis_ways(service.params().get());
    const MotionLook from = motion.begin_operation();
    const bool taken = drive_axes(driver, service.host(), within_limits(ways, from.positions, move));
    if (taken) {
        motion.begin(ticket, move, ways, from);
        // A stop that came in while it was sent is the newer one.
        if (!service.stopper().give_way(move.requested(), stops))
            motion.stop();
    }
    motion.end_operation();
    if (taken)
        return std::nullopt;
    ticket.end = MoveEnd::not_taken;
    // Nor is what may have got through a move to a preset: the picture is not frozen for it.
    ptz_driver_set_request(driver, nullptr);
    // The block may have taken more than it answered: nothing runs on that nobody knows of.
    if (move.running() != 0)
        service.stopper().stop_axes(move.running());
    return failed("take the move");
}

} // namespace

void call_move(PtzService &service, const CallPtr &call)
{
    MoveRequest move;
    if (const auto error = parse_move(call->parameters(), move))
        call->refuse(*error);
    else
        move_camera(service, call, move, {});
}

void move_camera(PtzService &service, const CallPtr &call, const MoveRequest &move, const BeforeMove &before)
{
    if (const auto error = check_limits(axis_ways(service.params().get()), move)) {
        call->refuse(*error);
        return;
    }
    const unsigned stops = call->stops_before();
    // Both go with the work: a move that is refused on the way is given up.
    const auto claim = std::make_shared<MoveClaim>(service.move_owners(), call->sender(), move);
    const auto ticket = service.motion().accept(move);
    service.run(call, PtzService::Gate::running,
                [&service, move, before, stops, claim, ticket](PTZDriver *driver, Call &answered) {
                    std::optional<CallError> refusal;
                    if (before && service.stops() == stops) {
                        ticket->end = MoveEnd::not_taken;
                        refusal = before(driver);
                    }
                    if (!refusal && service.stops() != stops) {
                        ticket->end = MoveEnd::stopped;
                        refusal = CallError{ErrorKind::cancelled, "A stop came in before this move began; send it "
                                                                  "again if it is still wanted."};
                    } else if (!refusal) {
                        refusal = carry_out(service, driver, move, stops, *ticket);
                    }
                    service.modes().look(driver);
                    if (refusal) {
                        answered.refuse(*refusal);
                        return;
                    }
                    claim->keep();
                    answered.answer();
                });
}

void call_stop(PtzService &service, const CallPtr &call)
{
    service.stop(call);
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
