// Firmware images and their transfer to a partner that takes frames as the camera block does.
#include "hw/ptz_driver_canon_fw_file.h"
#include "hw/ptz_driver_canon_fw_upgrade.h"
#include "port/ptz_port_canon_config.h"
#include "port/ptz_port_canon_settings.h"
#include "tests/support/capture.h"
#include "tests/support/fake_hardware.h"
#include "tests/support/hex.h"
#include "tests/support/temp_folder.h"
#include "tests/support/virtual_clock.h"

#include <gtest/gtest.h>

#include <map>
#include <sys/stat.h>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using Bytes = FakeHardware::Bytes;

gpointer live_port = nullptr; // cleared when the port is gone

constexpr const char *PORTS = "[KRX_PORTS]\nPorts=2\n[KRX_PORT0]\nDevice=a\nRequestPin=b\n[KRX_PORT1]\nDevice=/dev/"
                              "spidev2.0\nRequestPin=imc_req\n"
                              "BurstLenght=512\nTriggerMode=2\n";
const std::string FATAL = "error: Fatal error, could not upgrade camera block firmware";
const std::string COMPLETE = "info: Camera block firmware upgrade is complete. ";
const std::string RETRIES = "warning: Firmware upload retry count: ";

Bytes image_of(std::size_t size)
{
    Bytes image(size);
    for (std::size_t i = 0; i < size; ++i)
        image[i] = static_cast<std::uint8_t>(i * 7 + i / 1016);
    return image;
}

class FwUpgrade : public testing::Test {
  protected:
    FwUpgrade()
    {
        folder.write("krx_port.conf", PORTS);
        ptz_port_canon_forget_config();
        port_transfer_settings = {};
        hardware.lines["imc_req"].level = 1;
        hardware.partner = [this](const Bytes &frame) { return answer(frame); };
    }

    ~FwUpgrade() override { ptz_port_canon_forget_config(); }

    // Upgrades from a new conversation; whatever comes of it, nothing of port 1 is left.
    bool upgrade(const Bytes &image)
    {
        log.take();
        told.clear();
        received.clear();
        const int descriptors = open_descriptors();
        const bool done = ptz_driver_canon_fw_upgrade(image.data(), image.size());
        EXPECT_EQ(live_port, nullptr);
        EXPECT_EQ(open_descriptors(), descriptors);
        return done;
    }

    // The last messages, as many as wanted.
    Lines last(std::size_t count) const
    {
        Lines lines = log.lines();
        lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(std::min(count, lines.size())));
        return lines;
    }

    Bytes answer(const Bytes &frame)
    {
        const auto size = static_cast<std::size_t>(frame[0] << 8 | frame[1]);
        const std::uint8_t *payload = frame.data() + 4;
        if (size < 4 || payload[0] != 0xFF) {
            told.push_back(size == 0 ? "read" : to_hex(payload, size));
        } else {
            const int index = payload[2] << 8 | payload[3];
            told.push_back("chunk " + std::to_string(index));
            if (refusals[index]-- > 0)
                return {0, 0, 0, 0};
            received.resize(static_cast<std::size_t>(index) * 1016);
            received.insert(received.end(), payload + 4, payload + size);
        }
        return ready ? Bytes{2, 0, 0x02, 0xFF, 0xFE, 0x00} : Bytes{2, 0, 0x01, 0xFF, 0xFE, 0x01};
    }

    const TempFolder folder{"PTZ_DATA_DIR"};
    const std::string file = folder.file("IMC.APP");
    VirtualClock clock;
    FakeHardware hardware;
    LogCapture log;
    bool ready = true;
    std::map<int, int> refusals; // how often each chunk is refused
    Lines told;                  // what the partner was told
    Bytes received;
};

TEST_F(FwUpgrade, TellsThePartnerEveryStepAndTheWholeImage)
{
    EXPECT_TRUE(upgrade(image_of(1017)));
    EXPECT_EQ(told, (Lines{"read", "read", "read", "10 01 00 0C 0B 02 08 11 AA 55 AA 55 00 00 03 F9", "read", "FF 01",
                           "read", "chunk 0", "chunk 1", "FF 03"}));
    EXPECT_EQ(received, image_of(1017));
    EXPECT_EQ(log.lines(), Lines{COMPLETE});
    EXPECT_EQ(clock.slept_us(), 7'000'000);
    EXPECT_EQ(hardware.calls_of({"spi-open"}), Lines{"spi-open /dev/spidev2.0"});
    EXPECT_EQ(port_transfer_settings.burst_length, 1024);
    EXPECT_EQ(port_transfer_settings.trigger_mode, 1);
    const std::tuple<std::size_t, const char *, const char *> cases[] = {
        {0, "00 00 00 00", "read"}, {1016, "00 00 03 F8", "chunk 0"}, {70000, "00 01 11 70", "chunk 68"}};
    for (const auto &[size, announced, last_but_one] : cases) {
        EXPECT_TRUE(upgrade(image_of(size)));
        EXPECT_TRUE(told[3].ends_with(announced)) << told[3];
        EXPECT_EQ(*(told.end() - 2), last_but_one);
        EXPECT_EQ(received, image_of(size));
    }
}

