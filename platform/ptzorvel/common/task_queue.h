// The command thread and what waits for it. For the framework and ptzd; drivers see ptz_task.h.
//
// Everything that concerns a driver runs on one thread, one piece of work at a time: one-shot work in the order in
// which it was queued, repeating work on its grid. Due repetitions line up behind the one-shot work that already waits,
// so neither starves the other. The urgent lane overtakes both.
#pragma once

#include "ptzorvel/ptz_task.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

// The queue's only source of time.
class QueueClock {
  public:
    virtual ~QueueClock() = default;
    // Microseconds that never go back.
    virtual std::int64_t now_us() = 0;
    // Waits until `condition` is notified or `deadline_us` has come (INT64_MAX: for ever); may return early.
    virtual void wait_until(std::condition_variable &condition, std::unique_lock<std::mutex> &lock,
                            std::int64_t deadline_us) = 0;
};

// The machine's clock.
QueueClock &queue_machine_clock();

// Makes it run that many times as fast as the wall's; above 0. Call it before a queue is started.
void queue_set_time_scale(double scale);

class TaskQueue {
  public:
    enum class Lane { normal, urgent };

    // `clock` must outlive the queue. Work can be added at once; it runs when start() or run_next() is called.
    explicit TaskQueue(QueueClock &clock = queue_machine_clock());
    ~TaskQueue(); // shutdown()
    TaskQueue(const TaskQueue &) = delete;
    TaskQueue &operator=(const TaskQueue &) = delete;

    // Queues a task: once when `interval_us` is 0 or less, else every `interval_us` from now on until its function
    // returns FALSE; its first tick comes sooner when others of that interval are there, as it then runs at their
    // ticks, behind them. A tick that finds the thread busy comes late; ticks that pass meanwhile are skipped, and the
    // grid stays where it was. `rests`: it is one of those that rest() is about. False after close(): the task has been
    // destroyed.
    bool add(PTZTask *task, std::int64_t interval_us, Lane lane = Lane::normal, bool rests = false);

    // Queues a function, once. False after close(): the function has been destroyed.
    bool post(std::function<void()> work, Lane lane = Lane::normal);

    // The same, but false as well when the thread is at work or work waits: the function would not run at once.
    bool post_if_idle(std::function<void()> work);

    // From true to false, repeating tasks that rest stay queued and are not run; then they go on on their grid.
    void rest(bool resting);

    // Ends every repeating task; one that is just running ends when it returns.
    void cancel_repeating();

    // Starts the command thread.
    void start();

    // Takes nothing more; the piece of work that runs now is the last. What waits is destroyed on the command thread.
    void close();

    // Closes the queue and waits until all that is done and the thread has ended. Not from the command thread.
    void shutdown();

    void wake();

    // Whether the caller is being run by this queue.
    bool on_command_thread() const;

    // Runs the next piece of work that is due; false when there is none. For owners that start no thread.
    bool run_next();

    // How many tasks wait once, and how many repeat.
    std::size_t waiting() const;
    std::size_t repeating() const;

  private:
    struct Job;
    using JobPtr = std::shared_ptr<Job>;

    void loop();
    std::int64_t first_tick(std::int64_t interval_us);
    void collect_due();
    std::int64_t next_due() const;
    JobPtr take_next();
    void finish(const JobPtr &job, bool again);
    void add_job(const JobPtr &job, Lane lane);

    QueueClock &clock_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<JobPtr> urgent_;
    std::deque<JobPtr> ready_;
    std::list<JobPtr> repeating_;
    bool closed_ = false;
    bool resting_ = false;
    bool at_work_ = false;
    std::atomic<std::thread::id> runner_{};
    std::thread thread_;
};

// The queue as drivers know it.
struct _PTZCommandQueue {
    TaskQueue queue;

    explicit _PTZCommandQueue(QueueClock &clock = queue_machine_clock()) : queue(clock) {}
};

// The command queue of this process, which new drivers take; null when there is none. Not owned.
PTZCommandQueue *ptz_command_queue_current();
void ptz_command_queue_set_current(PTZCommandQueue *queue);
