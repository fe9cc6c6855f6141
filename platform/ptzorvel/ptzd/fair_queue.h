// Work of many clients on the command thread: each client's in its order, the clients in turns, one work at a time.
#pragma once

#include "ptzorvel/common/task_queue.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <string>

class FairQueue {
  public:
    // Of clients that have left, so many works are carried out all the same, in one turn with each other.
    static constexpr std::size_t kMostOfGone = 64;

    using Work = std::function<void()>;

    // `queue` carries out the works and must outlive this.
    explicit FairQueue(TaskQueue &queue) : queue_(queue) {}
    FairQueue(const FairQueue &) = delete;
    FairQueue &operator=(const FairQueue &) = delete;

    // Any thread. After close() the work is destroyed at once.
    void post(const std::string &client, Work work);
    // That client posts nothing more.
    void left(const std::string &client);
    // Destroys what waits, on the calling thread, and takes nothing more.
    void close();

  private:
    struct Lane {
        std::string client; // empty: those that have left
        std::deque<Work> works;
    };
    using Lanes = std::list<Lane>;

    Lanes::iterator lane_of(const std::string &client); // under the lock
    void carry_on();
    void run_next(); // command thread

    TaskQueue &queue_;
    std::mutex mutex_;
    Lanes lanes_;          // none empty; the first has its turn
    bool waiting_ = false; // a run_next() is queued
    bool closed_ = false;
};
