// The arguments of a move from the bus, in GVariant's text form.
#include "ptzorvel/ptzd/move_request.h"

#include "fuzz/target.h"

namespace {

struct Ends {
    int absolute[2], relative[2];
};
constexpr Ends ENDS[AXIS_COUNT] = {{{-170, 170}, {-340, 340}},    {{-20, 90}, {-110, 110}},
                                   {{1, 19999}, {-19998, 19998}}, {{1, 9999}, {-9998, 9998}},
                                   {{1, 9999}, {-9998, 9998}},    {{1, 9999}, {-9998, 9998}}};

bool within(gint32 fixed, int low, int high)
{
    return fixed >= low * 65536 && fixed <= high * 65536;
}

void check_axis(std::size_t index, const PTZMotion &motion)
{
    const Ends &ends = ENDS[index];
    HOLDS(motion.type != PTZ_MOVE_ABSOLUTE || within(motion.value, ends.absolute[0], ends.absolute[1]));
    HOLDS(motion.type != PTZ_MOVE_RELATIVE || within(motion.value, ends.relative[0], ends.relative[1]));
    HOLDS(motion.type != PTZ_MOVE_CONTINUOUS || within(motion.value, -100, 100));
    HOLDS(index < AXIS_ZOOM || motion.type == PTZ_MOVE_CONTINUOUS || motion.value % 65536 == 0);
}

} // namespace

FUZZ_TARGET(move_values)
{
    const GVariantOwned arguments = fuzz::variant("(a(ssd)da{sv})", fuzz::text(input));
    if (!arguments)
        return;
    MoveRequest request;
    if (const auto error = parse_move(arguments.get(), request)) {
        HOLDS(g_utf8_validate(error->text.c_str(), -1, nullptr)); // it goes back over the bus
        return;
    }
    HOLDS(request.requested() != 0 && (request.running() & ~request.requested()) == 0);
    HOLDS(!request.speed || within(request.speed->value, 0, 100));
    for (std::size_t i = 0; i < AXIS_COUNT; i++)
        check_axis(i, request.axes[i]);
}
