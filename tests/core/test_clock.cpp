#include "core/clock.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

// The machine's clock reads its scale once: ten seconds pass in ten milliseconds here.
const int scaled = setenv("PTZ_TIME_SCALE", "1000", 1);

constexpr std::int64_t TEN_SECONDS = 10'000'000;

volatile std::sig_atomic_t alarms = 0;

TEST(Clock, InterruptedWaitGoesOnWithWhatIsLeft)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    struct sigaction action {};
    action.sa_handler = [](int) { alarms = alarms + 1; };
    sigaction(SIGALRM, &action, nullptr);
    const itimerval every_millisecond{{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &every_millisecond, nullptr);
    const std::int64_t before = clock_get().now_us();
    EXPECT_EQ(clock_get().wait_exceptional(ends[0], TEN_SECONDS), 0);
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_GE(clock_get().now_us() - before, TEN_SECONDS);
    EXPECT_GT(alarms, 0);
    close(ends[0]);
    close(ends[1]);
}

TEST(Clock, ADescriptorThatSelectCannotHoldCountsAsTimeout)
{
    EXPECT_EQ(clock_get().wait_exceptional(-1, TEN_SECONDS), 0);
    EXPECT_EQ(clock_get().wait_exceptional(FD_SETSIZE, TEN_SECONDS), 0);
}

} // namespace
