// The table of faults: the only place that says what there is, what it takes and how often it comes by itself.
#include "sim/faults.h"

namespace sim {
namespace {

using enum FaultArgument;
using enum FaultKind;
constexpr std::int64_t kForEver = Schedule::kForEver;

constexpr std::array<FaultRow, kFaultCount> kRows{{
    {"drop-edge", none, event, 1, "the request line rises without an edge being announced"},
    {"delay-edge", duration, event, 1, "the request line rises that much later after a burst"},
    {"double-edge", none, event, 1, "the request line's edge is announced again 1 ms later"},
    {"hold-request", level, state, kForEver, "the request line stays at that level"},
    {"glitch", line, pulse, kForEver, "hosts see the line at its other level for 1 ms"},
    {"flip-bit", none, event, 1, "one bit of the answer is wrong"},
    {"cut-frame", none, event, 1, "the answer's status run ends too early, checksum right"},
    {"stretch-frame", none, event, 1, "the answer claims to be longer than its burst"},
    {"bad-checksum", none, event, 1, "the answer's checksum is wrong"},
    {"empty-frame", none, event, 1, "the answer has no payload"},
    {"garbage", none, event, 1, "the answer is random bytes"},
    {"garbage-blocks", none, event, 1, "the answer is a good frame around random bytes"},
    {"zero-length-block", none, event, 1, "the second block of the answer has length 0"},
    {"stale-reply", none, event, 1, "the answer is the one before"},
    {"double-reply", none, event, 1, "the answer's frame stands in its burst twice"},
    {"late-reply", none, event, 1, "the answer comes with the next burst"},
    {"shift-reply", none, event, 1, "the answer comes a byte late"},
    {"all-00", none, event, 1, "the answer is zeros"},
    {"all-ff", none, event, 1, "the answer is ones"},
    {"host-flip-bit", none, event, 1, "one bit of the host's frame gets to the block wrong"},
    {"host-lose", none, event, 1, "the host's frame does not get to the block"},
    {"host-cut", none, event, 1, "the host's frame gets to the block cut"},
    {"silence", period, state, kForEver, "the block neither raises its line nor answers"},
    {"power-loss", none, state, kForEver, "the block's power supply fails"},
    {"reboot", none, event, 1, "the block starts anew by itself after its next burst"},
    {"power-good", never, event, kForEver, "the power-good line stays low"},
    {"init-done", never, event, kForEver, "the block does not get up from its reset"},
    {"slow-boot", duration, event, 1, "booting takes that long"},
    {"other-model", model, event, 1, "the block that boots is another model"},
    {"ignore-record", none, event, 1, "a good record is not carried out; the answer is as ever"},
    {"stall", axis, state, kForEver, "the axis does not get on, and says that it moves"},
    {"moving-flag", flag, event, kForEver, "all flags say moving; or the opposite of what is"},
    {"freeze-status", none, event, kForEver, "the status stays as it was in the answer before"},
    {"missing-block", tag, event, 1, "the answer comes without that status block"},
    {"refuse-chunk", index, event, 1, "that firmware chunk is not taken and not answered"},
    {"refuse-chunks", none, event, 1, "no firmware chunk is taken or answered"},
    {"upgrade-ready", never, event, kForEver, "the firmware loader never gets ready"},
    {"upgrade-cut", step, event, 1, "the block breaks down over that step of an upgrade"},
    {"fw-complete", never, event, kForEver, "the upgrade-complete line stays low"},
    {"new-firmware", never, event, kForEver, "after an upgrade the old firmware runs"},
    {"spi-error", spi_error, event, 1, "a transfer fails like that; ENODEV: and every other request"},
    {"spi-short", none, event, 1, "a transfer ends too early and tells how far it got"},
    {"spi-slow", duration, event, 1, "a transfer takes that long, at most 10 s: then ETIMEDOUT"},
    {"refuse", line, event, kForEver, "hosts that ask for the line are told it is busy"},
    {"gpio-read", line, event, 1, "the line's level cannot be read (EIO)"},
    {"gpio-edge", line, event, 1, "the line's edges cannot be watched (EIO)"},
    {"gpio-drive", line, event, 1, "the line cannot be driven (EIO)"},
    {"sensor", sensor, state, kForEver, "the thermal zone's file is like that"},
    {"image-control", service, event, kForEver, "how com.orna.ImageControl fails"},
    {"streamer", service, event, kForEver, "how com.orna.Streamer fails"},
}};

} // namespace

const FaultRow &row(Fault fault)
{
    return kRows[static_cast<std::size_t>(fault)];
}

std::optional<Fault> find_fault(std::string_view name)
{
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        if (name == kRows[i].name)
            return static_cast<Fault>(i);
    }
    return std::nullopt;
}

} // namespace sim
