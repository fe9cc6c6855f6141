// Reads and writes on an open port: what is clocked out, and what becomes of every frame that may come back.
#include "port/ptz_port_canon_transfer.h"
#include "tests/port/port_fixture.h"

#include <climits>
#include <numeric>

namespace {

using Bytes = FakeHardware::Bytes;

const Bytes EMPTY_FRAME{0, 0, 0, 0};
const Bytes ABC_FRAME{0x03, 0x00, 0xDA, 0xFE, 'a', 'b', 'c'}; // as received: least significant byte first

class TransferTest : public PortTest {
  protected:
    TransferTest() : port(make_port())
    {
        hardware.lines["imc_req"].level = 1;
        open_port(port);
        hardware.calls.clear();
    }

    int read(void *buffer, int capacity) { return ptz_port_canon_read_data(port.get(), buffer, capacity, 0, 45000); }
    int write(const void *bytes, int length) { return ptz_port_canon_write_data(port.get(), bytes, length, 0, 0); }

    // A write and a read fail, each with these warnings and, when `error` is set, the operation's own error.
    void expect_both_fail(const Lines &warnings, bool error)
    {
        Bytes buffer(1920);
        for (const char *operation : {"write", "read"}) {
            EXPECT_EQ(*operation == 'w' ? write("abc", 3) : read(buffer.data(), 1920), -1);
            Lines expected = warnings;
            if (error)
                expected.push_back(std::string("error: Failed to communicate, could not ") + operation + " data");
            EXPECT_EQ(log.take(), expected);
        }
    }

