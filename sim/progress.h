// The bar that shows a firmware transfer on a terminal, below the lines that are printed meanwhile.
#pragma once

#include <optional>
#include <string_view>

namespace sim {

class ProgressBar {
  public:
    // Prints a line, keeping the bar last.
    void print(std::string_view line);
    // Draws the bar; takes it away at 100 % and when there is nothing to show any more.
    void show(std::optional<unsigned> percent);

  private:
    void draw() const;
    std::optional<unsigned> percent_;
};

} // namespace sim