TEST_F(FwUpgrade, ARefusedChunkRewindsFive)
{
    refusals = {{3, 1}, {12, 1}, {13, 2}};
    EXPECT_TRUE(upgrade(image_of(13213)));
    EXPECT_EQ(received, image_of(13213));
    std::string indices;
    for (const std::string &line : told)
        if (line.starts_with("chunk"))
            indices += line.substr(5);
    EXPECT_EQ(indices, " 0 1 2 3 0 1 2 3 4 5 6 7 8 9 10 11 12 7 8 9 10 11 12 13 8 9 10 11 12 13 8 9 10 11 12 13");
    EXPECT_EQ(last(2), (Lines{COMPLETE, RETRIES + "4"}));

    refusals = {{2, 400}, {6, 600}};
    EXPECT_TRUE(upgrade(image_of(10160)));
    EXPECT_EQ(last(1), Lines{RETRIES + "1000"});
    refusals = {{2, 400}, {6, 601}};
    EXPECT_FALSE(upgrade(image_of(10160)));
    EXPECT_EQ(told.back(), "chunk 6");
    EXPECT_EQ(last(3),
              (Lines{"error: Fatal error, could not transfer camera block firmware: 7/10", FATAL, RETRIES + "1001"}));
}

TEST_F(FwUpgrade, FailuresBeforeTheTransferEndIt)
{
    ready = false;
    const std::pair<std::map<std::string, int>, std::string> failures[] = {
        {{}, "Fatal error, could not start camera block firmware upgrading"},
        {{{"message", EIO}}, "Fatal error, could not reflesh the port"},
        {{{"spi-open", EIO}}, "Failed to open the port"},
    };
    for (const auto &[failing, message] : failures) {
        hardware.failing = failing;
        EXPECT_FALSE(upgrade(image_of(5000)));
        EXPECT_EQ(last(2), (Lines{"error: " + message, FATAL}));
        EXPECT_EQ(told.size(), failing.empty() ? 3u + 2 + 5 * 2 : 0u);
    }
}

TEST_F(FwUpgrade, AnImageOfMoreThan32767ChunksIsRefused)
{
    folder.write("IMC.APP", "131");
    ready = false;
    fs::resize_file(file, 33291272);
    EXPECT_FALSE(ptz_driver_canon_fw_upgrade_file(file.c_str()));
    EXPECT_EQ(told[3], "10 01 00 0C 0B 02 08 11 AA 55 AA 55 01 FB FC 08");
    log.take();
    hardware.calls.clear();
    fs::resize_file(file, 33291273);
    EXPECT_FALSE(ptz_driver_canon_fw_upgrade_file(file.c_str()));
    fs::remove(file);
    EXPECT_FALSE(ptz_driver_canon_fw_upgrade_file(file.c_str()));
    EXPECT_EQ(log.lines(), Lines{FATAL}); // of the first alone
    EXPECT_TRUE(hardware.calls.empty());
}

TEST_F(FwUpgrade, AFileHasAVersionOnlyWithAWholeHeader)
{
    const auto version_of = [&](const std::string &contents) {
        folder.write("IMC.APP", contents);
        return ptz_driver_canon_fw_file_version(file.c_str());
    };
    std::string image(129, '\xAA');
    image.replace(0, 8, std::string("131\0\0\0\0\0", 8)).replace(40, 4, "\x04\x03\x02\xF1");
    for (const std::size_t size : {0u, 7u, 8u, 43u, 44u, 127u}) {
        EXPECT_EQ(version_of(image.substr(0, size)), 0u);
        EXPECT_EQ(log.take(), Lines{"warning: file read len: " + std::to_string(size)});
    }
    EXPECT_EQ(version_of(image.substr(0, 128)), 0xF1020304u);
    EXPECT_EQ(version_of(image), 0xF1020304u);
    image[7] = 1;
    EXPECT_EQ(version_of(image), 0u);
    fs::remove(file);
    EXPECT_EQ(ptz_driver_canon_fw_file_version(file.c_str()), 0u);
    EXPECT_EQ(log.take(), (Lines{"warning: firmware file format error", "warning: file read len: 128",
                                 "warning: Can't open firmware file"}));
    mkfifo(file.c_str(), 0600); // nobody waits for its writer
    EXPECT_EQ(ptz_driver_canon_fw_file_version(file.c_str()), 0u);
    EXPECT_FALSE(ptz_driver_canon_fw_upgrade_file(file.c_str()));
}

} // namespace

// In the place of the framework's: shows how long the port lives.
GObject *ptz_port_dbus_server_new(GObject *port, const char *, const char *)
{
    live_port = port;
    g_object_add_weak_pointer(port, &live_port);
    return G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
}
