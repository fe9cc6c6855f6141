// The request line: which reads and waits each trigger mode makes, and how each of them may fail.
#include "port/ptz_port_canon_request.h"
#include "tests/port/port_fixture.h"

#include <fcntl.h>

namespace {

constexpr char TIMEOUT[] = "warning: Timeout (10s) occurred while waiting for request!";
const Lines UNREADABLE{"error: 5 - (Input/output error) ERROR: Failed to get value of gpio -1/imc_req request!",
                       "error: Failed to get gpio value"};

class RequestTest : public PortTest {
  protected:
    RequestTest()
    {
        clock.on_poll = [this](int) { return edges-- > 0 ? 1 : 0; };
    }

    void levels(std::deque<int> script) { hardware.lines["imc_req"].script = std::move(script); }

    // Puts the last completed wait this long before now.
    void last_request_ago(std::int64_t us)
    {
        const std::int64_t then = clock.now_us() - us;
        port_transfer_settings.last_request_time = {static_cast<std::uint32_t>(then / 1000000),
                                                    static_cast<std::uint32_t>(then % 1000000)};
    }

    static std::int64_t last_request_us()
    {
        const auto &last = port_transfer_settings.last_request_time;
        return std::int64_t{last.seconds} * 1000000 + last.microseconds;
    }

    int wait(int mode) const { return ptz_port_canon_wait_request(request, mode); }
    int wait_edge() const { return ptz_port_canon_wait_request_edge(request); }

