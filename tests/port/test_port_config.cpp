// Ports from krx_port.conf: complete, half-filled, malformed and missing files.
#include "port/ptz_port_canon_config.h"
#include "tests/port/port_fixture.h"
#include "tests/support/temp_folder.h"

namespace {

struct {
    std::string xml, name;
    GObject *port;
} served;

} // namespace

// In the place of the framework's.
GObject *ptz_port_dbus_server_new(GObject *port, const char *introspection_xml, const char *name)
{
    served = {introspection_xml, name, port};
    return G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
}

namespace {

class PortConfigTest : public PortTest {
  protected:
    PortConfigTest() { ptz_port_canon_forget_config(); }
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
        if (port == nullptr)
            return "none";
        const auto *self = reinterpret_cast<const PTZPortCanon *>(port.get());
        const char *name = self->request.name != nullptr ? self->request.name : "-";
        return GText(g_strdup_printf("%s %d/%s %d %d", self->device, self->request.number, name, self->burst_len,
                                     self->trig_mode))
            .get();
    }

    TempFolder folder{"PTZ_DATA_DIR"};
};

constexpr char ONE_PORT[] = "[KRX_PORTS]\nPorts=1\n[KRX_PORT0]\n";
constexpr char GOOD[] = "[KRX_PORTS]\nPorts=2\nBigEndian=true\n"
                        "[KRX_PORT0]\nDevice=/dev/spidev2.1\nRequestPin=37\nBurstLenght=512\nTriggerMode=3\n"
                        "[KRX_PORT1]\nDevice=/dev/spidev2.2\nRequestPin=cam_req\nBurstLenght=16\nTriggerMode=1\n";

TEST_F(PortConfigTest, ACompleteFileFillsEveryPort)
{
    const PortOwned first = port_of(GOOD);
    EXPECT_EQ(described(first), "/dev/spidev2.1 37/- 512 3");
    EXPECT_STREQ(first->name, "Port.KRX.SIO0");
    EXPECT_TRUE(port_transfer_settings.big_endian);
    EXPECT_EQ(served.port, G_OBJECT(first.get()));
    EXPECT_EQ(served.name, "Port.KRX.SIO0");
    EXPECT_EQ(served.xml, R"(<?xml version="1.0" encoding="UTF-8" ?><node>  <interface name="com.orna.PTZ.Port.KRX">)"
                          R"(    <property name="BurstLength" type="i" access="write"/>)"
                          R"(    <property name="TriggerMode" type="i" access="write"/>  </interface></node>)");
    EXPECT_NE(reinterpret_cast<const PTZPortCanon *>(first.get())->dbus_server, nullptr);

    std::filesystem::remove(folder.file("krx_port.conf")); // read once per process
    const PortOwned second(ptz_port_canon_new(1));
    EXPECT_EQ(described(second), "/dev/spidev2.2 -1/cam_req 16 1");
    EXPECT_EQ(reinterpret_cast<const PTZPortCanon *>(second.get())->port_index, 1);
    EXPECT_EQ(served.name, "Port.KRX.SIO1");
}

TEST_F(PortConfigTest, WhatAGroupLacksOrGarblesIsReplaced)
{
    const std::string unread = "warning: Failed to read config file parameter KRX_PORT0:";
    const std::string no_device = unread + "Device", no_pin = unread + "RequestPin";
    const struct {
        const char *group, *port;
        Lines messages;
    } groups[] = {
        {"", "/dev/spidev1.0 -1/imc_req 1024 0", {no_device, no_pin}},
        {"Device=/d\nRequestPin=imc_req\n", "/d -1/imc_req 1024 0", {}},
        {"Device=/d\nRequestPin=-1\n", "/d -1/- 1024 0", {}},
        {"Device=/d\nRequestPin=3x\n", "/d -1/3x 1024 0", {}},
        {"Device=\\z\nRequestPin=\\z\n", "/dev/spidev1.0 -1/imc_req 1024 0", {no_device, no_pin}},
        {"Device=/d\nRequestPin=1\nBurstLenght=many\nTriggerMode=2\n", "/d 1/- 1024 2", {unread + "BurstLenght"}},
        {"Device=/d\nRequestPin=1\nBurstLenght=100\nTriggerMode=edge\n", "/d 1/- 100 0", {unread + "TriggerMode"}},
        {"Device=/d\nRequestPin=1\nBurstLength=100\n", "/d 1/- 1024 0", {}}, // another key
    };
    for (const auto &[group, port, messages] : groups) {
        EXPECT_EQ(described(port_of(std::string(ONE_PORT) + group)), port) << group;
        EXPECT_EQ(log.take(), messages) << group;
    }
    EXPECT_FALSE(port_transfer_settings.big_endian);
}

