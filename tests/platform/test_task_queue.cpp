#include "tests/platform/bench.h"

#include <gtest/gtest.h>

namespace {

using Lane = TaskQueue::Lane;

class TaskQueueTest : public testing::Test {
  public:
    // A task record as a driver makes it: writes its name down when it runs, and "~name" when it is destroyed.
    struct NamedTask {
        PTZTask task;
        std::string &done;
        std::string name;
        std::function<bool()> body;
    };

    // Queues one at that interval; it goes on for ever unless it has a body of its own.
    bool add(
        const std::string &name, std::int64_t interval_us, std::function<bool()> body = [] { return true; })
    {
        auto *named = new NamedTask{{run, nullptr, destroy, {}}, done, name, std::move(body)};
        named->task.data = named;
        return queue.add(&named->task, interval_us);
    }

    void post(const std::string &word, Lane lane = Lane::normal)
    {
        queue.post([this, word] { done += word + " "; }, lane);
    }

    std::string pass(std::int64_t us)
    {
        done.clear();
        bench.pass(us);
        return done;
    }

    std::string done; // outlives the queue, which hands the tasks back at its end
    QueueBench bench;
    TaskQueue &queue = bench.queue;

  private:
    static gboolean run(PTZTask *task)
    {
        auto *named = static_cast<NamedTask *>(task->data);
        named->done += named->name + " ";
        return named->body();
    }
    static void destroy(gpointer task)
    {
        const std::unique_ptr<NamedTask> named(static_cast<NamedTask *>(static_cast<PTZTask *>(task)->data));
        named->done += "~" + named->name + " ";
    }
};

TEST_F(TaskQueueTest, WorkRunsInItsOrderAndUrgentWorkOvertakesIt)
{
    add("tick", 100, [] { return false; });
    bench.clock.now += 100;
    post("a");
    queue.post([this] { post("c"); });
    post("b");
    post("stop", Lane::urgent);
    post("stop-again", Lane::urgent);
    EXPECT_EQ(pass(0), "stop stop-again a b tick ~tick c ");
}

TEST_F(TaskQueueTest, RepeatingTasksKeepTheirGridAndSkipMissedTicks)
{
    std::string ticks;
    add("tick", 33000, [&] {
        ticks += std::to_string(bench.clock.now - 5000) + " ";
        if (bench.clock.now == 5000 + 66500)
            bench.clock.now += 80000; // this tick takes two and a half intervals
        return true;
    });
    // The second tick comes late, at 66500, and takes until 146500: those of 99000 and 132000 are gone.
    for (const std::int64_t at : {32999, 33000, 40000, 66500, 164999, 165000})
        pass(5000 + at - bench.clock.now);
    EXPECT_EQ(ticks, "33000 66500 165000 ");
}

TEST_F(TaskQueueTest, DueRepetitionsWaitBehindWorkAlreadyThereAndAreNotStarvedByIt)
{
    add("tick", 10);
    int posted = 0;
    const std::function<void()> chain = [&] {
        done += "work ";
        bench.clock.now += 10;
        if (++posted < 3)
            queue.post(chain);
    };
    queue.post(chain);
    EXPECT_EQ(pass(0), "work work tick work tick ");
}

TEST_F(TaskQueueTest, TasksAreDestroyedOnceWhicheverWayTheyEnd)
{
    add("once", 0); // asks to go on, but was queued once
    add("ended", 10, [] { return false; });
    add("cancelled", 10);
    EXPECT_EQ(pass(10), "once ~once ended ~ended cancelled ");
    queue.cancel_repeating();
    EXPECT_EQ(done, "once ~once ended ~ended cancelled ~cancelled ");
    add("canceller", 10, [this] {
        queue.cancel_repeating(); // ends with this run
        return true;
    });
    add("due", 10);
    EXPECT_EQ(pass(10) + pass(100), "canceller ~due ~canceller ");

    add("waiting", 0);
    add("repeating", 10);
    PTZTask last{nullptr, this, nullptr, {}};
    last.destroy = [](gpointer task) {
        EXPECT_FALSE(static_cast<TaskQueueTest *>(static_cast<PTZTask *>(task)->data)->add("late", 0));
    };
    queue.add(&last, 0);
    queue.shutdown();
    EXPECT_EQ(done, "~waiting ~late ~repeating ");
    EXPECT_FALSE(add("later", 0));
    EXPECT_EQ(done, "~waiting ~late ~repeating ~later ");
}

} // namespace
