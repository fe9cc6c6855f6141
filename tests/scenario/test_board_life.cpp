// The camera's life from end to end: every way through start-up, heat and cold, and all of it in any order.
#include "tests/scenario/board_fixture.h"

#include <deque>
#include <random>

namespace {

// The framework's queue, run by hand.
std::deque<PTZTask *> jobs;

class Life : public OnBoard {
  protected:
    Life() : Life("TemperatureLowerLimit=-10\nTemperatureUpperLimit=60\n") {}
    explicit Life(const std::string &settings) : OnBoard((collect_jobs(), settings))
    {
        clock.wait_slice_us = 1'000'000; // a dead request line is waited for ten seconds, again and again
        g_signal_connect(driver, "notify::state", G_CALLBACK(note_state), this);
        log.take();
    }

    ~Life() override
    {
        operations().close(&base());
        for (int i = 0; i < 2; ++i)
            run_jobs();
        for (PTZTask *job : std::exchange(jobs, {})) // the controller's
            job->destroy(job);
        operations().queue_task = own_queue;
    }

    static void collect_jobs()
    {
        auto *klass = static_cast<PTZDriverClass *>(g_type_class_ref(ptz_driver_canon_get_type()));
        own_queue = klass->queue_task;
        klass->queue_task = [](PTZDriver *, PTZTask *job, gint64) -> gboolean {
            jobs.push_back(job);
            return TRUE;
        };
        g_type_class_unref(klass);
    }

    // One turn of every job; gives how many go on.
    std::size_t run_jobs()
    {
        for (PTZTask *job : std::exchange(jobs, {})) {
            if (job->function(job))
                jobs.push_back(job);
            else
                job->destroy(job);
        }
        return jobs.size();
    }

    void set_temperature(int degrees)
    {
        EXPECT_TRUE(board.command("set temperature " + std::to_string(degrees)).ok);
        run_jobs();
    }

    void change_capture_mode(const char *mode)
    {
        bus().replies["VideoCaptureMode"] = std::string("(<'") + mode + "'>,)";
        bus().emit("('com.orna.ImageControlStream', {'CaptureFrequency': <50>}, @as [])");
    }

    // Has something happen on the board as soon as the driver has come so far.
    void when(const std::function<bool()> &reached, const std::string &command)
    {
        clock.on_advance = [this, reached, command, done = false](std::int64_t us) mutable {
            if (!done && reached()) {
                done = true;
                EXPECT_TRUE(board.command(command).ok);
            }
            board.advance(us);
        };
    }

    // What was said of failures, and the states, since the last time.
    Lines fatal_lines()
    {
        Lines lines;
        for (const std::string &line : log.take())
            if (line.starts_with("error: Fatal error, ") || line.starts_with("warning: Could not"))
                lines.push_back(line.substr(line.find(": ") + 2));
        return lines;
    }
    std::vector<int> take_states() { return std::exchange(states, {}); }

    std::vector<int> states;

  private:
    static inline decltype(PTZDriverClass::queue_task) own_queue = nullptr;

