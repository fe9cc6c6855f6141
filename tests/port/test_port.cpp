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
        auto *klass = PTZ_PORT_CLASS(g_type_class_ref(ptz_port_canon_get_type()));
        opened_before_ = klass->port_opened;
        closed_before_ = klass->port_closed;
        klass->port_opened = [](PTZPort *who) { announced.push_back("opened " + std::to_string(who->fd >= 0)); };
        klass->port_closed = [](PTZPort *, int reason) { announced.push_back("closed " + std::to_string(reason)); };
    }

    ~PortObjectTest() override
    {
        auto *klass = PTZ_PORT_CLASS(g_type_class_peek(ptz_port_canon_get_type()));
        klass->port_opened = opened_before_;
        klass->port_closed = closed_before_;
        g_type_class_unref(klass);
    }

    static Lines settings_in_force()
    {
        return {std::to_string(port_transfer_settings.burst_length) + "/" +
                std::to_string(port_transfer_settings.trigger_mode)};
    }

    static Lines own_settings(const PortOwned &port)
    {
        int burst = 0;
        int mode = 0;
        g_object_get(port.get(), "burst_len", &burst, "trig_mode", &mode, nullptr);
        return {std::to_string(burst) + "/" + std::to_string(mode)};
    }

    static void configure(const PortOwned &port, const PTZPortConfig &config)
    {
        PTZ_PORT_GET_CLASS(port.get())->port_config(port.get(), &config);
    }

    PortOwned port = make_port();

  private:
    void (*opened_before_)(PTZPort *);
    void (*closed_before_)(PTZPort *, int);
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
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(PortObjectTest, ADeviceThatCannotBeOpenedIsReported)
{
    hardware.failing["spi-open"] = ENOENT;
    EXPECT_EQ(open_port(port), -1);
    EXPECT_EQ(port->fd, -1);
    EXPECT_EQ(log.take(),
              Lines{"error: Fatal error, faild to open device \"/dev/spidev1.0\". (No such file or directory:2)"});
}

