#include "core/clock.h"
#include "glib_owned.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

// Ten seconds pass in ten milliseconds here.
class ClockTest : public testing::Test {
  protected:
    ClockTest() { clock_set_time_scale(1000); }
    ~ClockTest() override { clock_set_time_scale(1); }
};

constexpr std::int64_t TEN_SECONDS = 10'000'000;

volatile std::sig_atomic_t alarms = 0;

TEST_F(ClockTest, InterruptedWaitGoesOnWithWhatIsLeft)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    struct sigaction action {};
    action.sa_handler = [](int) { alarms = alarms + 1; };
    sigaction(SIGALRM, &action, nullptr);
    const itimerval every_millisecond{{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &every_millisecond, nullptr);
    const std::int64_t before = clock_get().monotonic_us();
    EXPECT_EQ(clock_wait_exceptional(ends[0], TEN_SECONDS), 0);
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_GE(clock_get().monotonic_us() - before, TEN_SECONDS);
    EXPECT_GT(alarms, 0);
    close(ends[0]);
    close(ends[1]);
}

// A pseudo-terminal whose slave was flushed is exceptionally ready, as a line that has seen an edge is.
struct Edge {
    Edge()
    {
        int on = 1;
        if (grantpt(master) != 0 || unlockpt(master) != 0 || ioctl(master, TIOCPKT, &on) != 0)
            return;
        slave = open(ptsname(master), O_RDWR | O_NOCTTY);
        tcflush(slave, TCIFLUSH);
    }
    ~Edge()
    {
        close(slave);
        close(master);
    }
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    int slave = -1;
};

TEST_F(ClockTest, AnEdgeIsSeenOnWhateverDescriptor)
{
    const Edge edge;
    EXPECT_EQ(clock_wait_exceptional(edge.master, TEN_SECONDS), 1);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, std::min<rlim_t>(limit.rlim_max, 4096));
    setrlimit(RLIMIT_NOFILE, &limit);
    const int high = fcntl(edge.master, F_DUPFD, 1100); // beyond what select can hold
    ASSERT_GE(high, 1100);
    EXPECT_EQ(clock_wait_exceptional(high, TEN_SECONDS), 1);
    close(high);
    EXPECT_EQ(clock_wait_exceptional(high, TEN_SECONDS), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(clock_wait_exceptional(-1, TEN_SECONDS), 0);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[1]);
    EXPECT_EQ(clock_wait_exceptional(ends[0], TEN_SECONDS), 0); // hung up: none will come
    close(ends[0]);
}

TEST_F(ClockTest, NothingWaitsWhileItIsCancelled)
{
    clock_set_time_scale(1);
    const GOwned<GCancellable, g_object_unref> cancel(g_cancellable_new());
    clock_set_cancellable(cancel.get());
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::thread canceller([&] { g_cancellable_cancel(cancel.get()); });
    const std::int64_t before = clock_get().monotonic_us();
    EXPECT_EQ(clock_wait_exceptional(ends[0], 600 * TEN_SECONDS), 0); // whichever comes first
    canceller.join();
    EXPECT_TRUE(clock_cancelled());
    clock_sleep_us(600 * TEN_SECONDS);
    EXPECT_LT(clock_get().monotonic_us() - before, 600 * TEN_SECONDS);
    g_cancellable_reset(cancel.get());
    EXPECT_FALSE(clock_cancelled());
    clock_set_time_scale(1000);
    const std::int64_t again = clock_get().monotonic_us();
    clock_sleep_us(TEN_SECONDS);
    EXPECT_GE(clock_get().monotonic_us() - again, TEN_SECONDS);
    clock_set_cancellable(nullptr);
    close(ends[0]);
    close(ends[1]);
}

} // namespace
