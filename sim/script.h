// Script files: one command per line, each with the time at which it is carried out.
//
//   # the block falls silent, three seconds after the start
//   at 3s fault silence 5s
//   set temperature 61            (at once)
#pragma once

#include "sim/board.h"

#include <optional>
#include <string>

namespace sim {

// Queues every line of the file. Gives a message, with the line's number, when it cannot be read or a time or a command
// is not what the language takes; nothing is queued then.
std::optional<std::string> load_script(const std::string &path, Board &board);

} // namespace sim
