// A trace played to a simulated board: the host's side is done again at the times of the trace, what the block does is
// compared.
#pragma once

#include "sim/board.h"

#include <iosfwd>
#include <string>

namespace sim {

struct ReplayReport {
    std::size_t bursts = 0;    // that were compared
    std::size_t levels = 0;    // of lines, likewise
    std::size_t otherwise = 0; // of both, where the board does something else
    std::size_t malformed = 0; // lines that are none of a trace
    bool cut = false;          // within its last line
};

// `board` has manual time and is not started. The first few differences are told in words, a line each.
ReplayReport replay(std::istream &trace, Board &board, const std::function<void(const std::string &line)> &tell);

} // namespace sim
