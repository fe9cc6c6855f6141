// Time and files for tests: a command queue without a thread, and a folder that comes and goes.
#pragma once

#include "ptzorvel/common/task_queue.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

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

struct TempFolder {
    char path[32] = "/tmp/ptz-platform-XXXXXX";

    TempFolder()
    {
        if (mkdtemp(path) == nullptr)
            std::abort();
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;
    ~TempFolder() { std::filesystem::remove_all(path); }

    void write(const std::string &name, const std::string &text) const
    {
        const std::filesystem::path file = std::filesystem::path(path) / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
};
