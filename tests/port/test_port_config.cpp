// Ports from krx_port.conf: complete, half-filled, malformed and missing files.
#include "port/config.h"
#include "tests/port/port_fixture.h"
#include "tests/support/temp_folder.h"

static struct {
    std::string xml, name;
    GObject *port, *server;
} served;

// In the place of the framework's.
GObject *ptz_port_dbus_server_new(GObject *port, const char *introspection_xml, const char *name)
{
    served = {introspection_xml, name, port, G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr))};
    g_object_add_weak_pointer(served.server, reinterpret_cast<gpointer *>(&served.server));
    return served.server;
}

namespace {

class PortConfigTest : public PortTest {
  protected:
    ~PortConfigTest() override { ptz_port_canon_forget_config(); }

    // Port `index` of a file with this text, read afresh.
    PortOwned port_of(const std::string &text, int index = 0) const
    {
        folder.write("krx_port.conf", text);
        ptz_port_canon_forget_config();
        return PortOwned(ptz_port_canon_new(index));
    }

    // "device pin/name burst trigger"
    static std::string described(const PortOwned &port)
    {
        const auto *self = reinterpret_cast<const PTZPortCanon *>(port.get());
        const std::string name = self->request.name != nullptr ? self->request.name : "-";
        return self->device + (" " + std::to_string(self->request.number) + "/" + name) + " " +
               std::to_string(self->burst_len) + " " + std::to_string(self->trig_mode);
    }

    TempFolder folder{"PTZ_DATA_DIR"};
};

constexpr char ONE_PORT[] = "[KRX_PORTS]\nPorts=1\n[KRX_PORT0]\n";
constexpr char GOOD[] = "[KRX_PORTS]\nPorts=2\nBigEndian=true\n"
                        "[KRX_PORT0]\nDevice=/dev/spidev2.1\nRequestPin=37\nBurstLenght=512\nTriggerMode=3\n"
                        "[KRX_PORT1]\nDevice=/dev/spidev2.2\nRequestPin=cam_req\nBurstLenght=16\nTriggerMode=1\n";

TEST_F(PortConfigTest, ACompleteFileFillsEveryPort)
{
    PortOwned first = port_of(GOOD);
    EXPECT_EQ(described(first), "/dev/spidev2.1 37/- 512 3");
    EXPECT_STREQ(first->name, "Port.KRX.SIO0");
    EXPECT_TRUE(port_transfer_settings.big_endian);
    EXPECT_EQ(served.port, G_OBJECT(first.get()));
    EXPECT_EQ(served.name, "Port.KRX.SIO0");
    EXPECT_EQ(served.xml, R"(<?xml version="1.0" encoding="UTF-8" ?><node>  <interface name="com.orna.PTZ.Port.KRX">)"
                          R"(    <property name="BurstLength" type="i" access="write"/>)"
                          R"(    <property name="TriggerMode" type="i" access="write"/>  </interface></node>)");
    first.reset();
    EXPECT_EQ(served.server, nullptr);

    std::filesystem::remove(folder.file("krx_port.conf")); // read once per process
    const PortOwned second(ptz_port_canon_new(1));
    EXPECT_EQ(described(second), "/dev/spidev2.2 -1/cam_req 16 1");
    EXPECT_EQ(reinterpret_cast<const PTZPortCanon *>(second.get())->port_index, 1);
}

TEST_F(PortConfigTest, WhatAGroupLacksOrGarblesIsReplaced)
{
    const std::string unread = "warning: Failed to read config file parameter KRX_PORT0:";
    const struct {
        std::string group;
        const char *port;
        Lines messages;
    } groups[] = {
        {"", "/dev/spidev1.0 -1/imc_req 1024 0", {unread + "Device", unread + "RequestPin"}},
        {"Device=/d\nRequestPin=-1\n", "/d -1/- 1024 0", {}},
        {"Device=\\z\nRequestPin=3x\n", "/dev/spidev1.0 -1/3x 1024 0", {unread + "Device"}},
        {"Device=/d\nRequestPin=1\nBurstLenght=many\nTriggerMode=2\n", "/d 1/- 1024 2", {unread + "BurstLenght"}},
        {"Device=/d\nRequestPin=1\nBurstLength=64\nTriggerMode=edge\n", "/d 1/- 1024 0", {unread + "TriggerMode"}},
    };
    for (const auto &[group, port, messages] : groups) {
        EXPECT_EQ(described(port_of(ONE_PORT + group)), port) << group;
        EXPECT_EQ(log.take(), messages) << group;
    }
    EXPECT_FALSE(port_transfer_settings.big_endian);
    // What the properties refuse leaves them as they were born: zero.
    const PortOwned odd = port_of(ONE_PORT + std::string("RequestPin=10000\nBurstLenght=15\nTriggerMode=4\nDevice=/d"));
    EXPECT_EQ(described(odd), "/d 0/- 0 0");
    EXPECT_EQ(log.take().size(), 3u); // GLib's warnings
}

TEST_F(PortConfigTest, AFileThatCannotBeUsedGivesNoPortAndIsTriedAgain)
{
    const std::string no_file = "error: Failed to load port config file", no_group = "Could not find group KRX_PORT0",
                      unread = "error: Failed to read config file parameter KRX_PORTS:",
                      index = guard_line("ptz_port_canon_new", "0 <= port_index && port_index < port_count()");
    const struct {
        std::string text;
        int port;
        Lines messages;
    } files[] = {
        {"[KRX_PORTS\nPorts=1\n", 0, {no_file}},
        {"[KRX_PORTS]\nPorts=two\n", 0, {unread + "Ports"}},
        {"[KRX_PORTS]\nPorts=257\n", 0, {unread + "Ports"}},
        {"[KRX_PORTS]\nPorts=1\nBigEndian=maybe\n", 0, {unread + "BigEndian"}},
        {GOOD, -1, {index}},
        {GOOD, 2, {index}},
        {"[KRX_PORTS]\nPorts=2\n[KRX_PORT1]\nDevice=/d\nRequestPin=1\n",
         0,
         {"warning: " + no_group, "error: " + no_group}},
    };
    for (const auto &[text, port, messages] : files) {
        EXPECT_EQ(port_of(text, port), nullptr) << text;
        EXPECT_EQ(log.take(), messages) << text;
    }
    EXPECT_EQ(described(PortOwned(ptz_port_canon_new(1))), "/d 1/- 1024 0"); // which has its group

    EXPECT_EQ(port_of("Ports=1\n"), nullptr);
    EXPECT_EQ(log.take(), Lines{no_file});
    folder.write("krx_port.conf", GOOD);
    EXPECT_NE(PortOwned(ptz_port_canon_new(0)), nullptr);
}

} // namespace
