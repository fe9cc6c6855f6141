// One cell of the campaign: a fault in a phase of the camera's life, and what has to hold during and after it.
#pragma once

#include "tests/campaign/classes.h"
#include "tests/campaign/rig.h"

#include <cstdint>
#include <string>

struct Outcome {
    std::string wrong;   // what did not hold; empty: all did
    double told = -1;    // camera seconds until ptzd told of it; -1: it had nothing to tell
    double back = -1;    // camera seconds from the fault's end until the next move had arrived
    bool met = false;    // whether the fault found an occasion
    double answered = 0; // the slowest GetState or GetStatus, seconds on the wall
};

// Runs the cell; the rig is fit for the next one when nothing was wrong.
Outcome try_cell(Rig &rig, const Cell &cell, std::uint64_t seed);