TEST_F(PortConfigTest, ValuesOutOfRangeAreRefusedByTheProperties)
{
    for (const char *line :
         {"BurstLenght=15\n", "BurstLenght=1921\n", "TriggerMode=4\n", "TriggerMode=-1\n", "RequestPin=10000\n"}) {
        const PortOwned port = port_of(std::string(ONE_PORT) + "Device=/d\nRequestPin=0\n" + line);
        const Lines lines = log.take();
        ASSERT_EQ(lines.size(), 1u) << line;
        EXPECT_TRUE(lines[0].starts_with("glib: value \"")) << lines[0];
        EXPECT_EQ(described(port), line[0] == 'B' ? "/d 0/- 0 0" : "/d 0/- 1024 0");
    }
}

TEST_F(PortConfigTest, AFileThatCannotBeUsedGivesNoPortAndIsTriedAgain)
{
    const std::string no_file = "error: Failed to load port config file";
    EXPECT_EQ(ptz_port_canon_new(0), nullptr);
    EXPECT_EQ(log.take(), Lines{no_file});
    const std::string unread = "error: Failed to read config file parameter KRX_PORTS:";
    const std::pair<const char *, std::string> files[] = {
        {"", unread + "Ports"},
        {"Ports=1\n", no_file},
        {"[KRX_PORTS\nPorts=1\n", no_file},
        {"[KRX_PORTS]\n", unread + "Ports"},
        {"[KRX_PORTS]\nPorts=two\n", unread + "Ports"},
        {"[KRX_PORTS]\nPorts=257\n", unread + "Ports"},
        {"[KRX_PORTS]\nPorts=1\nBigEndian=maybe\n", unread + "BigEndian"}};
    for (const auto &[text, message] : files) {
        folder.write("krx_port.conf", text);
        EXPECT_EQ(ptz_port_canon_new(0), nullptr) << text;
        EXPECT_EQ(log.take(), Lines{message}) << text;
    }
    folder.write("krx_port.conf", GOOD);
    EXPECT_NE(PortOwned(ptz_port_canon_new(0)), nullptr);
}

TEST_F(PortConfigTest, AnIndexThatTheFileDoesNotHaveIsRefused)
{
    const Lines refused{guard_line("ptz_port_canon_new", "0 <= port_index && port_index < port_count()")};
    const std::pair<std::string, int> cases[] = {
        {GOOD, -1}, {GOOD, 2}, {GOOD, 1000000}, {"[KRX_PORTS]\nPorts=0", 0}, {"[KRX_PORTS]\nPorts=-5", 0}};
    for (const auto &[text, index] : cases) {
        EXPECT_EQ(port_of(text, index), nullptr);
        EXPECT_EQ(log.take(), refused) << text << " " << index;
    }
}

TEST_F(PortConfigTest, AMissingGroupCostsOnlyItsOwnPort)
{
    const std::string text = "[KRX_PORTS]\nPorts=2\n[KRX_PORT1]\nDevice=/d\nRequestPin=1\n";
    EXPECT_EQ(described(port_of(text, 1)), "/d 1/- 1024 0");
    EXPECT_EQ(log.take(), Lines{"warning: Could not find group KRX_PORT0"});
    EXPECT_EQ(ptz_port_canon_new(0), nullptr);
    EXPECT_EQ(log.take(), Lines{"error: Could not find group KRX_PORT0"});
}

} // namespace
