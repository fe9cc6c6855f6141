#include "ptzorvel/ptzd/trace_queue.h"

TraceQueue::TraceQueue() : cells_(new Cell[kSize])
{
    for (std::size_t i = 0; i < kSize; ++i)
        cells_[i].turn.store(i, std::memory_order_relaxed);
}

TraceRecord *TraceQueue::begin()
{
    std::size_t head = head_.load(std::memory_order_relaxed);
    for (;;) {
        Cell &cell = cells_[head % kSize];
        const std::size_t turn = cell.turn.load(std::memory_order_acquire);
        if (turn == head) {
            if (head_.compare_exchange_weak(head, head + 1, std::memory_order_relaxed))
                return &cell.record;
        } else if (static_cast<std::ptrdiff_t>(turn - head) < 0) { // not read yet since the last time round
            lose();
            return nullptr;
        } else {
            head = head_.load(std::memory_order_relaxed);
        }
    }
}

void TraceQueue::end(const TraceRecord *record)
{
    // Its cell is still as its turn was when it was taken: nobody else has it.
    Cell &cell = cells_[static_cast<std::size_t>(reinterpret_cast<const char *>(record) -
                                                 reinterpret_cast<const char *>(cells_.get())) /
                        sizeof(Cell)];
    cell.turn.store(cell.turn.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

TraceRecord *TraceQueue::oldest()
{
    const std::size_t tail = tail_.load(std::memory_order_relaxed);
    Cell &cell = cells_[tail % kSize];
    return cell.turn.load(std::memory_order_acquire) == tail + 1 ? &cell.record : nullptr;
}

void TraceQueue::drop()
{
    const std::size_t tail = tail_.load(std::memory_order_relaxed);
    cells_[tail % kSize].turn.store(tail + kSize, std::memory_order_release);
    tail_.store(tail + 1, std::memory_order_relaxed);
}
