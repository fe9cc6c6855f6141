// The port as an object: opening and closing, properties, configuration, helpers.
#include "tests/port/port_fixture.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

Lines announced; // what the framework was told

class PortObjectTest : public PortTest {
  protected:
    PortObjectTest()
    {
        announced.clear();
        static auto *klass = PTZ_PORT_CLASS(g_type_class_ref(ptz_port_canon_get_type())); // kept for good
        klass->port_opened = [](PTZPort *who) { announced.push_back("opened " + std::to_string(who->fd >= 0)); };
        klass->port_closed = [](PTZPort *, int reason) { announced.push_back("closed " + std::to_string(reason)); };
    }

    using Settings = std::pair<int, int>; // burst length, trigger mode

    static Settings in_force() { return {port_transfer_settings.burst_length, port_transfer_settings.trigger_mode}; }

    PortOwned port = make_port();
};

TEST_F(PortObjectTest, OpeningSetsTheDeviceUpAndTakesOverWhatItReadsBack)
{
    hardware.mode = 1;
    hardware.bits = 16;
    hardware.speed = 2500000;
    open_port(port);
    EXPECT_EQ(fcntl(port->fd, F_GETFL) & (O_ACCMODE | O_NONBLOCK), O_RDWR | O_NONBLOCK);
    EXPECT_NE(fcntl(port->fd, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_GE(open_port(port), 0); // after closing the former descriptor
    EXPECT_EQ(hardware.calls, (Lines{"spi-open /dev/spidev1.0", "wr-mode 9", "rd-mode", "wr-bits 8", "rd-bits",
                                     "wr-speed 3000000", "rd-speed", "spi-open /dev/spidev1.0", "wr-mode 1", "rd-mode",
                                     "wr-bits 16", "rd-bits", "wr-speed 2500000", "rd-speed"}));
    EXPECT_EQ(close_port(port), 0);
    EXPECT_EQ(port->fd, -1);
    EXPECT_EQ(announced, (Lines{"opened 1", "opened 1", "closed 0"}));
    EXPECT_GE(open_port(port), 0); // for the finalizing
}

TEST_F(PortObjectTest, EveryFailingStepOfTheSetUpIsReportedAndClosesTheDevice)
{
    const std::string set_up = "error: Faild to set spi device \"/dev/spidev1.0\".";
    const std::pair<const char *, Lines> steps[] = {
        {"wr-mode", {"error: Could not set spi mode", set_up}},
        {"rd-mode", {"error: Could not get spi mode", set_up}},
        {"wr-bits", {"error: Could not set bits per word", set_up}},
        {"rd-bits", {"error: Could not get bits per word", set_up}},
        {"wr-speed", {"error: Could not set max speed hz", set_up}},
        {"rd-speed", {"error: Could not get max speed hz", set_up}},
        {"spi-open", {"error: Fatal error, faild to open device \"/dev/spidev1.0\". (Input/output error:5)"}},
        {"no such call", {"error: Set file status flags for device \"/dev/spidev1.0\" failed."}}};
    hardware.device_flags = O_PATH; // whose status flags cannot be set
    port_transfer_settings.burst_length = 77;
    for (const auto &[call, messages] : steps) {
        hardware.failing = {{call, EIO}};
        EXPECT_EQ(open_port(port), -1);
        EXPECT_EQ(port->fd, -1);
        EXPECT_EQ(log.take(), messages);
    }
    EXPECT_FALSE(ptz_port_canon_open_ref(port.get()));
    EXPECT_EQ(log.take().back(), "error: Failed to open port");
    EXPECT_EQ(port_transfer_settings.burst_length, 77);
    EXPECT_EQ(announced, Lines{});
    hardware.device_flags = 0;
    hardware.failing.clear();
    open_port(port);
    hardware.failing = {{"spi-open", EIO}}; // a second time
    EXPECT_EQ(open_port(port), -1);
    EXPECT_EQ(port->fd, -1);
    log.take();
    ptz_port_canon_close_unref(nullptr);
}

TEST_F(PortObjectTest, ABurstThatTheDeviceDoesNotTakeIsToldOfWhenThePortOpens)
{
    const Lines told{"error: Bursts of 1024 bytes are more than device \"/dev/spidev1.0\" takes: set the kernel's "
                     "parameter spidev.bufsiz, now 1023, to at least as many."};
    for (const auto &[bufsiz, messages] : std::initializer_list<std::pair<const char *, Lines>>{
             {"1023\n", told}, {"1024\n", {}}, {"4096", {}}, {"0\n", {}}, {"", {}}}) {
        hardware.bufsiz = bufsiz;
        EXPECT_GE(open_port(port), 0);
        EXPECT_EQ(log.take(), messages) << bufsiz;
    }
}

TEST_F(PortObjectTest, DescriptorZeroIsAsGoodAsAnyOther)
{
    const int saved = dup(0);
    close(0);
    EXPECT_EQ(open_port(port), 0);
    g_object_set(port.get(), "burst_len", 300, nullptr);
    EXPECT_EQ(in_force(), Settings(300, 0));
    EXPECT_EQ(close_port(port), 0);
    dup2(saved, 0);
    close(saved);
}

TEST_F(PortObjectTest, ThePortOpenedOrChangedLastGovernsAllTransfers)
{
    const PortOwned other = make_port(512, 1);
    open_port(port);
    open_port(other);
    EXPECT_EQ(in_force(), Settings(512, 1));
    g_object_set(port.get(), "burst_len", 1024, "trig_mode", 0, nullptr); // what it has already
    EXPECT_EQ(in_force(), Settings(512, 1));
    g_object_set(port.get(), "trig_mode", 2, nullptr);
    EXPECT_EQ(in_force(), Settings(1024, 2));
    char *device = nullptr, *name = nullptr;
    int pin = 0, burst = 0, mode = 0;
    g_object_get(port.get(), "device", &device, "request_pin_named", &name, "request_pin", &pin, "burst_len", &burst,
                 "trig_mode", &mode, nullptr);
    EXPECT_EQ((std::tuple{std::string(GText(device).get()) + GText(name).get(), pin, burst, mode}),
              (std::tuple{std::string("/dev/spidev1.0imc_req"), -1, 1024, 2}));
    close_port(port);
    ptz_port_canon_set_transfer(port.get(), 128, 1);
    EXPECT_EQ(in_force(), Settings(1024, 2));
    ptz_port_canon_set_transfer(port.get(), 15, -1);
    ptz_port_canon_set_transfer(port.get(), 1921, 4);
    EXPECT_EQ(log.take().size(), 4u); // GLib's warnings
    open_port(port);
    EXPECT_EQ(in_force(), Settings(128, 1));
}

TEST_F(PortObjectTest, ConfigReplacesWhatIsNotZeroUnchecked)
{
    const auto configure = PTZ_PORT_GET_CLASS(port.get())->port_config;
    const PTZPortConfig trigger{0, 0, 2}, odd{9600, -3, 0};
    configure(port.get(), &trigger);
    EXPECT_EQ(in_force(), Settings(1024, 0)) << "the port is closed";
    open_port(port);
    configure(port.get(), &odd);
    configure(port.get(), nullptr);
    EXPECT_EQ(in_force(), Settings(-3, 2));
    EXPECT_DEATH(configure(nullptr, nullptr), "ptz_port_canon_config: assertion failed: \\(base != NULL");
}

} // namespace