    static void note_state(GObject *, GParamSpec *, gpointer self)
    {
        auto *life = static_cast<Life *>(self);
        life->states.push_back(life->base().state);
    }
};

using States = std::vector<int>;

TEST_F(Life, EachFailureOfStartUpHasItsMessagesAndItsEnd)
{
    const std::string fatal = "Fatal error, ";
    const Lines end{fatal + "Camera block setup is failed \n"};
    const Lines no_start{fatal + "failed to boot up the camera block", fatal + "could not start camera block",
                         fatal + "failed to communicate with camera block"};
    const auto command = [this](const char *line) { EXPECT_TRUE(board.command(line).ok); };
    const struct {
        const char *command; // to the board, or what comes about otherwise
        std::function<void()> arrange;
        std::vector<Lines> messages;
        States states;
    } rows[] = {
        // clang-format off
        {"no port", [this] { board.stop(); },
         {{fatal + "faild to open device \"" + folder.file("spi0") + "\". (No such file or directory:2)",
           fatal + "could not open port\n"}, end}, {4, 7}},
        {"fault power-good never", nullptr,
         {{fatal + "timeout is occurred while waiting for cam_power_good!\n",
           fatal + "camera block power could not be enabled.\n", fatal + "failed to supply power"}, no_start, end},
         {4, 7}},
        {"fault init-done never", nullptr,
         {{fatal + "timeout is occurred while waiting for cam_init_done!\n",
           fatal + "camera block could not be boot up.\n", fatal + "failed to release the reset for camera block"},
          no_start, end}, {4, 7}},
        {"set model 9", nullptr,
         {{fatal + "could not selected camera block model", fatal + "detected unknown camera block model",
           fatal + "could not start camera block"}}, {4, 1}},
        {"no return from the upgrade", [this] {
             put_image(0x02000000, 20001);
             when([this] { return base().state == PTZ_STATE_UPGRADING; }, "set model 9");
         },
         {{fatal + "could not selected camera block model", fatal + "detected unknown camera block model",
           fatal + "could not restart camera block"}, end}, {4, 5, 7}},
        {"no full status", [this] {
             driver->cam_model_id = -1;
             when([this] { return driver->cam_model_id == 1; }, "fault missing-block e0 forever");
         },
         {{fatal + "failed to communicate with camera block"}, end}, {4, 7}},
        {"no capture mode", [] { bus().replies.erase("VideoCaptureMode"); },
         {{fatal + "failed to get new capture mode", fatal + "failed to initialize capture mode"}, end}, {4, 7}},
        {"odd capture mode", [] { bus().replies["VideoCaptureMode"] = "(<'4k'>,)"; },
         {{fatal + "failed to set new capture mode", fatal + "failed to initialize capture mode"}, end}, {4, 7}},
        {"set status-bit lens 1 on", nullptr, {{fatal + "failed to initialize camera block"}, end}, {4, 7}},
        {"no rotation", [] { bus().replies.erase("Rotation"); },
         {{fatal + "Camera block parameters initialization failed"}}, {4, 1}},
        // clang-format on
    };
    open();
    for (const auto &row : rows) {
        SCOPED_TRACE(row.command);
        fatal_lines();
        take_states();
        row.arrange ? row.arrange() : command(row.command);
        reset();
        Lines messages;
        for (const Lines &some : row.messages)
            messages.insert(messages.end(), some.begin(), some.end());
        EXPECT_EQ(fatal_lines(), messages);
        EXPECT_EQ(take_states(), row.states);

        bus().replies = BusBench{}.replies;
        std::filesystem::remove(folder.file("IMC.APP"));
        clock.on_advance = [this](std::int64_t us) { board.advance(us); };
        for (const char *line : {"clear faults", "clear status", "set model 1", "set firmware 01020003"})
            command(line);
        static_cast<void>(board.start()); // only one row stopped it
        reset();
        EXPECT_TRUE(running());
        run_jobs();
        EXPECT_EQ(driver->device_error, 0u); // the poll has found it in order
    }
    EXPECT_EQ(board.offences(), sim::Counts{});
}

TEST_F(Life, GoesThroughItsStates)
{
    const auto expect_states = [this](const States &wanted) { EXPECT_EQ(take_states(), wanted); };
    set_temperature(-20);
    open(); // too cold to start
    expect_states({4, 2});
    set_temperature(20);
    expect_states({4, 1});
    set_temperature(70);
    expect_states({3});
    EXPECT_EQ(board.reading().state, sim::BlockState::off);
    move(motion(1, 50)); // nobody to send these to
    change_capture_mode("720p50");
    change_capture_mode("1080p60");
    GVariant *turned = g_variant_ref_sink(g_variant_new("(i)", 180));
    operations().signal_received(&base(), "CurrentRotationChanged", turned);
    g_variant_unref(turned);
    log.take();
    run_jobs();
    EXPECT_EQ(log.take(), Lines{});
    set_temperature(70);
    reset();
    expect_states({4, 3});
    set_temperature(20);
    expect_states({4, 1});

    move(motion(1, 50)); // in the middle of a move
    clock.advance(20'000);
    set_temperature(-20);
    expect_states({2});
    EXPECT_EQ(board.reading().state, sim::BlockState::off);
    set_temperature(20);
    expect_states({4, 1});

    put_image(0x02000000, 20001);
    reset();
    expect_states({4, 5, 4, 1});
    change_capture_mode("720p50");
    run_jobs();
    expect_states({4, 1});
    operations().close(&base());
    expect_states({6});
    set_temperature(70);
    set_temperature(20);
    change_capture_mode("720p60");
    run_jobs();
    expect_states({});
    EXPECT_EQ(board.reading().state, sim::BlockState::off);
    EXPECT_EQ(board.offences(), sim::Counts{});
}

TEST_F(Life, InAnyOrderLeavesNothingOver)
{
    open();
    ASSERT_TRUE(running());
    const std::size_t queued = run_jobs();
    const std::size_t descriptors = open_descriptors();
    const unsigned references = G_OBJECT(driver)->ref_count;
    std::mt19937 random(1);
    std::uint32_t version = 0x02000000;
    const std::function<void()> steps[] = {
        [this] { reset(); },
        [this] { set_temperature(70); },
        [this] { set_temperature(-20); },
        [this] { set_temperature(20); },
        [&] {
            put_image(++version, 20001);
            reset();
        },
        [this] { change_capture_mode("1080p50"); },
        [this] { change_capture_mode("1080p60"); },
        [this] { move(motion(1, 50)); },
        [this] { operations().stop(&base()); },
        [this] {
            operations().close(&base());
            open();
        },
    };
    for (int i = 0; i < 1000; ++i) {
        steps[random() % std::size(steps)]();
        if (random() % 2 == 0)
            run_jobs();
        clock.advance(33'000);
        log.take();
    }
    operations().close(&base()); // a driver whose temperature went while it started runs on without its jobs
    open();
    set_temperature(20);
    run_jobs();
    EXPECT_TRUE(running());
    EXPECT_EQ(run_jobs(), queued);
    EXPECT_EQ(bus().subscriptions(), 1u);
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(G_OBJECT(driver)->ref_count, references);
    EXPECT_EQ(G_OBJECT(driver->port)->ref_count, 2u);
    EXPECT_EQ(board.offences(), sim::Counts{});
}

} // namespace
