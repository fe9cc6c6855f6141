// The language in which scripts, D-Bus and tests tell the board what to be and what to get wrong. One command per line:
//
//   set pan 12.5 | set tilt -3 | set zoom 30 | set focus 1144 | set temperature 61
//   set scene-light 10
//   set status-bit lens 1 on|off|auto | set status-bit pan-tilt 0 on | set byte f8 34 12|auto
//   set video-capture-mode 1080p50 | set capture-frequency 50 | set rotation 180
//   set sensor-frequency 1 | set model 1 | set firmware 01020003 | set boot 5s | set request-delay 200us | seed 42
//   clear [faults|status|offences]
//   fault NAME [ARGUMENT] [once|COUNT|forever|for DURATION], or with 1/N before that: at one of N occasions, at random
//   fault drop-edge 3 | fault silence 5s | fault reboot | fault flip-bit 1/100 for 10s | fault hold-request low once
//   fault missing-block 40 forever | fault refuse cam_power | fault spi-error EIO | fault image-control missing | ...
#pragma once

#include "sim/board.h"
#include "sim/services.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct CommandTarget {
    Camera &camera;
    Faults &faults;
    Journal &journal;
    Services &services;
};

// Carries out one command. The board is locked and up to date.
CommandResult run_command(std::string_view line, const CommandTarget &target, std::int64_t now);

// What the language knows, for --help.
std::string command_help();

// Every form of a command: "set pan VALUE", "fault silence DURATION|WHEN", "clear [faults|status|offences]". Capitals
// stand for what is filled in, WHEN for once, COUNT, forever, for DURATION or 1/N; what is in brackets may be left out.
std::vector<std::string> command_forms();
// The words that may stand at the end of a command that begins so.
std::vector<std::string> next_words(const std::vector<std::string> &before);
// The faults, a line each: what it takes and what it does.
struct FaultText {
    std::string form, text;
};
std::vector<FaultText> fault_texts();

// "5s", "200ms", "300us", or a plain number of seconds: microseconds. False when it is none of these, or negative.
bool parse_duration(std::string_view text, std::int64_t &us);

} // namespace sim
