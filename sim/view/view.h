// The simulated camera's picture for a person: a page on HTTP that shows it and how the board stands. Runs on a thread
// of its own, which has a lower priority than the board's and does nothing while nobody looks.
#pragma once

#include "sim/board.h"

#include <memory>
#include <optional>
#include <string>

namespace sim {

struct ViewOptions {
    std::string where{};   // "ADDRESS:PORT"; empty: 127.0.0.1 and a free port
    std::string folder{};  // of the board: its image pipeline's state is there
    bool controls = false; // the page may give commands
};

// What --help adds about it: nothing, or that this program was built without.
std::string view_help();

class View {
  public:
    View(Board &board, ViewOptions options);
    ~View(); // ends the thread and every connection
    View(const View &) = delete;
    View &operator=(const View &) = delete;

    // Begins to serve; gives a message when that failed.
    [[nodiscard]] std::optional<std::string> start();
    // The page's, when it is served.
    std::string address() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sim
