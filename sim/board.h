// A whole simulated camera board in a folder: GPIO lines, SPI ports, camera block. Runs on a thread of its own, in
// krx-sim or inside a test:
//
//     sim::Board board({.folder = dir, .manual_time = true});
//     ASSERT_EQ(board.start(), std::nullopt);
//     setenv("PTZ_BOARD", dir, 1); setenv("PTZ_DATA_DIR", dir, 1);    // configuration files are written there
//     ... the host powers the block up ...
//     board.advance(500'000);                                         // the block boots
//     EXPECT_EQ(board.offences(), sim::Counts{});
//
// With manual time nothing happens by itself: boot delays and motion go on in advance() only, the sockets always
// answer. Every function may be called from any thread.
#pragma once

#include "sim/camera.h"
#include "sim/services.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct Options {
    std::string folder{};          // made if needed
    bool manual_time = false;      // time moves by advance() only
    double time_scale = 1.0;       // how many times faster than the wall real time runs, above 0
    bool real_wire_time = false;   // bursts take as long as their bytes take at their speed; real time only
    bool overwrite_conf = false;   // also replace configuration files that exist
    std::uint64_t seed = 1;        // of everything faults leave to chance
    std::string trace_path{};      // empty: no trace file
    std::uint64_t trace_bytes = 0; // that the last two files of it have at most; 0: one without end
    CameraOptions camera{};
    Journal::Progress progress{}; // of a firmware transfer; without it, lines are printed
    Journal::Print print{};       // gets every printed line; called with the board locked
};

struct CommandResult {
    bool ok = false;
    std::string text; // what was done, or what is wrong and what would be right
};

// What a person would read off the camera.
struct Reading {
    BlockState state = BlockState::off;
    double pan = 0;           // degrees
    double tilt = 0;          // degrees
    double magnification = 1; // optical x digital
    double focus = 0;         // motor steps, 1144 (far) to 2048 (near)
    double temperature = 0;   // degrees Celsius
    ExposureCodes exposure{};
    std::uint32_t sensor_frequency = 0; // code in force
    std::uint32_t firmware = 0;         // version in force
    bool sensor_halted = false;
    bool pan_moving = false;
    bool tilt_moving = false;
    bool zoom_moving = false;
    bool focus_moving = false;
};

class Requests;

// All that shows of the board at one moment.
struct Snapshot {
    std::int64_t us = 0; // its clock
    Reading reading{};
    std::array<Values, kRecCount> settings{};
    std::array<Colouring, kColourings> colours{};
    double scene_light = 0; // stops
    Services services{};    // without a watcher
    std::array<bool, kLines.size()> lines{};
    std::array<bool, kFaultCount> armed{};
    std::uint64_t bursts = 0;        // clocked so far
    std::uint64_t records = 0;       // received so far
    std::uint64_t offence_count = 0; // of all names
};

class Board {
  public:
    explicit Board(Options options);
    ~Board(); // stops
    Board(const Board &) = delete;
    Board &operator=(const Board &) = delete;

    // Takes the folder and begins to answer. Gives a message when that failed.
    [[nodiscard]] std::optional<std::string> start();
    // Ends the thread, closes every connection and removes the sockets. The camera keeps its state for another start().
    void stop();

    // For a host in this process, without folder and sockets: what a host asks of the board.
    Requests &requests();

    // Microseconds since construction.
    std::int64_t now() const;
    // Lets `us` microseconds of manual time pass; everything due meanwhile happens in order.
    void advance(std::int64_t us);

    // Carries out one line of the command language (see sim/command.h), such as "set pan 12.5" or "fault silence 5".
    CommandResult command(std::string_view line);
    // Queues a command for a time since construction, in microseconds.
    void at(std::int64_t us, std::string line);

    Reading reading() const;
    Snapshot snapshot() const;
    // The last records received in words, the oldest first.
    std::vector<HeardRecord> last_records() const;
    bool level(Line line) const;
    std::uint32_t capture_frequency() const;
    Values setting(Rec id) const;

    // What the services on the bus tell. `changed` is called after every change, from any thread, with the board
    // locked: it must not call back.
    Services services() const;
    void watch_services(std::function<void(ServiceChange)> changed);
    // How a service fails now (none for any other fault); `strike` counts it, where it is not a state.
    ServiceFault service_fault(Fault fault, bool strike);
    // Has the services' watcher called when `wall_us` have passed on the wall; gives that time as now() will have it.
    std::int64_t remind(std::int64_t wall_us);

    // Offences against the protocol, faults that struck and records received, by name.
    Counts offences() const;
    void clear_offences();
    Counts faults() const;
    Counts records() const;
    // Records received since the last call: in words, and the payloads they came in.
    std::vector<std::string> take_heard();
    std::vector<std::vector<std::uint8_t>> take_packets();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sim
