// The objects that the simulator shows on the bus.
#pragma once

#include "sim/board.h"

#include <array>
#include <gio/gio.h>

namespace sim {

struct Face {
    const char *name;
    const char *path;
    const char *xml;
    Fault fault; // spoils its properties; Fault::count: nothing does
    // The value of one of its properties, floating.
    GVariant *(*get)(const Board &board, std::string_view property);
};

enum class FaceId : std::uint8_t { krx_sim, image_control, streamer };
extern const std::array<Face, 3> kFaces;

} // namespace sim
