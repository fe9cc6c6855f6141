// What the page shows beside the picture, as JSON.
#pragma once

#include "sim/board.h"
#include "sim/view/look.h"

#include <string>
#include <vector>

namespace sim::view {

struct Shown {
    Snapshot board;
    Look look;
    std::vector<HeardRecord> records; // the last ones
    bool talking = false;             // the host has clocked a burst lately
    bool controls = false;            // the page may change things
};

// One line. Numbers are rounded to what the page shows, so that the same text comes while nothing moves.
std::string state_text(const Shown &shown);

// In a sentence, for those who cannot see it: what the picture shows, or why it shows nothing.
std::string picture_in_words(const Snapshot &board, const Look &look);

} // namespace sim::view
