// A port on fake hardware, in virtual time, with its messages caught.
#pragma once

#include "glib_owned.h"
#include "port/settings.h"
#include "port/spi_port.h"
#include "tests/support/capture.h"
#include "tests/support/fake_hardware.h"
#include "tests/support/virtual_clock.h"

#include <gtest/gtest.h>

using PortOwned = GOwned<PTZPort, g_object_unref>;

class PortTest : public testing::Test {
  protected:
    PortTest() { port_transfer_settings = {}; }
    ~PortTest() override // by now the test's ports are gone
    {
        EXPECT_EQ(log.take(), Lines{}) << "messages that nobody asked for";
        EXPECT_EQ(hardware.live_handles, 0) << "a GPIO line is still held";
        EXPECT_EQ(open_descriptors(), descriptors) << "a descriptor is still open, or a foreign one was closed";
    }

    static PortOwned make_port(int burst_len = 1024, int trig_mode = 0)
    {
        return PortOwned(static_cast<PTZPort *>(g_object_new(ptz_port_canon_get_type(), "device", "/dev/spidev1.0",
                                                             "request_pin", -1, "request_pin_named", "imc_req",
                                                             "burst_len", burst_len, "trig_mode", trig_mode, nullptr)));
    }

    static int open_port(const PortOwned &port) { return PTZ_PORT_GET_CLASS(port.get())->port_open(port.get()); }
    static int close_port(const PortOwned &port) { return PTZ_PORT_GET_CLASS(port.get())->port_close(port.get()); }

    const int descriptors = open_descriptors();
    VirtualClock clock;
    FakeHardware hardware;
    LogCapture log;
};