    PortOwned port;
};

TEST_F(TransferTest, WriteClocksTheFrameWithZeroFillerAndTakesTheAnswerInEitherByteOrder)
{
    hardware.replies = {ABC_FRAME, {0x00, 0x03, 0xFE, 0xDA, 'a', 'b', 'c'}};
    EXPECT_EQ(write("abc", 3), 3);
    port_transfer_settings.big_endian = true; // which concerns only what is received
    EXPECT_EQ(write("abc", 3), 3);
    Bytes expected{0x00, 0x03, 0xFE, 0xDA, 'a', 'b', 'c'};
    expected.resize(1024, 0);
    EXPECT_EQ(hardware.sent, std::vector<Bytes>(2, expected));
    EXPECT_EQ(hardware.transfer, "speed 3000000 delay 1 bits 8 cs 0 tx 0 rx 0 word 0");
}

TEST_F(TransferTest, ReadClocksAnEmptyFrameAndCopiesWhatFits)
{
    hardware.replies = {ABC_FRAME, ABC_FRAME, ABC_FRAME, EMPTY_FRAME, {0xFC, 0x03, 0xB8, 0x4B}};
    std::string buffer(1920, '.');
    EXPECT_EQ(read(buffer.data(), 2), 2);
    EXPECT_EQ(buffer.substr(0, 4), "ab..");
    EXPECT_EQ(read(buffer.data(), 4), 3);
    EXPECT_EQ(buffer.substr(0, 4), "abc.");
    EXPECT_EQ(read(buffer.data(), -1), 0);
    EXPECT_EQ(read(buffer.data(), 4), 0);
    EXPECT_EQ(read(buffer.data(), 1920), 1020);
    EXPECT_EQ(hardware.sent, std::vector<Bytes>(5, Bytes(1024, 0)));
    hardware.replies = {{0x7C, 0x07, 0xB8, 0x0A}}; // as full as a frame can be
    port_transfer_settings.burst_length = 1920;
    EXPECT_EQ(read(buffer.data(), 1920), 1916);
    EXPECT_EQ(buffer.substr(1915), "\xEE....");
}

TEST_F(TransferTest, WriteTakesAtMost1916Bytes)
{
    hardware.replies = {ABC_FRAME, ABC_FRAME, ABC_FRAME};
    Bytes many(2000);
    std::iota(many.begin(), many.end(), std::uint8_t{0});
    EXPECT_EQ(write(many.data(), 2000), 1916);
    EXPECT_EQ(hardware.sent[0].size(), 1024u);
    EXPECT_EQ(Bytes(hardware.sent[0].begin(), hardware.sent[0].begin() + 5), (Bytes{0x07, 0x7C, 0x65, 0xB6, 0x00}));
    EXPECT_EQ(write(nullptr, INT_MIN), 0);
    EXPECT_EQ(hardware.sent[1], Bytes(1024, 0));
    port_transfer_settings.burst_length = 1920;
    EXPECT_EQ(write(many.data(), 1916), 1916);
    EXPECT_EQ(hardware.sent[2].back(), 0x7B);
}

TEST_F(TransferTest, ChecksSizeAndChecksumOfWhatComesBack)
{
    const std::string size = "Transports data size is invalid: ";
    const auto checksums = [](const char *received, const char *calculated) {
        return std::string("Checksum does not match, received checksum: ") + received +
               " calculated checksum: " + calculated;
    };
    const struct {
        Bytes received;
        int burst;
        std::string message;
    } cases[] = {
        {{0xFD, 0x03, 0, 0}, 1024, size + "1025(0401)"},
        {{0xFC, 0xFF, 0, 0}, 1024, size + "65536(10000)"},
        {{0x7D, 0x07, 0, 0}, 4000, size + "1921(0781)"},
        {{0x01, 0x00, 0, 0}, 4, size + "5(0005)"},
        {{0x03, 0x00, 0xDB, 0xFE, 'a', 'b', 'c'}, 1024, checksums("fedb", "feda")},
        {{0x03, 0x00, 0xDA, 0xFE, 'a', 'b', 'd'}, 1024, checksums("feda", "fed9")},
        {{0xFC, 0x03, 0xB9, 0x4B}, 1024, checksums("4bb9", "4bb8")}, // 1020 times EE, one too many
        {{0x7C, 0x07, 0xB7, 0x0A}, 4000, checksums("0ab7", "0ab8")}, // 1916 times EE, one too few
    };
    for (const auto &bad : cases) {
        SCOPED_TRACE(bad.message);
        port_transfer_settings.burst_length = bad.burst;
        hardware.replies = {bad.received, bad.received};
        expect_both_fail({"warning: " + bad.message}, false);
    }
    // An empty frame is no answer to a write; for a read it needs its checksum.
    hardware.replies = {EMPTY_FRAME, {0, 0, 1, 0}};
    EXPECT_EQ(write("abc", 3), -1);
    EXPECT_EQ(log.take(), Lines{"warning: Transports payload data size is invalid: 0(0000)"});
    char byte;
    EXPECT_EQ(read(&byte, 1), -1);
    EXPECT_EQ(log.take(), Lines{"warning: " + checksums("0001", "0000")});
}

TEST_F(TransferTest, NeverClocksMoreThanAFrameHoldsNorLessThanAHeader)
{
    hardware.replies = std::deque<Bytes>(5, EMPTY_FRAME);
    const PortOwned other = make_port(64, 2); // opened last, so its settings are in force
    open_port(other);
    EXPECT_EQ(read(nullptr, 0), 0);
    EXPECT_EQ(hardware.calls_of({"fd"}), Lines{"fd imc_req"});
    for (const int burst : {4, 1920, 1921, INT_MAX}) {
        port_transfer_settings.burst_length = burst;
        EXPECT_EQ(read(nullptr, 0), 0);
    }
    EXPECT_EQ(hardware.calls_of({"message"}),
              (Lines{"message 64", "message 4", "message 1920", "message 1920", "message 1920"}));
    for (const int burst : {3, 0, -1, INT_MIN}) {
        port_transfer_settings.burst_length = burst;
        expect_both_fail({"warning: Could not send spi message"}, true);
    }
    EXPECT_EQ(hardware.sent.size(), 5u);
}

TEST_F(TransferTest, AFailedBurstOrWaitAndAClosedPortAreReported)
{
    hardware.failing["message"] = EIO;
    expect_both_fail({"warning: Could not send spi message"}, true);
    hardware.lines["imc_req"].level = 0;
    hardware.calls.clear();
    expect_both_fail({"warning: Timeout (10s) occurred while waiting for request!",
                      "warning: Abort waiting the request for communication start"},
                     true);
    EXPECT_EQ(hardware.calls_of({"message"}), Lines{}) << "a failed wait leaves the bus alone";
    close_port(port);
    hardware.calls.clear();
    expect_both_fail({"warning: The port is not open"}, false);
    EXPECT_EQ(hardware.calls, Lines{});
}

} // namespace
