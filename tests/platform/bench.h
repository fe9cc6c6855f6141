// A command queue without a thread, on time that stands still until the test moves it.
#pragma once

#include "ptzorvel/common/task_queue.h"

// Stands still until the test moves it; nobody waits on it.
class ManualClock final : public QueueClock {
  public:
    std::int64_t now_us() override { return now; }
    void wait_until(std::condition_variable &, std::unique_lock<std::mutex> &, std::int64_t) override {}

    std::int64_t now = 5000;
};

// The test plays the command thread.
struct QueueBench {
    ManualClock clock;
    PTZCommandQueue command_queue{clock};
    TaskQueue &queue = command_queue.queue;

    // Lets that time pass and runs what is due then.
    void pass(std::int64_t us)
    {
        clock.now += us;
        while (queue.run_next()) {
        }
    }
};
