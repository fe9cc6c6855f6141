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

    static Settings own(const PortOwned &port)
    {
        Settings settings;
        g_object_get(port.get(), "burst_len", &settings.first, "trig_mode", &settings.second, nullptr);
        return settings;
    }

    PortOwned port = make_port();
};

TEST_F(PortObjectTest, OpeningSetsTheDeviceUpAndTakesOverWhatItReadsBack)
{
    hardware.mode = 1;
    hardware.bits = 16;
    hardware.speed = 2500000;
    const int fd = open_port(port);
    EXPECT_EQ(port->fd, fd);
    EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_NONBLOCK), O_RDWR | O_NONBLOCK);
    EXPECT_NE(hardware.opened_flags & O_CLOEXEC, 0);
    EXPECT_EQ(close_port(port), 0);
    EXPECT_EQ(port->fd, -1);
    EXPECT_GE(open_port(port), 0);
    EXPECT_EQ(hardware.calls, (Lines{"spi-open /dev/spidev1.0", "wr-mode 9", "rd-mode", "wr-bits 8", "rd-bits",
                                     "wr-speed 3000000", "rd-speed", "spi-open /dev/spidev1.0", "wr-mode 1", "rd-mode",
                                     "wr-bits 16", "rd-bits", "wr-speed 2500000", "rd-speed"}));
    EXPECT_EQ(announced, (Lines{"opened 1", "closed 0", "opened 1"}));
}

TEST_F(PortObjectTest, EveryFailingStepOfTheSetUpIsReportedAndClosesTheDevice)
{
    const std::pair<const char *, const char *> steps[] = {
        {"wr-mode", "error: Could not set spi mode"},      {"rd-mode", "error: Could not get spi mode"},
        {"wr-bits", "error: Could not set bits per word"}, {"rd-bits", "error: Could not get bits per word"},
        {"wr-speed", "error: Could not set max speed hz"}, {"rd-speed", "error: Could not get max speed hz"}};
    port_transfer_settings.burst_length = 77;
    const auto expect_failure = [this](const Lines &messages) {
        EXPECT_EQ(open_port(port), -1);
        EXPECT_EQ(port->fd, -1);
        EXPECT_EQ(log.take(), messages);
    };
    for (const auto &[call, message] : steps) {
        hardware.failing = {{call, EINVAL}};
        expect_failure({message, "error: Faild to set spi device \"/dev/spidev1.0\"."});
    }
    hardware.failing = {{"spi-open", ENOENT}};
    expect_failure({"error: Fatal error, faild to open device \"/dev/spidev1.0\". (No such file or directory:2)"});
    g_object_set(port.get(), "device", nullptr, nullptr);
    expect_failure({"error: Fatal error, faild to open device \"\". (No such file or directory:2)"});
    hardware.failing = {};
    hardware.device_flags = O_PATH; // whose status flags cannot be set
    expect_failure({"error: Set file status flags for device \"\" failed."});
    EXPECT_EQ(port_transfer_settings.burst_length, 77);
    EXPECT_EQ(announced, Lines{});
}

TEST_F(PortObjectTest, WithoutReadableStatusFlagsThePortOpensBlocking)
{
    hardware.device = nullptr;
    EXPECT_EQ(open_port(port), 900);
    EXPECT_EQ(log.take(), Lines{"error: Get file status flags for device \"/dev/spidev1.0\" failed."});
    EXPECT_LT(close_port(port), 0); // it never was a descriptor
    EXPECT_EQ(announced, Lines{"opened 1"});
}

TEST_F(PortObjectTest, DescriptorZeroIsAsGoodAsAnyOther)
{
    const int saved = dup(0);
    close(0);
    EXPECT_EQ(open_port(port), 0);
    g_object_set(port.get(), "burst_len", 300, nullptr);
    EXPECT_EQ(in_force(), Settings(300, 0));
    EXPECT_EQ(close_port(port), 0);
    EXPECT_EQ(dup2(saved, 0), 0);
    close(saved);
    EXPECT_EQ(announced, (Lines{"opened 1", "closed 0"}));
}

TEST_F(PortObjectTest, OpeningAgainClosesTheFormerDescriptor)
{
    for (int round = 0; round < 3; ++round)
        EXPECT_GE(open_port(port), 0);
    EXPECT_EQ(open_descriptors(), descriptors + 1);
    hardware.failing["spi-open"] = ENOENT;
    EXPECT_EQ(open_port(port), -1);
    EXPECT_EQ(log.take().size(), 1u);
    EXPECT_EQ(open_descriptors(), descriptors);
    hardware.failing = {};
    EXPECT_GE(open_port(port), 0); // for the finalizing
}

