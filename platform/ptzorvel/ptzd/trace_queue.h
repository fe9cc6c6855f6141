// From the threads that have something to record to the one that writes: a ring of records which nobody waits for.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

// One burst with both directions, or one line of another kind.
struct TraceRecord {
    enum class Kind : std::uint8_t { burst, text };
    static constexpr std::size_t kMost = 4096; // bytes that one can hold

    std::int64_t us = 0;
    Kind kind = Kind::burst;
    unsigned port = 0;
    int result = 0;         // of the transfer: bytes clocked, or minus errno
    std::size_t length = 0; // that were to be clocked
    std::size_t first = 0;  // bytes from the host, or the whole text
    std::size_t second = 0; // bytes from the block, behind them
    std::array<char, kMost> bytes;
};

class TraceQueue {
  public:
    TraceQueue();

    // Room for a record that this thread alone fills and then hands over; null when the ring is full, which counts as a
    // loss. Never waits.
    TraceRecord *begin();
    void end(const TraceRecord *record);
    // A record that does not fit any.
    void lose() { lost_.fetch_add(1, std::memory_order_relaxed); }

    // The reading thread: the oldest record, which stays until drop(); null when there is none.
    TraceRecord *oldest();
    void drop();
    // Records that were lost since the last call.
    unsigned take_lost() { return lost_.exchange(0, std::memory_order_relaxed); }
    // About how many wait.
    std::size_t waiting() const
    {
        return head_.load(std::memory_order_relaxed) - tail_.load(std::memory_order_relaxed);
    }
    static constexpr std::size_t kSize = 512;

  private:
    struct Cell {
        std::atomic<std::size_t> turn{0}; // whose it is: the position to write next, or that and one when it is written
        TraceRecord record;
    };

    std::unique_ptr<Cell[]> cells_;
    std::atomic<std::size_t> head_{0};
    std::atomic<std::size_t> tail_{0}; // of the reading thread
    std::atomic<unsigned> lost_{0};
};
