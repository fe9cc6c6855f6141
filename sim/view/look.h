// Everything that the picture depends on, read off the board. Two equal looks are one picture.
#pragma once

#include "sim/board.h"

#include <array>

namespace sim::view {

// What the host's image pipeline does to the video, as it wrote it to the board's folder.
struct Pipeline {
    bool blanked = false;
    bool frozen = false;
    bool operator==(const Pipeline &) const = default;
};

struct Look {
    bool video = false;  // false: black
    bool frozen = false; // the last picture stays

    // Where it looks; degrees.
    double pan = 0;
    double tilt = 0;
    double roll = 0;
    double magnification = 1;
    double barrel = 0; // how far the picture's edge is drawn in, as a share of its half width

    double defocus = 0; // radius of a point, pixels
    double sharpen = 0; // 0 to 1
    double noise = 0;   // standard deviation, of 255

    // Brightness and colour.
    double scene_light = 7; // stops, in quarters
    double exposure = 0;    // stops above what suits the light
    double red = 1;         // white balance
    double blue = 1;
    double defog = 0; // 0 to 1
    bool wide_range = false;
    bool straight_gamma = false;
    bool grey = false;
    double chroma = 1; // what suppression leaves
    std::array<Colouring, kColourings> colours{};

    bool operator==(const Look &) const = default;
};

Look look_of(const Snapshot &board, const Pipeline &pipeline);

// Half of the field of view's width and of its height, in degrees.
double half_width(double magnification);
double half_height(double magnification);

} // namespace sim::view