TEST_F(PortObjectTest, ThePortOpenedOrChangedLastGovernsAllTransfers)
{
    const PortOwned other = make_port(512, 1);
    EXPECT_EQ(in_force(), Settings(1024, 0));
    open_port(port);
    open_port(other);
    EXPECT_EQ(in_force(), Settings(512, 1));
    g_object_set(port.get(), "burst_len", 1024, "trig_mode", 0, nullptr); // what it has already
    EXPECT_EQ(in_force(), Settings(512, 1));
    g_object_set(port.get(), "trig_mode", 2, nullptr);
    EXPECT_EQ(in_force(), Settings(1024, 2));
    ptz_port_canon_set_transfer(other.get(), 256, 3);
    EXPECT_EQ(in_force(), Settings(256, 3));
    close_port(port);
    ptz_port_canon_set_transfer(port.get(), 128, 1);
    EXPECT_EQ(own(port), Settings(128, 1));
    EXPECT_EQ(in_force(), Settings(256, 3));
    ptz_port_canon_set_transfer(port.get(), 1921, 4);
    EXPECT_EQ(own(port), Settings(128, 1));
    EXPECT_EQ(log.take().size(), 2u); // GLib's warnings
}

TEST_F(PortObjectTest, ConfigReplacesWhatIsNotZeroUnchecked)
{
    const auto configure = [this](const PTZPortConfig &config) {
        PTZ_PORT_GET_CLASS(port.get())->port_config(port.get(), &config);
    };
    configure({0, 0, 2});
    EXPECT_EQ(own(port), Settings(1024, 2));
    EXPECT_EQ(in_force(), Settings(1024, 0)) << "the port is closed";
    open_port(port);
    configure({9600, 4000, 0});
    EXPECT_EQ(own(port), Settings(4000, 2));
    EXPECT_EQ(in_force(), Settings(4000, 2));
    configure({0, -3, 17});
    PTZ_PORT_GET_CLASS(port.get())->port_config(port.get(), nullptr);
    EXPECT_EQ(in_force(), Settings(-3, 17));
}

TEST_F(PortObjectTest, OpenAndCloseHelpersPairAnOpenWithAReference)
{
    hardware.failing["rd-speed"] = EIO;
    EXPECT_FALSE(ptz_port_canon_open_ref(port.get()));
    EXPECT_EQ(G_OBJECT(port.get())->ref_count, 1u);
    EXPECT_EQ(log.take(), (Lines{"error: Could not get max speed hz",
                                 "error: Faild to set spi device \"/dev/spidev1.0\".", "error: Failed to open port"}));
    hardware.failing = {};
    EXPECT_TRUE(ptz_port_canon_open_ref(port.get()));
    EXPECT_EQ(G_OBJECT(port.get())->ref_count, 2u);
    ptz_port_canon_close_unref(port.get());
    EXPECT_EQ(G_OBJECT(port.get())->ref_count, 1u);
    EXPECT_EQ(announced, (Lines{"opened 1", "closed 0"}));
}

TEST_F(PortObjectTest, WithoutAPortHelpersLiveAndConfigIsFatal)
{
    char byte = 0;
    EXPECT_FALSE(ptz_port_canon_open_ref(nullptr));
    EXPECT_EQ(log.take(), Lines{"error: Failed to open port"});
    ptz_port_canon_close_unref(nullptr);
    ptz_port_canon_set_transfer(nullptr, 1024, 1);
    EXPECT_EQ(ptz_port_canon_read_data(nullptr, &byte, 1, 0, 0), -1);
    EXPECT_EQ(ptz_port_canon_write_data(nullptr, &byte, 1, 0, 0), -1);
    EXPECT_DEATH(ptz_port_canon_config(nullptr, nullptr),
                 "ptz_port_canon_config: assertion failed: \\(base != NULL\\)");
}

TEST_F(PortObjectTest, DisposingReleasesTheDBusServerOnce)
{
    auto *server = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
    g_object_ref(server);
    reinterpret_cast<PTZPortCanon *>(port.get())->dbus_server = server;
    for (int times = 0; times < 2; ++times)
        g_object_run_dispose(G_OBJECT(port.get()));
    EXPECT_EQ(server->ref_count, 1u);
    g_object_unref(server);
}

} // namespace
