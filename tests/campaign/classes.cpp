#include "tests/campaign/classes.h"

#include <algorithm>
#include <array>

namespace {

using enum Where;

// The patience that the driver has with another service is 10 s on the wall for each of the values it asks for.
constexpr double kPatience = 45;
// Until a start without an answer is given up, and tried again; the same with an upgrade after it.
constexpr double kGivenUp = 240;
constexpr double kCutOff = kGivenUp + 150;
// What comes of a frame that does not get through whole, and of the chunk of an image that was in it.
constexpr char kSpoilt[] =
    "frame-checksum frame-length frame-filler packet-header packet-length upgrade-command chunk-gap upgrade-incomplete";
// A block that falls silent between the host's look and its burst, over a chunk, or for good in an upgrade.
constexpr char kGone[] = "burst-without-request chunk-repeat upgrade-order upgrade-incomplete";
constexpr char kWaitsForEdges[] = "fault delay-edge 40ms forever";
constexpr char kAskImage[] = "set capture-frequency 60";
constexpr char kAskStreamer[] = "set rotation 0";

constexpr FaultClass kClasses[] = {
    {.fault = "drop-edge"},
    {.fault = "delay-edge 300ms"},
    {.fault = "double-edge"},
    {.fault = "hold-request low", .outage = true, .offences = kGone},
    {.fault = "hold-request high"},
    {.fault = "glitch imc_req"},
    {.fault = "glitch cam_power_good", .offences = "clock-on-without-power"},
    {.fault = "glitch cam_init_done", .offences = "fpga-release-before-init-done pcie-release-before-init-done"},
    {.fault = "flip-bit"},
    {.fault = "cut-frame"},
    {.fault = "stretch-frame", .outage = true},
    {.fault = "bad-checksum", .outage = true},
    {.fault = "empty-frame"},
    {.fault = "garbage", .outage = true},
    {.fault = "garbage-blocks", .outage = true},
    {.fault = "zero-length-block", .outage = true},
    {.fault = "stale-reply"},
    {.fault = "double-reply"},
    {.fault = "late-reply"},
    {.fault = "shift-reply", .outage = true},
    {.fault = "all-00", .outage = true},
    {.fault = "all-ff", .outage = true},
    {.fault = "host-flip-bit", .where = records, .offences = kSpoilt},
    {.fault = "host-lose", .where = records, .offences = kSpoilt},
    {.fault = "host-cut", .where = records, .offences = kSpoilt},
    {.fault = "silence", .outage = true, .offences = kGone},
    {.fault = "power-loss", .outage = true, .offences = kGone},
    {.fault = "reboot", .offences = kGone},
    {.fault = "power-good never", .where = boots},
    {.fault = "init-done never", .where = boots},
    {.fault = "slow-boot 8s", .where = boots},
    {.fault = "other-model 99", .where = boots},
    {.fault = "ignore-record", .where = records},
    {.fault = "stall pan", .where = moves},
    {.fault = "stall tilt", .where = moves},
    {.fault = "moving-flag stuck"},
    {.fault = "moving-flag lies"},
    {.fault = "freeze-status"},
    {.fault = "missing-block 40"},
    {.fault = "missing-block f8"},
    {.fault = "refuse-chunk 100", .where = upgrades},
    {.fault = "refuse-chunks", .where = upgrades},
    {.fault = "upgrade-ready never", .where = upgrades, .early = true},
    {.fault = "upgrade-cut start", .where = upgrades, .early = true, .bound_s = kCutOff},
    {.fault = "upgrade-cut ready", .where = upgrades, .early = true, .bound_s = kCutOff},
    {.fault = "upgrade-cut 100", .where = upgrades, .bound_s = kCutOff},
    {.fault = "upgrade-cut end", .where = upgrades},
    {.fault = "fw-complete never", .where = upgrades},
    {.fault = "new-firmware never", .where = upgrades},
    {.fault = "spi-error EIO", .outage = true},
    {.fault = "spi-error EINTR", .outage = true},
    {.fault = "spi-error EMSGSIZE", .outage = true},
    {.fault = "spi-error ENODEV", .outage = true},
    {.fault = "spi-short", .offences = kSpoilt},
    {.fault = "spi-slow 9.9s", .lasts_s = 10, .bound_s = 30},
    {.fault = "spi-slow 20s", .offences = "chunk-repeat", .lasts_s = 10, .bound_s = 30},
    {.fault = "refuse imc_req", .where = opens},
    {.fault = "refuse cam_power", .where = opens, .bound_s = kGivenUp},
    {.fault = "gpio-read imc_req", .lasts_s = 10, .bound_s = 20},
    {.fault = "gpio-read cam_power_good", .where = boots, .bound_s = kGivenUp},
    {.fault = "gpio-read cam_init_done", .where = boots},
    {.fault = "gpio-edge imc_req", .where = edges, .lasts_s = 10, .bound_s = 20, .provoke = kWaitsForEdges},
    {.fault = "gpio-drive cam_power", .where = opens, .bound_s = kGivenUp},
    {.fault = "gpio-drive cam_reset", .where = opens, .bound_s = kGivenUp},
    {.fault = "sensor missing"},
    {.fault = "sensor empty"},
    {.fault = "sensor garbage"},
    {.fault = "sensor fifo"},
    {.fault = "sensor jumping", .bound_s = 30},
    {.fault = "image-control missing", .provoke = kAskImage},
    {.fault = "image-control error", .provoke = kAskImage},
    {.fault = "image-control wrong-type", .provoke = kAskImage},
    {.fault = "image-control silent", .wall_s = kPatience, .provoke = kAskImage},
    {.fault = "image-control garbage", .provoke = kAskImage},
    {.fault = "image-control late", .wall_s = kPatience, .provoke = kAskImage},
    {.fault = "image-control too-late", .wall_s = kPatience, .provoke = kAskImage},
    {.fault = "image-control new-owner", .provoke = kAskImage},
    {.fault = "streamer missing", .provoke = kAskStreamer},
    {.fault = "streamer error", .where = asks},
    {.fault = "streamer wrong-type", .provoke = kAskStreamer},
    {.fault = "streamer silent", .where = asks, .wall_s = kPatience},
    {.fault = "streamer garbage", .provoke = kAskStreamer},
    {.fault = "streamer late", .where = asks, .wall_s = kPatience},
    {.fault = "streamer too-late", .where = asks, .wall_s = kPatience},
    {.fault = "streamer new-owner", .provoke = kAskStreamer},
};

struct PhaseRow {
    const char *text;
    double bound_s;
    double hold_s; // longer than the 10 s that a wait for a line takes, where one of them decides
};
constexpr std::array<PhaseRow, kPhases> kPhaseRows{
    {{"power-up", 60, 12}, {"idle", 10, 3}, {"in a move", 10, 3}, {"parameters", 10, 3}, {"upgrade", 200, 12}}};

// By Where: in which phases it has occasions, and why in no others.
struct WhereRow {
    std::array<bool, kPhases> phases;
    const char *reason;
};
constexpr WhereRow kWhereRows[] = {
    {{true, true, true, true, true}, nullptr},
    {{true, false, false, false, true}, "nothing is powered or booted then"},
    {{true, false, false, false, true}, "no line is set up then"},
    {{true, false, false, false, true}, "the rotation is not asked for then"},
    {{true, true, true, true, false}, "in and after an upgrade the line's level is polled"},
    {{true, false, true, true, true}, "no command is sent then"},
    {{false, false, true, false, false}, "no axis is under way then"},
    {{false, false, false, false, true}, "no firmware is transferred then"},
};

const PhaseRow &row(Phase phase)
{
    return kPhaseRows[static_cast<std::size_t>(phase)];
}

} // namespace

std::span<const FaultClass> fault_classes()
{
    return kClasses;
}

const char *text_of(Phase phase)
{
    return row(phase).text;
}

const char *text_of(Duration duration)
{
    static constexpr const char *kTexts[] = {"once", "1 s", "until cleared"};
    return kTexts[static_cast<std::size_t>(duration)];
}

std::string name(const Cell &cell)
{
    return std::string(cell.fault->fault) + ", " + text_of(cell.phase) + ", " + text_of(cell.duration);
}

const char *impossible(const FaultClass &fault, Phase phase)
{
    const WhereRow &where = kWhereRows[static_cast<std::size_t>(fault.where)];
    return where.phases[static_cast<std::size_t>(phase)] ? nullptr : where.reason;
}

double bound(const Cell &cell, double time_scale)
{
    return std::max(row(cell.phase).bound_s, cell.fault->bound_s) + cell.fault->wall_s * time_scale;
}

double hold(Phase phase)
{
    return row(phase).hold_s;
}