TEST_F(PortObjectTest, EveryFailingStepOfTheSetUpClosesTheDevice)
{
    const struct {
        const char *call, *message;
    } steps[] = {
        {"wr-mode", "error: Could not set spi mode"},      {"rd-mode", "error: Could not get spi mode"},
        {"wr-bits", "error: Could not set bits per word"}, {"rd-bits", "error: Could not get bits per word"},
        {"wr-speed", "error: Could not set max speed hz"}, {"rd-speed", "error: Could not get max speed hz"},
    };
    const int before = open_descriptors();
    port_transfer_settings.burst_length = 77;
    for (const auto &step : steps) {
        hardware.failing = {{step.call, EINVAL}};
        EXPECT_EQ(open_port(port), -1);
        EXPECT_EQ(log.take(), (Lines{step.message, "error: Faild to set spi device \"/dev/spidev1.0\"."}));
        EXPECT_EQ(port->fd, -1);
    }
    EXPECT_EQ(open_descriptors(), before);
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

TEST_F(PortObjectTest, StatusFlagsThatCannotBeSetFailTheOpening)
{
    hardware.device_flags = O_PATH;
    const int before = open_descriptors();
    EXPECT_EQ(open_port(port), -1);
    EXPECT_EQ(log.take(), Lines{"error: Set file status flags for device \"/dev/spidev1.0\" failed."});
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(PortObjectTest, DescriptorZeroIsAsGoodAsAnyOther)
{
    const int saved = dup(0);
    close(0);
    EXPECT_EQ(open_port(port), 0);
    g_object_set(port.get(), "burst_len", 300, nullptr);
    EXPECT_EQ(settings_in_force(), Lines{"300/0"});
    EXPECT_EQ(close_port(port), 0);
    EXPECT_EQ(dup2(saved, 0), 0);
    close(saved);
    EXPECT_EQ(announced, (Lines{"opened 1", "closed 0"}));
}

TEST_F(PortObjectTest, OpeningAgainAndFinalizingLeaveNoDescriptor)
{
    const int before = open_descriptors();
    for (int round = 0; round < 1000; ++round)
        EXPECT_GE(open_port(port), 0);
    EXPECT_EQ(open_descriptors(), before + 1);
    hardware.failing["spi-open"] = ENOENT;
    EXPECT_EQ(open_port(port), -1);
    EXPECT_EQ(open_descriptors(), before);
    hardware.failing = {};
    open_port(port);
    port.reset();
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(PortObjectTest, ThePortOpenedOrChangedLastGovernsAllTransfers)
{
    const PortOwned first = make_port(1024, 0);
    const PortOwned second = make_port(512, 1);
    EXPECT_EQ(settings_in_force(), Lines{"1024/0"});
    open_port(first);
    open_port(second);
    EXPECT_EQ(settings_in_force(), Lines{"512/1"});
    g_object_set(first.get(), "burst_len", 1024, "trig_mode", 0, nullptr); // what it has already
    EXPECT_EQ(settings_in_force(), Lines{"512/1"});
    g_object_set(first.get(), "trig_mode", 2, nullptr);
    EXPECT_EQ(settings_in_force(), Lines{"1024/2"});
    ptz_port_canon_set_transfer(second.get(), 256, 3);
    EXPECT_EQ(settings_in_force(), Lines{"256/3"});
    close_port(first);
    ptz_port_canon_set_transfer(first.get(), 128, 1);
    EXPECT_EQ(own_settings(first), Lines{"128/1"});
    EXPECT_EQ(settings_in_force(), Lines{"256/3"});
}

TEST_F(PortObjectTest, ConfigReplacesWhatIsNotZeroUnchecked)
{
    configure(port, {0, 0, 2});
    EXPECT_EQ(own_settings(port), Lines{"1024/2"});
    EXPECT_EQ(settings_in_force(), Lines{"1024/0"}) << "the port is closed";
    open_port(port);
    configure(port, {9600, 4000, 0});
    EXPECT_EQ(own_settings(port), Lines{"4000/2"});
    EXPECT_EQ(settings_in_force(), Lines{"4000/2"});
    configure(port, {0, -3, 17});
    EXPECT_EQ(settings_in_force(), Lines{"-3/17"});
    PTZ_PORT_GET_CLASS(port.get())->port_config(port.get(), nullptr);
    EXPECT_EQ(settings_in_force(), Lines{"-3/17"});
}

TEST_F(PortObjectTest, ConfigWithoutAPortIsFatal)
{
    EXPECT_DEATH(ptz_port_canon_config(nullptr, nullptr),
                 "ptz_port_canon_config: assertion failed: \\(base != NULL\\)");
}

TEST_F(PortObjectTest, StartsWithNothingSet)
{
    const PortOwned bare(static_cast<PTZPort *>(g_object_new(ptz_port_canon_get_type(), nullptr)));
    char *device = nullptr;
    char *name = nullptr;
    int pin = -7;
    g_object_get(bare.get(), "device", &device, "request_pin", &pin, "request_pin_named", &name, nullptr);
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(pin, 0);
    EXPECT_EQ(own_settings(bare), Lines{"0/0"});
    EXPECT_EQ(bare->fd, -1);
    hardware.failing["spi-open"] = ENOENT;
    EXPECT_EQ(open_port(bare), -1);
    EXPECT_EQ(log.take(), Lines{"error: Fatal error, faild to open device \"\". (No such file or directory:2)"});
}

TEST_F(PortObjectTest, PropertiesAreDescribedAndRefuseWhatIsOutOfRange)
{
    const struct {
        const char *name, *nick, *blurb;
        int min, max, fallback;
    } numbers[] = {
        {"request_pin", "request pin number", "PTZ Port Request Pin", -1, 9999, -1},
        {"burst_len", "Burst Length", "PTZ Burst Length", 16, 1920, 1024},
        {"trig_mode", "Trigger Mode", "PTZ Trigger mode", 0, 3, 0},
    };
    const auto spec_of = [&](const char *name) {
        return g_object_class_find_property(G_OBJECT_GET_CLASS(port.get()), name);
    };
    for (const auto &number : numbers) {
        GParamSpec *spec = spec_of(number.name);
        EXPECT_STREQ(g_param_spec_get_nick(spec), number.nick);
        EXPECT_STREQ(g_param_spec_get_blurb(spec), number.blurb);
        EXPECT_EQ(G_PARAM_SPEC_INT(spec)->minimum, number.min);
        EXPECT_EQ(G_PARAM_SPEC_INT(spec)->maximum, number.max);
        EXPECT_EQ(G_PARAM_SPEC_INT(spec)->default_value, number.fallback);
    }
    EXPECT_STREQ(G_PARAM_SPEC_STRING(spec_of("device"))->default_value, "/dev/spidev1.0");
    EXPECT_STREQ(G_PARAM_SPEC_STRING(spec_of("request_pin_named"))->default_value, "imc_req");
    EXPECT_STREQ(g_param_spec_get_nick(spec_of("device")), "Device name");
    EXPECT_STREQ(g_param_spec_get_nick(spec_of("request_pin_named")), "request pin name");

    ptz_port_canon_set_transfer(port.get(), 1921, 4);
    EXPECT_EQ(own_settings(port), Lines{"1024/0"});
    EXPECT_EQ(log.take().size(), 2u); // GLib's warnings
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

TEST_F(PortObjectTest, HelpersLiveWithoutAPort)
{
    char byte = 0;
    EXPECT_FALSE(ptz_port_canon_open_ref(nullptr));
    EXPECT_EQ(log.take(), Lines{"error: Failed to open port"});
    ptz_port_canon_close_unref(nullptr);
    ptz_port_canon_set_transfer(nullptr, 1024, 1);
    EXPECT_EQ(ptz_port_canon_read_data(nullptr, &byte, 1, 0, 0), -1);
    EXPECT_EQ(ptz_port_canon_write_data(nullptr, &byte, 1, 0, 0), -1);
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(PortObjectTest, DisposingReleasesTheDBusServerOnce)
{
    auto *server = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
    g_object_ref(server);
    reinterpret_cast<PTZPortCanon *>(port.get())->dbus_server = server;
    g_object_run_dispose(G_OBJECT(port.get()));
    g_object_run_dispose(G_OBJECT(port.get()));
    EXPECT_EQ(server->ref_count, 1u);
    g_object_unref(server);
}

} // namespace
