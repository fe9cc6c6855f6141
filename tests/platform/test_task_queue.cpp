#include "ptzorvel/common/task_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <future>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

// Stands still until the test moves it; nobody waits on it.
class ManualClock final : public QueueClock {
  public:
    std::int64_t now_us() override { return now; }
    void wait_until(std::condition_variable &, std::unique_lock<std::mutex> &, std::int64_t) override {}

    std::int64_t now = 5000;
};

// A task record as a driver makes it.
struct CountedTask {
    PTZTask task{run, this, destroy, {}};
    std::function<bool()> body;
    int destroyed = 0;

    explicit CountedTask(std::function<bool()> work) : body(std::move(work)) {}
    CountedTask(const CountedTask &) = delete;
    CountedTask &operator=(const CountedTask &) = delete;

    static gboolean run(PTZTask *task) { return static_cast<CountedTask *>(task->data)->body() ? TRUE : FALSE; }
    static void destroy(gpointer task) { static_cast<CountedTask *>(static_cast<PTZTask *>(task)->data)->destroyed++; }
};

class TaskQueueTest : public testing::Test {
  protected:
    void run_all()
    {
        while (queue.run_next()) {
        }
    }
    void advance_to(std::int64_t us)
    {
        clock.now = us;
        run_all();
    }
    auto note(const std::string &word)
    {
        return [this, word] { done.push_back(word); };
    }

    CountedTask &make(std::function<bool()> body = [] { return true; }) { return tasks.emplace_back(std::move(body)); }

    ManualClock clock;
    std::deque<CountedTask> tasks; // outlive the queue, which hands them back at its end
    TaskQueue queue{clock};
    std::vector<std::string> done;
    std::vector<std::int64_t> ticks;
};

TEST_F(TaskQueueTest, WorkRunsInTheOrderInWhichItWasQueued)
{
    queue.post(note("a"));
    queue.post([this] {
        done.push_back("b");
        queue.post(note("d"));
    });
    queue.post(note("c"));
    run_all();
    EXPECT_THAT(done, ElementsAre("a", "b", "c", "d"));
}

TEST_F(TaskQueueTest, UrgentWorkOvertakesAllThatWaits)
{
    CountedTask &repeating = make([this] {
        done.push_back("tick");
        return false;
    });
    queue.add(&repeating.task, 100);
    clock.now += 100;
    queue.post(note("move"));
    queue.post(note("stop"), TaskQueue::Lane::urgent);
    queue.post(note("stop again"), TaskQueue::Lane::urgent);
    run_all();
    EXPECT_THAT(done, ElementsAre("stop", "stop again", "move", "tick"));
}

TEST_F(TaskQueueTest, RepeatingTasksKeepTheirGridAndSkipMissedTicks)
{
    CountedTask &task = make([this] {
        ticks.push_back(clock.now - 5000);
        if (ticks.size() == 2)
            clock.now += 80000; // this tick takes two and a half intervals
        return true;
    });
    queue.add(&task.task, 33000);
    for (const std::int64_t at : {32999, 33000, 40000, 66500})
        advance_to(5000 + at);
    // The second tick came late, at 66500, and took until 146500: those of 99000 and 132000 are gone.
    advance_to(5000 + 164999);
    EXPECT_THAT(ticks, ElementsAre(33000, 66500));
    advance_to(5000 + 165000);
    EXPECT_THAT(ticks, ElementsAre(33000, 66500, 165000));
}

TEST_F(TaskQueueTest, DueRepetitionsWaitBehindWorkAlreadyThereAndAreNotStarvedByIt)
{
    CountedTask &task = make([this] {
        done.push_back("tick");
        return true;
    });
    queue.add(&task.task, 10);
    int posted = 0;
    const std::function<void()> chain = [&] {
        done.push_back("work");
        clock.now += 10;
        if (++posted < 3)
            queue.post(chain);
    };
    queue.post(chain);
    run_all();
    EXPECT_THAT(done, ElementsAre("work", "work", "tick", "work", "tick"));
}

TEST_F(TaskQueueTest, TasksAreDestroyedOnceWhicheverWayTheyEnd)
{
    CountedTask &once = make([] { return true; }); // asks to go on, but was queued once
    CountedTask &ended = make([] { return false; });
    CountedTask &cancelled = make(), &waiting = make(), &left_repeating = make(), &late = make();
    queue.add(&once.task, 0);
    queue.add(&ended.task, 10);
    queue.add(&cancelled.task, 10);
    advance_to(5010);
    EXPECT_EQ(once.destroyed, 1);
    EXPECT_EQ(ended.destroyed, 1);
    EXPECT_EQ(cancelled.destroyed, 0);
    queue.cancel_repeating();
    EXPECT_EQ(cancelled.destroyed, 1);

    queue.add(&waiting.task, 0);
    queue.add(&left_repeating.task, 10);
    queue.shutdown();
    EXPECT_EQ(waiting.destroyed, 1);
    EXPECT_EQ(left_repeating.destroyed, 1);
    EXPECT_FALSE(queue.add(&late.task, 0));
    EXPECT_EQ(late.destroyed, 1);
    EXPECT_EQ(once.destroyed + ended.destroyed + cancelled.destroyed, 3);
}

TEST_F(TaskQueueTest, ARepeatingTaskThatCancelsAllRepetitionsEndsWithItsRun)
{
    CountedTask &task = make([this] {
        queue.cancel_repeating();
        EXPECT_EQ(queue.repeating(), 0u);
        return true;
    });
    queue.add(&task.task, 10);
    advance_to(5010);
    EXPECT_EQ(task.destroyed, 1);
    advance_to(5100);
    EXPECT_EQ(task.destroyed, 1);
}

TEST_F(TaskQueueTest, ADestroyThatQueuesMoreAtShutdownIsRefused)
{
    struct Chained {
        PTZTask task;
        TaskQueue *queue;
        CountedTask &next;
        bool accepted = true;
    } chained{{nullptr, &chained, nullptr, {}}, &queue, make()};
    chained.task.destroy = [](gpointer task) {
        auto *self = static_cast<Chained *>(static_cast<PTZTask *>(task)->data);
        self->accepted = self->queue->add(&self->next.task, 0);
    };
    queue.add(&chained.task, 0);
    queue.shutdown();
    EXPECT_FALSE(chained.accepted);
    EXPECT_EQ(chained.next.destroyed, 1);
}

TEST(TaskQueueThread, RunsEverythingOnOneThreadAndDestroysTheRestThere)
{
    TaskQueue queue;
    std::promise<std::thread::id> ran_on;
    std::thread::id destroyed_on;
    PTZTask record{nullptr, &destroyed_on, nullptr, {}};
    record.destroy = [](gpointer task) {
        *static_cast<std::thread::id *>(static_cast<PTZTask *>(task)->data) = std::this_thread::get_id();
    };
    queue.post([&] {
        EXPECT_TRUE(queue.on_command_thread());
        queue.add(&record, 1000000000);
        ran_on.set_value(std::this_thread::get_id());
    });
    EXPECT_FALSE(queue.on_command_thread());
    queue.start();
    const auto thread = ran_on.get_future().get();
    queue.shutdown();
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(destroyed_on, thread);
}

TEST(TaskQueueThread, WorkQueuedWhileTheThreadSleepsWakesIt)
{
    TaskQueue queue;
    queue.start();
    for (int i = 0; i < 100; i++) {
        std::promise<void> ran;
        queue.post([&] { ran.set_value(); });
        ran.get_future().get();
    }
}

} // namespace
