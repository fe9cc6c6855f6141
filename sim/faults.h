// Misbehaviour on request. Each fault is armed for a number of times (or for ever, or until a time) and counts how
// often it struck; whatever it leaves to chance comes from one seed.
#pragma once

#include "sim/journal.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sim {

enum class Fault : std::uint8_t {
    drop_edge,
    delay_edge,
    hold_request,
    flip_bit,
    cut_frame,
    stretch_frame,
    bad_checksum,
    empty_frame,
    garbage,
    garbage_blocks,
    zero_length_block,
    silence,
    reboot,
    power_good_never,
    init_done_never,
    slow_boot,
    missing_block,
    refuse_chunk,
    refuse_chunks,
    upgrade_ready_never,
    upgrade_cut,
    fw_complete_never,
    new_firmware_never,
    image_control,
    streamer,
    count
};

// What a fault takes: how often it strikes; a duration and how often; how long it lasts; a level; "never"; a
// block's tag and how often; a chunk's index and how often; a step of an upgrade; or in what way a service fails.
enum class FaultArgument : std::uint8_t { times, duration, period, level, never, tag, index, step, service };

struct FaultRow {
    const char *name;
    FaultArgument argument;
    const char *help;
};
const FaultRow &row(Fault fault);
std::optional<Fault> find_fault(std::string_view name);

class Faults {
  public:
    static constexpr std::int64_t kForEver = -1;

    // Arms a fault for that many times; `value` is its duration in microseconds, its end or its level.
    void arm(Fault fault, std::int64_t times, std::int64_t value = 0);
    void clear() { armed_ = {}; }

    bool armed(Fault fault) const { return at(fault).times != 0; }
    std::int64_t value(Fault fault) const { return at(fault).value; }
    // Whether the fault strikes now: counts it and uses up one time.
    bool strike(Fault fault);

    Counts counts() const;
    void seed(std::uint64_t seed) { state_ = seed; }
    // A number from 0 to limit - 1; the same series for the same seed.
    std::uint32_t random(std::uint32_t limit);

  private:
    struct Armed {
        std::int64_t times = 0;
        std::int64_t value = 0;
    };
    const Armed &at(Fault fault) const { return armed_[static_cast<std::size_t>(fault)]; }

    static constexpr std::size_t kCount = static_cast<std::size_t>(Fault::count);
    std::array<Armed, kCount> armed_{};
    std::array<unsigned, kCount> struck_{};
    std::uint64_t state_ = 1;
};

} // namespace sim
