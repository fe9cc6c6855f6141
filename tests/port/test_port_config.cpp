// Ports from krx_port.conf: complete, half-filled, malformed and missing files.
#include "port/ptz_port_canon_config.h"
#include "tests/port/port_fixture.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

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

namespace fs = std::filesystem;

class PortConfigTest : public PortTest {
  protected:
    PortConfigTest() : folder(fs::temp_directory_path() / ("port_config." + std::to_string(getpid())))
    {
        fs::create_directory(folder);
        setenv("PTZ_DATA_DIR", folder.c_str(), 1);
        ptz_port_canon_forget_config();
    }

    ~PortConfigTest() override
    {
        ptz_port_canon_forget_config();
        unsetenv("PTZ_DATA_DIR");
        fs::remove_all(folder);
    }

    void write_file(const std::string &text) const { std::ofstream(folder / "krx_port.conf") << text; }

    // Port `index` of a file with this text, read afresh.
    PortOwned port_of(const std::string &text, int index = 0) const
    {
        write_file(text);
        ptz_port_canon_forget_config();
        return PortOwned(ptz_port_canon_new(index));
    }

    // "device pin/name burst trigger"
    static std::string described(const PortOwned &port)
    {
        if (port == nullptr)
            return "none";
        const auto *self = reinterpret_cast<const PTZPortCanon *>(port.get());
        return std::string(self->device) + " " + std::to_string(self->request.number) + "/" +
               (self->request.name != nullptr ? self->request.name : "-") + " " + std::to_string(self->burst_len) +
               " " + std::to_string(self->trig_mode);
    }

    const fs::path folder;
};

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

    fs::remove(folder / "krx_port.conf"); // read once per process
    const PortOwned second(ptz_port_canon_new(1));
    EXPECT_EQ(described(second), "/dev/spidev2.2 -1/cam_req 16 1");
    EXPECT_EQ(reinterpret_cast<const PTZPortCanon *>(second.get())->port_index, 1);
    EXPECT_EQ(served.name, "Port.KRX.SIO1");
    EXPECT_EQ(log.take(), Lines{});
}

struct PartialGroup {
    const char *group; // below "Ports=1"
    const char *port;
    Lines messages;
};

TEST_F(PortConfigTest, WhatAGroupLacksOrGarblesIsReplaced)
{
    const std::string no_device = "warning: Failed to read config file parameter KRX_PORT0:Device";
    const std::string no_pin = "warning: Failed to read config file parameter KRX_PORT0:RequestPin";
    const std::string no_burst = "warning: Failed to read config file parameter KRX_PORT0:BurstLenght";
    const std::string no_trigger = "warning: Failed to read config file parameter KRX_PORT0:TriggerMode";
    const PartialGroup groups[] = {
        {"", "/dev/spidev1.0 -1/imc_req 1024 0", {no_device, no_pin}},
        {"Device=/d\nRequestPin=imc_req\n", "/d -1/imc_req 1024 0", {}},
        {"Device=/d\nRequestPin=-1\n", "/d -1/- 1024 0", {}},
        {"Device=/d\nRequestPin=3x\n", "/d -1/3x 1024 0", {}},
        {"Device=\\z\nRequestPin=\\z\n", "/dev/spidev1.0 -1/imc_req 1024 0", {no_device, no_pin}},
        {"Device=/d\nRequestPin=1\nBurstLenght=many\nTriggerMode=2\n", "/d 1/- 1024 2", {no_burst}},
        {"Device=/d\nRequestPin=1\nBurstLenght=100\nTriggerMode=edge\n", "/d 1/- 100 0", {no_trigger}},
        {"Device=/d\nRequestPin=1\nBurstLength=100\n", "/d 1/- 1024 0", {}}, // another key
    };
    for (const PartialGroup &each : groups) {
        SCOPED_TRACE(each.group);
        EXPECT_EQ(described(port_of(std::string("[KRX_PORTS]\nPorts=1\n[KRX_PORT0]\n") + each.group)), each.port);
        EXPECT_EQ(log.take(), each.messages);
    }
    EXPECT_FALSE(port_transfer_settings.big_endian);
}

TEST_F(PortConfigTest, ValuesOutOfRangeAreRefusedByTheProperties)
{
    for (const char *line :
         {"BurstLenght=15\n", "BurstLenght=1921\n", "TriggerMode=4\n", "TriggerMode=-1\n", "RequestPin=10000\n"}) {
        const PortOwned port =
            port_of(std::string("[KRX_PORTS]\nPorts=1\n[KRX_PORT0]\nDevice=/d\nRequestPin=0\n") + line);
        EXPECT_NE(port, nullptr);
        const Lines lines = log.take();
        ASSERT_EQ(lines.size(), 1u) << line;
        EXPECT_TRUE(lines[0].starts_with("glib: value \"")) << lines[0];
        EXPECT_EQ(described(port), line[0] == 'B' ? "/d 0/- 0 0" : "/d 0/- 1024 0");
    }
}

struct BadFile {
    const char *text;
    Lines messages;
};

TEST_F(PortConfigTest, AFileThatCannotBeUsedGivesNoPortAndIsTriedAgain)
{
    EXPECT_EQ(ptz_port_canon_new(0), nullptr);
    EXPECT_EQ(log.take(), Lines{"error: Failed to load port config file"});
    const std::string no_ports = "error: Failed to read config file parameter KRX_PORTS:Ports";
    const BadFile files[] = {
        {"", {no_ports}},
        {"Ports=1\n", {"error: Failed to load port config file"}},
        {"[KRX_PORTS\nPorts=1\n", {"error: Failed to load port config file"}},
        {"[KRX_PORTS]\n", {no_ports}},
        {"[KRX_PORTS]\nPorts=two\n", {no_ports}},
        {"[KRX_PORTS]\nPorts=257\n", {no_ports}},
        {"[KRX_PORTS]\nPorts=1\nBigEndian=maybe\n",
         {"error: Failed to read config file parameter KRX_PORTS:BigEndian"}},
    };
    for (const BadFile &file : files) {
        write_file(file.text);
        EXPECT_EQ(ptz_port_canon_new(0), nullptr) << file.text;
        EXPECT_EQ(log.take(), file.messages) << file.text;
    }
    write_file(GOOD);
    EXPECT_NE(PortOwned(ptz_port_canon_new(0)), nullptr);
}

TEST_F(PortConfigTest, AnIndexThatTheFileDoesNotHaveIsRefused)
{
    const Lines refused{guard_line("ptz_port_canon_new", "0 <= port_index && port_index < port_count()")};
    for (const int index : {-1, 2, 1000000}) {
        EXPECT_EQ(port_of(GOOD, index), nullptr);
        EXPECT_EQ(log.take(), refused);
    }
    for (const char *ports : {"0", "-5"}) {
        EXPECT_EQ(port_of(std::string("[KRX_PORTS]\nPorts=") + ports), nullptr);
        EXPECT_EQ(log.take(), refused);
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
