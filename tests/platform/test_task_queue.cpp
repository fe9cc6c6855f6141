// A command queue without a thread, on time that stands still: the test plays the command thread.
#include "ptzorvel/common/task_queue.h"

#include <gtest/gtest.h>

namespace {

// Stands still until the test moves it; nobody waits on it.
class ManualClock final : public QueueClock {
  public:
    std::int64_t now_us() override { return now; }
    void wait_until(std::condition_variable &, std::unique_lock<std::mutex> &, std::int64_t) override {}

    std::int64_t now = 5000;
};

class TaskQueueTest : public testing::Test {
  public:
    // A task record as a driver makes it: writes its name down when it runs, and "~name" when it is destroyed.
    struct NamedTask : PTZTask {
        TaskQueueTest &test;
        std::string name;
        std::function<bool()> body;
    };

    // Queues one at that interval; it goes on for as long as its body says.
    bool add(const std::string &name, std::int64_t interval_us, std::function<bool()> body = go_on,
             TaskQueue::Lane lane = TaskQueue::Lane::normal, bool rests = false)
    {
        const auto run = [](PTZTask *task) -> gboolean {
            auto *named = static_cast<NamedTask *>(task);
            named->test.done += named->name + " ";
            return named->body();
        };
        const auto destroy = [](gpointer task) {
            const std::unique_ptr<NamedTask> named(static_cast<NamedTask *>(static_cast<PTZTask *>(task)));
            named->test.done += "~" + named->name + " ";
        };
        return queue.add(new NamedTask{{run, nullptr, destroy, {}}, *this, name, std::move(body)}, interval_us, lane,
                         rests);
    }

    // Lets that time pass, runs what is due then and gives what was written down.
    std::string pass(std::int64_t us)
    {
        done.clear();
        clock.now += us;
        while (queue.run_next()) {
        }
        return done;
    }

    static bool go_on() { return true; }

    std::string done; // outlives the queue, which hands the tasks back at its end
    ManualClock clock;
    TaskQueue queue{clock};
};

TEST_F(TaskQueueTest, UrgentWorkOvertakesOtherWorkWhichDoesNotStarveTicks)
{
    add("tick", 10);
    int posted = 0;
    const std::function<void()> chain = [&] {
        done += "work ";
        clock.now += 10;
        if (++posted < 3)
            queue.post(chain);
    };
    queue.post(chain);
    add("next", 0);
    add("stop", 0, go_on, TaskQueue::Lane::urgent);
    add("stop-again", 0, go_on, TaskQueue::Lane::urgent);
    EXPECT_EQ(pass(0), "stop ~stop stop-again ~stop-again work next ~next work tick work tick ");
}

TEST_F(TaskQueueTest, RepeatingTasksKeepTheirGridAndSkipMissedTicks)
{
    std::string ticks;
    add("tick", 33000, [&] {
        ticks += std::to_string(clock.now - 5000) + " ";
        if (clock.now == 5000 + 66500)
            clock.now += 80000; // this tick takes two and a half intervals
        return true;
    });
    // The second tick comes late, at 66500, and takes until 146500: those of 99000 and 132000 are gone.
    for (const std::int64_t at : {32999, 33000, 40000, 66500, 164999, 165000})
        pass(5000 + at - clock.now);
    EXPECT_EQ(ticks, "33000 66500 165000 ");
}

TEST_F(TaskQueueTest, TasksOfOneIntervalRunAtTheSameTicksInTheirOrder)
{
    add("poll", 30);
    EXPECT_EQ(pass(10), "");
    add("other", 40);
    add("publish", 30);
    for (const auto &[passes, run] : std::initializer_list<std::pair<std::int64_t, const char *>>{
             {19, ""}, {1, "poll publish "}, {20, "other "}, {9, ""}, {1, "poll publish "}})
        EXPECT_EQ(pass(passes), run);
    clock.now += 35; // the third tick is late when another task comes
    add("late", 30);
    EXPECT_EQ(pass(0), "poll other publish ");
    EXPECT_EQ(pass(25), "poll publish late ");
}

TEST_F(TaskQueueTest, TasksThatRestStayQueuedAndGoOnOnTheirGrid)
{
    add("watch", 40);
    add("poll", 30, go_on, TaskQueue::Lane::normal, true);
    add("pause", 0, [this] {
        clock.now += 30;
        queue.run_next(); // by which the poll's turn has come
        queue.rest(true);
        return false;
    });
    add("last", 0);
    EXPECT_EQ(pass(0), "pause last ~last ~pause ");
    EXPECT_EQ(pass(60), "watch ");
    EXPECT_EQ(queue.repeating(), 2u);
    queue.rest(false);
    EXPECT_EQ(pass(0), "poll "); // once for the ticks of 30, 60 and 90
    EXPECT_EQ(pass(29), "");
    EXPECT_EQ(pass(1), "watch poll ");
}

TEST_F(TaskQueueTest, AnIdleQueueTakesWhatOthersWouldDelay)
{
    const auto ask = [this] { return queue.post_if_idle([this] { done += "asked "; }); };
    add("tick", 10, [ask] { return !ask(); });
    EXPECT_EQ(pass(10), "tick "); // at work
    EXPECT_TRUE(ask());
    EXPECT_FALSE(ask()); // work waits
    EXPECT_EQ(pass(10), "asked tick ");
    queue.close();
    EXPECT_FALSE(ask());
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
        EXPECT_FALSE(static_cast<TaskQueueTest *>(static_cast<PTZTask *>(task)->data)->add("late", 0, go_on));
    };
    queue.add(&last, 0);
    queue.shutdown();
    EXPECT_FALSE(add("later", 0, go_on));
    EXPECT_EQ(done, "~waiting ~late ~repeating ~later ");
}

} // namespace
