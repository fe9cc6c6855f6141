#include "sim/faults.h"

namespace sim {
namespace {

constexpr std::array<FaultRow, static_cast<std::size_t>(Fault::count)> kRows{{
    {"drop-edge", FaultArgument::times, "the request line rises without an edge being announced"},
    {"delay-edge", FaultArgument::duration, "the request line rises that much later after every burst"},
    {"hold-request", FaultArgument::level, "the request line stays at that level"},
    {"flip-bit", FaultArgument::times, "one bit of the answer is wrong"},
    {"cut-frame", FaultArgument::times, "the answer's status run ends too early, checksum right"},
    {"stretch-frame", FaultArgument::times, "the answer claims to be longer than its burst"},
    {"bad-checksum", FaultArgument::times, "the answer's checksum is wrong"},
    {"empty-frame", FaultArgument::times, "the answer has no payload"},
    {"garbage", FaultArgument::times, "the answer is random bytes"},
    {"garbage-blocks", FaultArgument::times, "the answer is a good frame around random bytes"},
    {"zero-length-block", FaultArgument::times, "the second block of the answer has length 0"},
    {"silence", FaultArgument::period, "the block neither raises its line nor answers"},
    {"reboot", FaultArgument::times, "the block starts anew by itself after its next burst"},
    {"power-good", FaultArgument::never, "the power-good line stays low"},
    {"init-done", FaultArgument::never, "the block does not get up from its reset"},
    {"slow-boot", FaultArgument::duration, "booting takes that long"},
    {"missing-block", FaultArgument::tag, "the answer comes without that status block"},
    {"refuse-chunk", FaultArgument::index, "that firmware chunk is not taken and not answered"},
    {"refuse-chunks", FaultArgument::times, "no firmware chunk is taken or answered"},
    {"upgrade-ready", FaultArgument::never, "the firmware loader never gets ready"},
    {"upgrade-cut", FaultArgument::step, "the block breaks down over that step of an upgrade"},
    {"fw-complete", FaultArgument::never, "the upgrade-complete line stays low"},
    {"new-firmware", FaultArgument::never, "after an upgrade the old firmware runs"},
    {"image-control", FaultArgument::service, "how com.orna.ImageControl fails"},
    {"streamer", FaultArgument::service, "how com.orna.Streamer fails"},
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

void Faults::arm(Fault fault, std::int64_t times, std::int64_t value)
{
    armed_[static_cast<std::size_t>(fault)] = {times, value};
}

bool Faults::strike(Fault fault)
{
    Armed &armed = armed_[static_cast<std::size_t>(fault)];
    if (armed.times == 0)
        return false;
    if (armed.times > 0)
        --armed.times;
    ++struck_[static_cast<std::size_t>(fault)];
    return true;
}

Counts Faults::counts() const
{
    Counts counts;
    for (std::size_t i = 0; i < kCount; ++i) {
        if (struck_[i] != 0)
            counts.emplace(kRows[i].name, struck_[i]);
    }
    return counts;
}

std::uint32_t Faults::random(std::uint32_t limit)
{
    // splitmix64: small, and the same everywhere.
    std::uint64_t z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    z ^= z >> 31;
    return limit == 0 ? 0 : static_cast<std::uint32_t>(z % limit);
}

} // namespace sim
