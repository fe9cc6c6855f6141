// The block's firmware loader, which it runs on port 1: start, ready queries, chunks, end, then the flash is written.
//
//   start    10 01 00 0C  0B 02 08 11 AA 55 AA 55  length:4      the loader is busy for a while, then ready
//   query    FF 01                                               answered FE 00 (ready) or FE 01 (not) by the next
//   burst chunk    FF 02 index:2 bytes                                 1016 of the image's bytes, the last one the rest
//   end      FF 03                                               the image is looked at and written to the flash
//
// A chunk that was not answered well, not taken, or lost with a failed call, has the host step back five chunks and go
// on from there; any other gap or repeat is an offence. The host knows nothing of the loader's state but what it is
// answered.
#pragma once

#include "sim/faults.h"
#include "sim/journal.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sim {

// So long a host waits for the request line before it gives a burst up. Twin of REQUEST_TIMEOUT_S in port/request.h.
inline constexpr std::int64_t kRequestPatienceUs = 10'000'000;

struct UpgradeTimes {
    std::int64_t prepare_us; // from the start until it is ready
    std::int64_t write_us;   // from the end until the flash is written
};

class Upgrade {
  public:
    static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

    Upgrade(Faults &faults, Journal &journal) : faults_(faults), journal_(journal) {}

    // Whether the loader answers on port 1, and what.
    bool loading() const { return state_ != State::idle; }
    std::vector<std::uint8_t> answer(std::int64_t now) const;
    // Whether it will not take this payload; asked once, before receive(), because the answer goes out first.
    bool refuses(std::span<const std::uint8_t> payload);

    // A payload of the host; `answered`: whether the host gets a good answer in the same burst. False when the block
    // breaks down over it.
    bool receive(std::span<const std::uint8_t> payload, bool answered, const UpgradeTimes &times, std::int64_t now);

    // When the flash is written; kNever while it is not being written. written() then gives the new version, once.
    std::int64_t written_at() const { return state_ == State::writing ? written_at_ : kNever; }
    std::optional<std::uint32_t> written();
    // Loses everything: power or reset.
    void reset();

  private:
    enum class State : std::uint8_t { idle, preparing, failed, writing, written };

    void start(std::size_t length, const UpgradeTimes &times, std::int64_t now);
    void chunk(std::size_t index, std::span<const std::uint8_t> bytes, bool answered, std::int64_t now);
    void check_order(std::size_t index, std::int64_t now);
    void keep(std::size_t index, std::span<const std::uint8_t> bytes, std::int64_t now);
    void end(const UpgradeTimes &times, std::int64_t now);
    bool ready(std::int64_t now) const { return state_ == State::preparing && now >= ready_at_; }
    bool breaks_down(std::int64_t step);
    void offence(std::int64_t now, std::string_view name, std::string_view detail) const;

    Faults &faults_;
    Journal &journal_;
    State state_ = State::idle;
    std::int64_t ready_at_ = kNever;
    std::int64_t written_at_ = kNever;
    std::int64_t chunk_at_ = 0;       // when the last one came
    unsigned failed_before_ = 0;      // calls of the host, by then
    std::vector<std::uint8_t> image_; // as far as it is here
    std::vector<bool> here_;          // by chunk
    std::size_t count_here_ = 0;
    std::size_t expected_ = 0; // index of the next chunk
    bool refused_ = false;
    unsigned percent_ = 0;
};

// Steps of an upgrade as the fault `upgrade-cut` counts them; from 0 on they are chunks.
inline constexpr std::int64_t kCutStart = -3;
inline constexpr std::int64_t kCutReady = -2;
inline constexpr std::int64_t kCutEnd = -1;

// A payload on port 1 in words; empty when it is not the loader's language.
std::string describe_upgrade(std::span<const std::uint8_t> payload);

} // namespace sim
