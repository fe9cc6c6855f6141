#include "ptzorvel/common/task_queue.h"

#include <algorithm>
#include <chrono>
#include <pthread.h>
#include <utility>

// A task in the queue's hands: destroying the job hands the record back.
struct TaskQueue::Job {
    PTZTask *task;
    std::int64_t interval_us; // 0: once
    std::int64_t due_us = 0;
    bool queued = false; // waits in a lane at this moment
    bool cancelled = false;
    const bool rests;

    Job(PTZTask *queued_task, std::int64_t interval, bool may_rest)
        : task(queued_task), interval_us(interval), rests(may_rest)
    {
    }
    Job(const Job &) = delete;
    Job &operator=(const Job &) = delete;
    ~Job()
    {
        if (task->destroy != nullptr)
            task->destroy(task);
    }
};

namespace {

struct FunctionTask {
    PTZTask task; // first: the queue knows the record by this address
    std::function<void()> work;
};

gboolean run_function(PTZTask *task)
{
    static_cast<FunctionTask *>(task->data)->work();
    return FALSE;
}

void destroy_function(gpointer task)
{
    delete static_cast<FunctionTask *>(static_cast<PTZTask *>(task)->data);
}

PTZTask *function_task(std::function<void()> work)
{
    auto *function = new FunctionTask{{run_function, nullptr, destroy_function, {}}, std::move(work)};
    function->task.data = function;
    return &function->task;
}

class MachineClock final : public QueueClock {
  public:
    std::int64_t now_us() override
    {
        const auto passed = std::chrono::steady_clock::now() - start_;
        const double us = std::chrono::duration<double, std::micro>(passed).count();
        return static_cast<std::int64_t>(us * scale_);
    }

    void set_scale(double scale) { scale_ = scale; }

    void wait_until(std::condition_variable &condition, std::unique_lock<std::mutex> &lock,
                    std::int64_t deadline_us) override
    {
        const std::int64_t left = deadline_us - now_us();
        if (left > kLongestWaitUs)
            condition.wait(lock);
        else if (left > 0)
            condition.wait_for(lock, std::chrono::duration<double, std::micro>(static_cast<double>(left) / scale_));
    }

  private:
    static constexpr std::int64_t kLongestWaitUs = std::int64_t{1} << 50;

