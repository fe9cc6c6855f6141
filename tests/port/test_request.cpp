// The request line: which reads and waits each trigger mode makes, and how each of them may fail.
#include "port/request.h"
#include "tests/port/port_fixture.h"

#include <fcntl.h>

namespace {

constexpr char TIMEOUT[] = "warning: Timeout (10s) occurred while waiting for request!";

class RequestTest : public PortTest {
  protected:
    void levels(std::deque<int> script) { hardware.lines["imc_req"].script = std::move(script); }

    // So many waits end with an edge.
    void edges(int count)
    {
        clock.on_poll = [count](int) mutable { return count-- > 0; };
    }

    int wait(int mode) const { return ptz_port_canon_wait_request(request, mode); }

    char name[8] = "imc_req";
    GpioLine request{-1, name};
    const std::uint32_t &noted = port_transfer_settings.last_request_time.seconds; // of the last completed wait
};

TEST_F(RequestTest, AHighLineNeedsNoWaitAndALowOneAnEdge)
{
    for (const int mode : {0, 3}) {
        hardware.calls.clear();
        port_transfer_settings = {};
        levels({1, 0, 0, 1, 1}); // the first edge of a process does not count
        EXPECT_EQ(wait(mode), 0);
        EXPECT_EQ(noted, 0u);
        edges(1);
        EXPECT_EQ(wait(mode), 1);
        EXPECT_EQ(noted, 1000000000u);
        EXPECT_EQ(hardware.calls,
                  (Lines{"request imc_req", "open imc_req", "value imc_req", "close imc_req", "free imc_req",
                         "request imc_req", "open imc_req", "value imc_req", "close imc_req", "free imc_req",
                         "request imc_req", "open imc_req", "edge imc_req 8", "fd imc_req", "value imc_req",
                         "value imc_req", "value imc_req", "close imc_req", "free imc_req"}));
    }
    levels({-1, 1});
    EXPECT_EQ(wait(0), 1);
    EXPECT_EQ(log.take().size(), 2u);
}

TEST_F(RequestTest, ModeOnePollsEveryMillisecondTenThousandTimes)
{
    levels({0, 0, 1});
    EXPECT_EQ(wait(1), 0);
    EXPECT_EQ(clock.sleeps(), 2);
    EXPECT_EQ(clock.slept_us(), 2000);
    levels({0, -1});
    EXPECT_EQ(wait(1), -1);
    EXPECT_EQ(log.take().size(), 2u);
    hardware.calls.clear();
    EXPECT_EQ(wait(1), -1);
    EXPECT_EQ(hardware.calls_of({"value"}).size(), 10000u);
    EXPECT_EQ(log.take(), Lines{TIMEOUT});
}

TEST_F(RequestTest, EveryFailingStepIsReportedAndReleasesTheLine)
{
    const std::string busy = "error: 16 - (Device or resource busy) ERROR: ", line = " 37/imc_req request!",
                      unread = "error: Failed to get gpio value";
    const std::pair<const char *, Lines> steps[] = {
        {"request", {busy + "Failed to request gpio" + line, unread, busy + "Not possible to request GPIO" + line}},
        {"open", {busy + "Failed to open gpio" + line, unread, busy + "Not possible to full open GPIO" + line}},
        {"edge", {busy + "Not possible to set edge on GPIO" + line}},
        {"fd", {busy + "Not possible to get fd on GPIO" + line}},
        {"value", {busy + "Failed to get value of gpio" + line, unread, TIMEOUT}}};
    request.number = 37; // goes before the name
    for (const auto &[call, messages] : steps) {
        hardware.failing = {{call, EBUSY}};
        EXPECT_EQ(wait(0), -1);
        EXPECT_EQ(log.take(), messages);
        EXPECT_EQ(hardware.live_handles, 0);
    }
    EXPECT_EQ(hardware.calls.front(), "request 37/request");
    request = {-1, nullptr};
    EXPECT_EQ(wait(2), -1);
    EXPECT_EQ(log.take(), Lines{"error: 22 - (Invalid argument) ERROR: Not possible to request GPIO -1/ request!"});
}

// The level read at the first edge is used only after a short pause since the last wait: high, low, high takes one
// wait when it is used and two when it is not.
TEST_F(RequestTest, TheFirstEdgeAfterALongPauseDoesNotCount)
{
    const std::pair<std::int64_t, int> cases[] = {
        {2800000, 1},    {2800001, 2},    // the pause in microseconds and the waits
        {4297767296, 1}, {4297767297, 2}, // the same, beyond the wrap of 32 bits
        {-1, 2},                          // a clock that was set back
    };
    edges(100);
    levels({1});
    EXPECT_EQ(wait(2), 1);
    for (const auto &[pause_us, waits] : cases) {
        clock.advance(pause_us);
        levels({0, 1, 0, 1});
        const int before = clock.waits();
        EXPECT_EQ(wait(2), 1);
        EXPECT_EQ(clock.waits() - before, waits) << pause_us;
    }
}

TEST_F(RequestTest, AfterAShortPauseTheNextEdgeIsStillTheFirst)
{
    levels({1, 0, 0, 0, 1, 0, 1});
    EXPECT_EQ(wait(2), 1);
    clock.on_poll = [this](int) { return clock.advance(1500000), 1; };
    EXPECT_EQ(wait(2), 1);
    EXPECT_EQ(clock.waits(), 3);
}

TEST_F(RequestTest, NothingMoreIsWaitedForAfterTenSecondsOrAFailure)
{
    levels({1});
    EXPECT_EQ(wait(2), 1);
    EXPECT_EQ(wait(2), -1);
    EXPECT_EQ(clock.now_us(), 1000000010000000);
    EXPECT_EQ(noted, 1000000000u);
    edges(1000);
    hardware.lines["imc_req"].level = -1;
    EXPECT_EQ(wait(2), -1);
    clock.on_poll = [](int) { return -1; };
    EXPECT_EQ(wait(2), -1);
    EXPECT_EQ(clock.waits(), 3);
    EXPECT_EQ(log.take(), (Lines{TIMEOUT, "error: Failed to get gpio value", TIMEOUT}));
}

TEST_F(RequestTest, TheEdgeDescriptorIsClosedOnceAndBeforeItsLine)
{
    int seen = -1, squatter = -1; // which takes the number as soon as it is free
    clock.on_poll = [&](int fd) {
        seen = fd;
        EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
        return 0;
    };
    hardware.on_close = [&] { squatter = open("/dev/null", O_RDONLY); };
    EXPECT_EQ(wait(2), -1);
    EXPECT_EQ(squatter, seen);
    EXPECT_EQ(close(squatter), 0) << "somebody else's descriptor was closed";
    EXPECT_EQ(log.take(), Lines{TIMEOUT});
}

} // namespace
