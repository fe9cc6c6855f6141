// The board's GPIO lines: their levels, in a page of memory that every process with the board open shares, and the
// descriptors that announce rising edges.
#pragma once

#include "sim/fd.h"
#include "ugpio/ugpio_wire.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace sim {

enum class Line : std::uint8_t {
    power,
    power_good,
    reset,
    reset_pcie,
    init_done,
    pcie_clk,
    fw_complete,
    fpga_reset,
    request
};

struct LineRow {
    const char *name;
    int number;
    bool host_drives; // an output of the host; the board drives the others
};

inline constexpr std::array<LineRow, 9> kLines{{
    {"cam_power", 40, true},
    {"cam_power_good", 41, false},
    {"cam_reset", 42, true},
    {"cam_reset_pcie", 43, true},
    {"cam_init_done", 44, false},
    {"cam_pcie_clk", 45, true},
    {"cam_fw_complete", 46, false},
    {"fpga_reset", 47, true},
    {"imc_req", 37, false},
}};

inline const LineRow &row(Line line)
{
    return kLines[static_cast<std::size_t>(line)];
}
// By name; none when no line has it.
std::optional<Line> find_line(std::string_view name);

// Of any board: beyond those of the table there is room for as many lines as a host can see.
class Lines {
  public:
    // All lines low. Throws std::system_error when the shared page cannot be made.
    Lines();
    ~Lines();
    Lines(const Lines &) = delete;
    Lines &operator=(const Lines &) = delete;

    // The level that the board makes, and the one that hosts see: while a line glitches, its opposite.
    bool level(Line line) const { return level_[static_cast<std::size_t>(line)]; }
    bool shown(Line line) const;
    // Sets a level; a rising one is announced unless `announced` is false.
    void set(Line line, bool high, bool announced = true);
    void glitch(Line line, bool inverted);
    // Announces a rising edge, whether there is one or not.
    void announce(Line line) const;
    // While set, hosts ask the board for the line and its level.
    void make_asked(Line line, bool asked);

    // A new edge descriptor for a host, already raised once; empty when the system has no pty left. The board's side of
    // it is kept and given out in `slave` (still owned here) so that its hang-up can be watched.
    Fd open_edge(Line line, int &slave);
    // Forgets the board's side of an edge descriptor whose host has closed it.
    void close_edge(int slave);
    void close_all_edges() { edges_.clear(); }

    // For a host that connects: the line table, and the page's descriptor (owned here).
    static ugpio_wire::Hello hello();
    int page_fd() const { return page_fd_.get(); }

  private:
    struct Edge {
        Line line;
        Fd slave;
    };

    void show(Line line, bool announced);

    std::array<bool, ugpio_wire::kMaxLines> level_{};
    std::array<bool, ugpio_wire::kMaxLines> inverted_{};
    Fd page_fd_;
    ugpio_wire::LevelPage *page_ = nullptr;
    std::vector<Edge> edges_;
};

} // namespace sim
