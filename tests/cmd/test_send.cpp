#include "cmd/send.h"
#include "cmd/stop.h"
#include "tests/support/driver_fixture.h"

namespace {

class Send : public DriverBench {
  protected:
    Send() { make_driver(); }

    gboolean send(std::size_t size, int retries = 10)
    {
        const Bytes payload(size + 1, 0x55); // never without an address
        return ptz_driver_canon_cmd_send(driver, payload.data(), size, retries);
    }
};

TEST_F(Send, WrapsWhatIsAPayload)
{
    constexpr const char *SEND = "ptz_driver_canon_cmd_send";
    EXPECT_TRUE(send(2));
    EXPECT_EQ(port.packets, (Lines{"10 01 00 02 55 55"}));
    EXPECT_EQ(port.reads, 0);
    EXPECT_FALSE(ptz_driver_canon_cmd_send(driver, nullptr, 5, 10));
    EXPECT_FALSE(send(1016));
    EXPECT_FALSE(send(0));
    EXPECT_EQ(log.take(),
              (Lines{guard_line(SEND, "cmd_data"), guard_line(SEND, "cmd_data_size < VCC_PACKET_PAYLOAD_MAX"),
                     "error: Failed to create the command", guard_line(SEND, "send_packet")}));
    EXPECT_TRUE(send(1011)); // the largest that reaches the port
    EXPECT_FALSE(send(1012, 2));
    EXPECT_FALSE(send(1015, 1));
    EXPECT_EQ(log.take(),
              (Lines{"error: Failed to create the command", "warning: Write command failed: -1, retry: 0",
                     "error: Failed to create the command", "warning: Write command failed: -1, retry: 1",
                     "error: Failed to create the command", "warning: Write command failed: -1, retry: 0"}));
    EXPECT_EQ(port.attempts, 2);
}

TEST_F(Send, TriesTenTimesFiveMillisecondsApart)
{
    port.deaf = true;
    bool free_in_pause = true; // the pause leaves the link to others
    clock.on_advance = [&](std::int64_t) {
        free_in_pause = free_in_pause && g_mutex_trylock(&driver->port_lock);
        if (free_in_pause)
            g_mutex_unlock(&driver->port_lock);
    };
    EXPECT_FALSE(send(5));
    Lines expected;
    for (int i = 0; i < 10; ++i)
        expected.push_back("warning: Write command failed: -1, retry: " + std::to_string(i));
    EXPECT_EQ(log.take(), expected);
    EXPECT_EQ(port.attempts, 10);
    EXPECT_EQ(clock.sleeps(), 10);
    EXPECT_EQ(clock.slept_us(), 50000);
    EXPECT_TRUE(free_in_pause);
    EXPECT_FALSE(send(5, 0));
    EXPECT_FALSE(send(5, -3));
    EXPECT_TRUE(log.take().empty());
    g_clear_object(&driver->port);
    EXPECT_FALSE(send(5, 1));
}

TEST_F(Send, StopEndsZoomPanAndTiltWithOnePacket)
{
    driver->current.zoom_magnification = 5.5f;
    driver->current.focus_zenta = 77;
    EXPECT_TRUE(ptz_driver_canon_cmd_stop(driver));
    EXPECT_EQ(port.packets, (Lines{"10 01 00 0E 03 00 02 00 04 01 05 00 01 04 01 05 00 02"}));

    port.deaf = true;
    driver->current.zoom_zenta = 1600;
    EXPECT_FALSE(ptz_driver_canon_cmd_stop(driver));
    EXPECT_EQ(driver->target.zoom_zenta, 1600);
    EXPECT_EQ(driver->target.zoom_magnification, 5.5f);
    EXPECT_EQ(driver->target.focus_zenta, 77);
    EXPECT_EQ(log.take().size(), 10u); // the attempts alone
}

} // namespace
