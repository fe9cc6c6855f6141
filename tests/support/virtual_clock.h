// Time for tests: it stands still until the code under test sleeps or waits, then jumps.
#pragma once

#include "core/clock.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <poll.h>

// In force from construction to destruction.
class VirtualClock : public Clock {
  public:
    explicit VirtualClock(std::int64_t start_us = 1'000'000'000'000'000) : now_(start_us) { clock_set(this); }
    ~VirtualClock() override { clock_set(nullptr); }

    // Called with the microseconds that have just passed, e.g. to let a simulated board move on.
    std::function<void(std::int64_t)> on_advance;
    // Takes the place of the poll in wait_exceptional: 1 ready, 0 not yet, -1 failure (errno).
    std::function<int(int fd)> on_poll;
    // wait_exceptional looks at the descriptor again after every slice; 0: only at the end of the timeout.
    std::int64_t wait_slice_us = 0;

    std::int64_t now_us() override { return now_; }

    void sleep_us(std::int64_t us) override
    {
        ++sleeps_;
        slept_us_ += us;
        advance(us);
    }

    int wait_exceptional(int fd, std::int64_t timeout_us) override
    {
        ++waits_;
        for (std::int64_t left = timeout_us;;) {
            const int ready = on_poll ? on_poll(fd) : poll_now(fd);
            if (ready != 0 || left <= 0)
                return ready;
            const std::int64_t step = wait_slice_us > 0 ? std::min(wait_slice_us, left) : left;
            advance(step);
            left -= step;
        }
    }

    void advance(std::int64_t us)
    {
        now_ += us;
        if (on_advance)
            on_advance(us);
    }

    int sleeps() const { return sleeps_; }
    std::int64_t slept_us() const { return slept_us_; }
    int waits() const { return waits_; }

  private:
    static int poll_now(int fd)
    {
        pollfd entry{fd, POLLPRI, 0};
        const int ready = poll(&entry, 1, 0);
        if (ready < 0 || (entry.revents & POLLNVAL) != 0)
            return -1;
        return (entry.revents & POLLPRI) != 0 ? 1 : 0;
    }

    std::atomic<std::int64_t> now_;
    std::atomic<int> sleeps_{0};
    std::atomic<std::int64_t> slept_us_{0};
    std::atomic<int> waits_{0};
};