    std::atomic<double> scale_{1.0};
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

std::atomic<PTZCommandQueue *> current_queue{nullptr};

} // namespace

static MachineClock &machine_clock()
{
    static MachineClock clock;
    return clock;
}

QueueClock &queue_machine_clock()
{
    return machine_clock();
}

void queue_set_time_scale(double scale)
{
    machine_clock().set_scale(scale);
}

TaskQueue::TaskQueue(QueueClock &clock) : clock_(clock)
{
}

TaskQueue::~TaskQueue()
{
    shutdown();
}

bool TaskQueue::add(PTZTask *task, std::int64_t interval_us, Lane lane, bool rests)
{
    // The job is made first: whatever happens below, the record is handed back exactly once, and outside the lock.
    const auto job = std::make_shared<Job>(task, std::max<std::int64_t>(interval_us, 0), rests);
    const std::lock_guard lock(mutex_);
    if (closed_)
        return false;
    add_job(job, lane);
    return true;
}

// Under the lock.
void TaskQueue::add_job(const JobPtr &job, Lane lane)
{
    if (job->interval_us > 0) {
        job->due_us = first_tick(job->interval_us);
        repeating_.push_back(job);
    } else {
        job->queued = true;
        (lane == Lane::urgent ? urgent_ : ready_).push_back(job);
    }
    changed_.notify_all();
}

bool TaskQueue::post(std::function<void()> work, Lane lane)
{
    return add(function_task(std::move(work)), 0, lane);
}

bool TaskQueue::post_if_idle(std::function<void()> work)
{
    const auto job = std::make_shared<Job>(function_task(std::move(work)), 0, false);
    const std::lock_guard lock(mutex_);
    if (closed_ || at_work_ || !urgent_.empty() || !ready_.empty())
        return false;
    add_job(job, Lane::normal);
    return true;
}

void TaskQueue::rest(bool resting)
{
    const std::lock_guard lock(mutex_);
    resting_ = resting;
    if (resting_)
        std::erase_if(ready_, [](const JobPtr &job) {
            if (job->rests)
                job->queued = false;
            return job->rests;
        });
    changed_.notify_all();
}

void TaskQueue::cancel_repeating()
{
    std::list<JobPtr> ended; // released after the lock
    const std::lock_guard lock(mutex_);
    ended.swap(repeating_);
    for (const JobPtr &job : ended)
        job->cancelled = true;
    ready_.erase(std::remove_if(ready_.begin(), ready_.end(), [](const JobPtr &job) { return job->cancelled; }),
                 ready_.end());
}

void TaskQueue::start()
{
    if (!thread_.joinable())
        thread_ = std::thread([this] {
            pthread_setname_np(pthread_self(), "commands"); // for whoever looks at the threads of a process that hangs
            loop();
        });
}

void TaskQueue::close()
{
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
}

void TaskQueue::shutdown()
{
    close();
    if (thread_.joinable())
        thread_.join();
    else
        loop();
}

void TaskQueue::wake()
{
    const std::lock_guard lock(mutex_);
    changed_.notify_all();
}

bool TaskQueue::on_command_thread() const
{
    return runner_.load() == std::this_thread::get_id();
}

bool TaskQueue::run_next()
{
    JobPtr job;
    {
        const std::lock_guard lock(mutex_);
        job = take_next();
        at_work_ = job != nullptr;
    }
    if (job == nullptr)
        return false;
    const std::thread::id before = runner_.exchange(std::this_thread::get_id());
    const bool again = job->task->function != nullptr && job->task->function(job->task) != FALSE;
    finish(job, again);
    job.reset();
    runner_ = before;
    return true;
}

std::size_t TaskQueue::waiting() const
{
    const std::lock_guard lock(mutex_);
    const auto once = [](const JobPtr &job) { return job->interval_us == 0; };
    return urgent_.size() + static_cast<std::size_t>(std::count_if(ready_.begin(), ready_.end(), once));
}

std::size_t TaskQueue::repeating() const
{
    const std::lock_guard lock(mutex_);
    return repeating_.size();
}

void TaskQueue::loop()
{
    std::unique_lock lock(mutex_);
    while (!closed_) {
        lock.unlock();
        const bool ran = run_next();
        lock.lock();
        collect_due();
        if (!ran && !closed_ && urgent_.empty() && ready_.empty())
            clock_.wait_until(changed_, lock, next_due());
    }
    auto urgent = std::exchange(urgent_, {});
    auto ready = std::exchange(ready_, {});
    auto repeating = std::exchange(repeating_, {});
    lock.unlock();
    // What is handed back may try to queue more, which is refused by now.
    runner_ = std::this_thread::get_id();
    urgent.clear();
    ready.clear();
    repeating.clear();
    runner_ = std::thread::id{};
}

// Tasks of one interval share a grid, so that the thread is woken once for all of them.
std::int64_t TaskQueue::first_tick(std::int64_t interval_us)
{
    const std::int64_t now = clock_.now_us();
    for (const JobPtr &job : repeating_)
        if (job->interval_us == interval_us) {
            const std::int64_t ahead = (job->due_us - now) % interval_us; // negative when the other one is late
            return now + (ahead > 0 ? ahead : ahead + interval_us);
        }
    return now + interval_us;
}

void TaskQueue::collect_due()
{
    const std::int64_t now = clock_.now_us();
    for (;;) {
        JobPtr earliest;
        for (const JobPtr &job : repeating_)
            if (!job->queued && !(resting_ && job->rests) && job->due_us <= now &&
                (earliest == nullptr || job->due_us < earliest->due_us))
                earliest = job;
        if (earliest == nullptr)
            return;
        earliest->queued = true;
        ready_.push_back(earliest);
    }
}

std::int64_t TaskQueue::next_due() const
{
    std::int64_t next = INT64_MAX;
    for (const JobPtr &job : repeating_)
        if (!job->queued && !(resting_ && job->rests))
            next = std::min(next, job->due_us);
    return next;
}

TaskQueue::JobPtr TaskQueue::take_next()
{
    collect_due();
    auto &lane = urgent_.empty() ? ready_ : urgent_;
    if (closed_ || lane.empty())
        return nullptr;
    JobPtr job = lane.front();
    lane.pop_front();
    return job;
}

void TaskQueue::finish(const JobPtr &job, bool again)
{
    const std::lock_guard lock(mutex_);
    at_work_ = job->queued = false;
    if (job->interval_us == 0)
        return;
    if (!again || job->cancelled) {
        repeating_.remove(job);
        return;
    }
    const std::int64_t late = std::max<std::int64_t>(clock_.now_us() - job->due_us, 0);
    job->due_us += (late / job->interval_us + 1) * job->interval_us;
}

void ptz_driver_interface_command_queue_signal(PTZCommandQueue *queue)
{
    if (queue != nullptr)
        queue->queue.wake();
}

PTZCommandQueue *ptz_command_queue_current()
{
    return current_queue;
}

void ptz_command_queue_set_current(PTZCommandQueue *queue)
{
    current_queue = queue;
}
