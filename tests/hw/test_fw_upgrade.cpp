// Firmware images and their transfer to a partner that takes frames as the camera block does.
#include "hw/fw_file.h"
#include "hw/fw_upgrade.h"
#include "port/settings.h"
#include "ptzorvel/ports/port_registry.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/fake_hardware.h"

#include <filesystem>
#include <sys/stat.h>
#include <tuple>

namespace {

const std::string FATAL = "error: Fatal error, could not upgrade camera block firmware";

class FwUpgrade : public DriverBench {
  protected:
    FwUpgrade()
    {
        write_file("krx_port.conf", "[KRX_PORTS]\nPorts=2\n[KRX_PORT0]\nDevice=a\nRequestPin=b\n[KRX_PORT1]\n"
                                    "Device=/dev/spidev2.0\nRequestPin=imc_req\nBurstLenght=512\nTriggerMode=2\n");
        port_transfer_settings = {};
        hardware.lines["imc_req"].level = 1;
        hardware.partner = [this](const Bytes &frame) { return answer(frame); };
    }

    // Upgrades from a new conversation; whatever comes of it, nothing of port 1 is left.
    bool upgrade(std::size_t size)
    {
        log.take();
        told.clear();
        received.clear();
        const int descriptors = open_descriptors();
        Bytes image(size);
        for (std::size_t i = 0; i < size; ++i)
            image[i] = static_cast<std::uint8_t>(i * 7 + i / 1016);
        const bool done = ptz_driver_canon_fw_upgrade(image.data(), size);
        EXPECT_EQ(open_descriptors(), descriptors);
        EXPECT_EQ(ptz_port_registry_current()->size(), 0u);
        EXPECT_TRUE(!done || received == image);
        return done;
    }

    // The last messages, as many as wanted.
    Lines last(std::ptrdiff_t count) const
    {
        const Lines lines = log.lines();
        return {lines.end() - std::min(count, std::ssize(lines)), lines.end()};
    }

    Bytes answer(const Bytes &frame)
    {
        const char mode = static_cast<char>('0' + port_transfer_settings.trigger_mode);
        if (trigger_modes.empty() || trigger_modes.back() != mode)
            trigger_modes += mode;
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

    const std::string file = folder() + "/IMC.APP";
    FakeHardware hardware;
    bool ready = true;
    std::string trigger_modes;   // in turn
    std::map<int, int> refusals; // how often each chunk is refused
    Lines told;                  // what the partner was told
    Bytes received;
};

TEST_F(FwUpgrade, TellsThePartnerEveryStepAndTheWholeImage)
{
    EXPECT_TRUE(upgrade(1017));
    EXPECT_EQ(told, (Lines{"read", "read", "read", "10 01 00 0C 0B 02 08 11 AA 55 AA 55 00 00 03 F9", "read", "FF 01",
                           "read", "chunk 0", "chunk 1", "FF 03"}));
    EXPECT_EQ(log.lines(), Lines{"info: Camera block firmware upgrade is complete. "});
    EXPECT_EQ(clock.slept_us(), 7'000'000);
    EXPECT_EQ(port_transfer_settings.burst_length, 1024);
    EXPECT_EQ(trigger_modes, "01");
    const std::tuple<std::size_t, const char *, const char *> cases[] = {
        {0, "00 00 00 00", "read"}, {1016, "00 00 03 F8", "chunk 0"}, {70000, "00 01 11 70", "chunk 68"}};
    for (const auto &[size, announced, last_but_one] : cases) {
        EXPECT_TRUE(upgrade(size));
        EXPECT_TRUE(told[3].ends_with(announced)) << told[3];
        EXPECT_EQ(*(told.end() - 2), last_but_one);
    }
}

TEST_F(FwUpgrade, ARefusedChunkRewindsFive)
{
    refusals = {{3, 1}, {12, 1}};
    EXPECT_TRUE(upgrade(13208));
    std::string indices;
    for (const std::string &line : told)
        if (line.starts_with("chunk"))
            indices += line.substr(5);
    EXPECT_EQ(indices, " 0 1 2 3 0 1 2 3 4 5 6 7 8 9 10 11 12 7 8 9 10 11 12");
    EXPECT_EQ(last(1), Lines{"warning: Firmware upload retry count: 2"});

    refusals = {{2, 400}, {6, 601}};
    EXPECT_FALSE(upgrade(10160));
    EXPECT_EQ(told.back(), "chunk 6");
    EXPECT_EQ(last(3), (Lines{"error: Fatal error, could not transfer camera block firmware: 7/10", FATAL,
                              "warning: Firmware upload retry count: 1001"}));
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
        EXPECT_FALSE(upgrade(5000));
        EXPECT_EQ(last(2), (Lines{"error: " + message, FATAL}));
        EXPECT_EQ(told.size(), failing.empty() ? 3u + 2 + 5 * 2 : 0u);
    }
    // An image of more than 32767 chunks is not even announced.
    write_file("IMC.APP", "131");
    hardware.failing.clear();
    for (const unsigned size : {33291272u, 33291273u}) {
        hardware.calls.clear();
        std::filesystem::resize_file(file, size);
        EXPECT_FALSE(ptz_driver_canon_fw_upgrade_file(file.c_str()));
        EXPECT_EQ(last(1), Lines{FATAL});
        EXPECT_EQ(hardware.calls.empty(), size == 33291273u);
    }
}

TEST_F(FwUpgrade, AFileHasAVersionOnlyWithAWholeHeader)
{
    const auto version_of = [&](const std::string &contents) {
        write_file("IMC.APP", contents);
        return ptz_driver_canon_fw_file_version(file.c_str());
    };
    std::string image(129, '\xAA');
    image.replace(0, 8, std::string("131\0\0\0\0\0", 8)).replace(40, 4, "\x04\x03\x02\xF1");
    EXPECT_EQ(version_of(image), 0xF1020304u);
    EXPECT_EQ(version_of(image.substr(0, 127)), 0u);
    image[7] = 1;
    EXPECT_EQ(version_of(image), 0u);
    std::filesystem::remove(file);
    EXPECT_EQ(ptz_driver_canon_fw_file_version(file.c_str()), 0u);
    EXPECT_FALSE(ptz_driver_canon_fw_upgrade_file(file.c_str()));
    mkfifo(file.c_str(), 0600); // nobody waits for its writer
    EXPECT_EQ(ptz_driver_canon_fw_file_version(file.c_str()), 0u);
    EXPECT_FALSE(ptz_driver_canon_fw_upgrade_file(file.c_str()));
    EXPECT_EQ(log.take(),
              (Lines{"warning: file read len: 127", "warning: firmware file format error",
                     "warning: file read len: 128", "warning: Can't open firmware file", "warning: file read len: 0"}));
}

} // namespace