    char name[8] = "imc_req";
    GpioLine request{-1, name};
    int edges = 0; // how many waits end with an edge
};

TEST_F(RequestTest, AHighLineNeedsNoWaitAndALowOneAnEdge)
{
    for (const int mode : {0, 3}) {
        hardware.calls.clear();
        port_transfer_settings.last_request_time = {};
        levels({1});
        EXPECT_EQ(wait(mode), 0);
        EXPECT_EQ(last_request_us(), 0);
        last_request_ago(1000);
        levels({0, 0, 1});
        edges = 1;
        EXPECT_EQ(wait(mode), 1);
        EXPECT_EQ(last_request_us(), clock.now_us());
        EXPECT_EQ(hardware.calls,
                  (Lines{"request imc_req", "open imc_req", "value imc_req", "close imc_req", "free imc_req",
                         "request imc_req", "open imc_req", "value imc_req", "close imc_req", "free imc_req",
                         "request imc_req", "open imc_req", "edge imc_req 8", "fd imc_req", "value imc_req",
                         "value imc_req", "close imc_req", "free imc_req"}));
    }
    levels({-1, 1});
    EXPECT_EQ(wait(0), 1);
    EXPECT_EQ(log.take(), UNREADABLE);
    const int before = clock.waits();
    levels({1});
    EXPECT_EQ(wait(2), 1);
    EXPECT_EQ(clock.waits(), before);
    EXPECT_EQ(last_request_us(), clock.now_us());
}

TEST_F(RequestTest, ModeOnePollsEveryMillisecondTenThousandTimes)
{
    levels({0, 0, 1});
    EXPECT_EQ(wait(1), 0);
    EXPECT_EQ(clock.sleeps(), 2);
    EXPECT_EQ(clock.slept_us(), 2000);
    levels({0, -1});
    EXPECT_EQ(wait(1), -1);
    EXPECT_EQ(log.take(), UNREADABLE);
    hardware.calls.clear();
    EXPECT_EQ(wait(1), -1);
    EXPECT_EQ(hardware.calls_of({"value"}).size(), 10000u);
    EXPECT_EQ(log.take(), Lines{TIMEOUT});
}

TEST_F(RequestTest, ANumberGoesBeforeTheNameAndOneOfThemMustBeThere)
{
    request.number = 37;
    hardware.lines["37"].level = 1;
    EXPECT_EQ(wait(0), 0);
    EXPECT_EQ(hardware.calls.front(), "request 37/request");
    request = {-1, nullptr};
    int level = 0;
    EXPECT_EQ(wait(2), -1);
    EXPECT_EQ(ptz_port_canon_get_request_level(request, &level), -1);
    EXPECT_EQ(log.take(), (Lines{"error: 22 - (Invalid argument) ERROR: Not possible to request GPIO -1/ request!",
                                 "error: 22 - (Invalid argument) ERROR: Failed to request gpio -1/ request!"}));
}

TEST_F(RequestTest, EveryFailingStepIsReportedAndReleasesTheLine)
{
    const std::string busy = "error: 16 - (Device or resource busy) ERROR: ";
    const struct {
        const char *call, *edge_wait, *level_read; // null: the step is not made
    } steps[] = {{"request", "Not possible to request GPIO", "Failed to request gpio"},
                 {"open", "Not possible to full open GPIO", "Failed to open gpio"},
                 {"edge", "Not possible to set edge on GPIO", nullptr},
                 {"fd", "Not possible to get fd on GPIO", nullptr},
                 {"value", nullptr, "Failed to get value of gpio"}};
    request.number = 37;
    int level = 0;
    for (const auto &step : steps) {
        hardware.failing = {{step.call, EBUSY}};
        if (step.edge_wait != nullptr) {
            EXPECT_EQ(wait_edge(), -1);
            EXPECT_EQ(log.take(), Lines{busy + step.edge_wait + " 37/imc_req request!"});
        }
        if (step.level_read != nullptr) {
            EXPECT_EQ(ptz_port_canon_get_request_level(request, &level), -1);
            EXPECT_EQ(log.take(), Lines{busy + step.level_read + " 37/imc_req request!"});
        }
        EXPECT_EQ(hardware.live_handles, 0);
    }
}

// The level read at the first edge is used only after a short pause since the last wait: high, low, high takes one
// wait when it is used and two when it is not.
TEST_F(RequestTest, TheFirstEdgeAfterALongPauseDoesNotCount)
{
    const std::pair<std::int64_t, int> cases[] = {
        {0, 1},          {2800000, 1},    {2800001, 2}, // the pause in microseconds and the waits
        {4294000000, 2}, {4295000000, 1},               // 32 bits of microseconds: 32704
        {4297767296, 1}, {4297767297, 2},               // 2800000 and one more, beyond the wrap
        {-1, 2},                                        // a clock that was set back
    };
    edges = 100;
    for (const auto &[pause_us, waits] : cases) {
        last_request_ago(pause_us);
        levels({0, 1, 0, 1});
        const int before = clock.waits();
        EXPECT_EQ(wait_edge(), 1);
        EXPECT_EQ(clock.waits() - before, waits) << pause_us;
    }
}

TEST_F(RequestTest, TheFirstEdgeOfTheProcessDoesNotCountAndStartsTheMeasuring)
{
    levels({0, 1, 0}); // and stays low: the second wait times out
    edges = 1;
    const std::int64_t start = clock.now_us();
    EXPECT_EQ(wait_edge(), -1);
    EXPECT_EQ(last_request_us(), start);
    EXPECT_EQ(log.take(), Lines{TIMEOUT});
    port_transfer_settings.last_request_time = {};
    levels({0, 1, 1}); // and stays high past the edge that does not count
    edges = 1;
    EXPECT_EQ(wait_edge(), 1);
    EXPECT_EQ(clock.waits(), 3);
}

TEST_F(RequestTest, AfterAShortPauseTheNextEdgeIsStillTheFirst)
{
    last_request_ago(1000);
    levels({0, 0, 0, 1, 0, 1});
    clock.on_poll = [this](int) {
        if (clock.waits() == 2)
            clock.advance(3000000);
        return clock.waits() < 10 ? 1 : 0;
    };
    EXPECT_EQ(wait_edge(), 1);
    EXPECT_EQ(clock.waits(), 3);
}

TEST_F(RequestTest, NothingMoreIsWaitedForAfterTenSecondsOrAFailure)
{
    last_request_ago(500);
    const std::int64_t start = clock.now_us();
    EXPECT_EQ(wait_edge(), -1);
    EXPECT_EQ(clock.now_us() - start, 10000000);
    EXPECT_EQ(last_request_us(), start - 500);
    edges = 1000;
    levels({0});
    hardware.lines["imc_req"].level = -1;
    EXPECT_EQ(wait_edge(), -1);
    clock.on_poll = [](int) { return -1; };
    EXPECT_EQ(wait_edge(), -1);
    EXPECT_EQ(clock.waits(), 3);
    EXPECT_EQ(log.take(), (Lines{TIMEOUT, "error: Failed to get gpio value", TIMEOUT}));
}

TEST_F(RequestTest, TheEdgeDescriptorIsClosedOnceAndBeforeItsLine)
{
    int seen = -1, flags = 0, squatter = -1; // which takes the number as soon as it is free
    clock.on_poll = [&](int fd) {
        seen = fd;
        flags = fcntl(fd, F_GETFD);
        return 0;
    };
    hardware.on_close = [&] { squatter = open("/dev/null", O_RDONLY); };
    EXPECT_EQ(wait_edge(), -1);
    EXPECT_NE(flags & FD_CLOEXEC, 0);
    EXPECT_EQ(squatter, seen);
    EXPECT_EQ(close(squatter), 0) << "somebody else's descriptor was closed";
    EXPECT_EQ(log.take(), Lines{TIMEOUT});
}

} // namespace
