// What the campaign does to the camera, and what it may take: classes of faults, phases of the camera's life, how long.
#pragma once

#include <cstddef>
#include <span>
#include <string>

enum class Phase : unsigned char { power_up, idle, move, params, upgrade };
enum class Duration : unsigned char { once, second, cleared };
inline constexpr std::size_t kPhases = 5;
inline constexpr std::size_t kDurations = 3;

// Where a fault has occasions at all.
enum class Where : unsigned char { everywhere, boots, opens, asks, edges, records, moves, upgrades };

struct FaultClass {
    // As the simulator is told, without its duration.
    const char *fault;
    Where where = Where::everywhere;
    // No good status gets through while it lasts: the link has to be told down.
    bool outage = false;
    // Offences that it makes itself, by name.
    const char *offences = "";
    // It has to be there before an upgrade begins, not in the middle of its transfer.
    bool early = false;
    // Seconds on the wall, which no time scale shortens, that it may keep the camera beyond the phase's bound.
    double wall_s = 0;
    // Camera seconds for which a call or a wait that it has met goes on, and nothing else is done.
    double lasts_s = 0;
    // Camera seconds that it may take in any phase; 0: the phase's bound alone.
    double bound_s = 0;
    // What makes the driver meet it where it runs, a command of the simulator.
    const char *provoke = nullptr;
};

struct Cell {
    const FaultClass *fault;
    Phase phase;
    Duration duration;
};

std::span<const FaultClass> fault_classes();
const char *text_of(Phase phase);
const char *text_of(Duration duration);
std::string name(const Cell &cell);

// Why there is no such cell; null when there is one.
const char *impossible(const FaultClass &fault, Phase phase);
// Why what is seen of a cell is known; null when it is not.
const char *known_red(const Cell &cell, const std::string &seen);

// Camera seconds from the fault's end until the camera runs and the next move has arrived.
double bound(const Cell &cell, double time_scale);
// How long a fault lasts that somebody clears, in camera seconds.
double hold(Phase phase);
