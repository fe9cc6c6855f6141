// Misbehaviour on request. Each fault is armed with a schedule and counts how often it struck; whatever it leaves to
// chance comes from one seed.
//
// Most faults have occasions of their own: an answer, a boot, a call. A fault that is a state (a line held, a power
// supply gone) has one every 100 ms from the moment it was armed, and is in force from one that it takes to the next:
// once is 100 ms, ten times a second.
#pragma once

#include "sim/journal.h"
#include "sim/schedule.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sim {

enum class Fault : std::uint8_t {
    drop_edge,
    delay_edge,
    double_edge,
    hold_request,
    glitch,
    flip_bit,
    cut_frame,
    stretch_frame,
    bad_checksum,
    empty_frame,
    garbage,
    garbage_blocks,
    zero_length_block,
    stale_reply,
    double_reply,
    late_reply,
    shift_reply,
    all_00,
    all_ff,
    host_flip_bit,
    host_lose,
    host_cut,
    silence,
    power_loss,
    reboot,
    power_good_never,
    init_done_never,
    slow_boot,
    other_model,
    ignore_record,
    stall,
    moving_flag,
    freeze_status,
    missing_block,
    refuse_chunk,
    refuse_chunks,
    upgrade_ready_never,
    upgrade_cut,
    fw_complete_never,
    new_firmware_never,
    spi_error,
    spi_short,
    spi_slow,
    gpio_refuse,
    gpio_read,
    gpio_edge,
    gpio_drive,
    sensor,
    image_control,
    streamer,
    count
};
inline constexpr std::size_t kFaultCount = static_cast<std::size_t>(Fault::count);

// What a fault takes ahead of its schedule: nothing; a duration; how long it lasts; a level; "never"; a block's tag; a
// chunk's index; a step of an upgrade; a camera model's number; a line or an axis; or one word of a list.
enum class FaultArgument : std::uint8_t {
    none,
    duration,
    period,
    level,
    never,
    tag,
    index,
    step,
    model,
    line,
    axis,
    flag,
    spi_error,
    sensor,
    service
};

// What it has as occasions: its own; every 100 ms, as a state or as a pulse of 1 ms.
enum class FaultKind : std::uint8_t { event, state, pulse };

struct FaultRow {
    const char *name;
    FaultArgument argument;
    FaultKind kind;
    std::int64_t times; // that many strikes when nothing else is said
    const char *help;
};
const FaultRow &row(Fault fault);
std::optional<Fault> find_fault(std::string_view name);

// Values of the faults that take one word of a list, in the order of the words.
enum class MovingFlag : std::uint8_t { stuck, lies, none };
enum class SensorFault : std::uint8_t { missing, empty, garbage, fifo, jumping, none };
inline constexpr std::array<int, 4> kSpiErrors{EIO, EINTR, EMSGSIZE, ENODEV};

class Faults {
  public:
    static constexpr std::int64_t kSlotUs = 100'000;
    static constexpr std::int64_t kPulseUs = 1'000;

    Faults() { seed(1); }

    // Lets time pass until `now`: states begin and end. Everything below is as of then.
    void run(std::int64_t now);
    // When a state changes next by itself.
    std::int64_t next_event() const;

    // Arms a fault; `value` is its argument (of lines and axes a set of bits, which is added to those armed before).
    void arm(Fault fault, const Schedule &schedule, std::int64_t value = 0);
    void clear() { armed_ = {}; }

    bool armed(Fault fault) const { return at(fault).active || at(fault).schedule.open(now_); }
    bool armed(Fault fault, std::size_t bit) const { return armed(fault) && (value(fault) >> bit & 1) != 0; }
    std::int64_t value(Fault fault) const { return at(fault).value; }
    // When it ends by itself.
    std::int64_t until(Fault fault) const { return at(fault).schedule.until; }
    // Whether a state is in force; `bit` of those that have a set.
    bool active(Fault fault) const { return at(fault).active; }
    bool active(Fault fault, std::size_t bit) const { return active(fault) && (value(fault) >> bit & 1) != 0; }
    // Whether the fault strikes at this occasion: counts it and uses up one time.
    bool strike(Fault fault);
    bool strike(Fault fault, std::size_t bit) { return (value(fault) >> bit & 1) != 0 && strike(fault); }
    // How many slots a state has been in force since it was armed.
    unsigned slots(Fault fault) const { return at(fault).slots; }

    Counts counts() const;
    // How many of the host's calls have failed before the block heard of them.
    unsigned failed_calls() const;
    void seed(std::uint64_t seed);
    // A number from 0 to limit - 1; the same series for the same seed.
    std::uint32_t random(std::uint32_t limit) { return draw(state_, limit); }

  private:
    struct Armed {
        Schedule schedule{};
        std::int64_t value = 0;
        bool active = false;
        unsigned slots = 0;
        std::int64_t next_slot = Schedule::kNever; // of a state
        std::int64_t pulse_end = Schedule::kNever;
    };
    const Armed &at(Fault fault) const { return armed_[static_cast<std::size_t>(fault)]; }
    bool takes(std::size_t index, std::int64_t now);
    void run_slot(std::size_t index);
    static std::uint32_t draw(std::uint64_t &state, std::uint32_t limit);

    std::int64_t now_ = 0;
    std::array<Armed, kFaultCount> armed_{};
    std::array<unsigned, kFaultCount> struck_{};
    std::uint64_t state_ = 0;
    std::array<std::uint64_t, kFaultCount> chances_{}; // each fault's own, or one would move another's strikes
};

} // namespace sim
