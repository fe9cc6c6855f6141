// The command line of krx-sim.
#pragma once

#include "sim/board.h"
#include "sim/view/view.h"

#include <optional>
#include <string>

namespace sim {

struct Arguments {
    Options board;
    std::string script;              // path, or empty
    std::string replay;              // a trace to be compared with instead of running; path, or empty
    Detail detail = Detail::records; // what is printed
    bool strict = false;             // offences make the exit status 3
    std::optional<ViewOptions> view; // none: no picture is served
};

// Reads the command line; none after a usage error (its message is printed) or after --help or --version (which was
// printed, and `status` is 0).
std::optional<Arguments> parse_arguments(int argc, char **argv, int &status);

} // namespace sim
