// Reads and writes on an open port: what is clocked out, and what becomes of every frame that may come back.
#include "port/transfer.h"
#include "tests/port/port_fixture.h"

#include <numeric>

namespace {

using Bytes = FakeHardware::Bytes;

const std::string SEND = "warning: Could not send spi message", ERROR = "error: Failed to communicate, could not ";
const Bytes EMPTY_FRAME{0, 0, 0, 0};
const Bytes ABC_FRAME{0x03, 0x00, 0xDA, 0xFE, 'a', 'b', 'c'}; // as received: least significant byte first

// What a write and a read say whose burst failed for `cause`.
Lines unsent(const std::string &cause)
{
    const std::string burst = "warning: A burst of " + cause;
    return {SEND, burst, ERROR + "write data", SEND, burst, ERROR + "read data"};
}

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

    // A write and a read, both of which fail, and what they log.
    Lines fail()
    {
        EXPECT_EQ(write("abc", 3), -1);
        EXPECT_EQ(read(nullptr, 0), -1);
        return log.take();
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
    EXPECT_EQ(hardware.transfer, (std::vector<unsigned>{3000000, 1, 8, 0, 0}));
}

TEST_F(TransferTest, ReadClocksAnEmptyFrameAndCopiesWhatFits)
{
    hardware.replies = {ABC_FRAME, ABC_FRAME, ABC_FRAME, EMPTY_FRAME};
    std::string buffer(4, '.');
    EXPECT_EQ(read(buffer.data(), 2), 2);
    EXPECT_EQ(buffer, "ab..");
    EXPECT_EQ(read(buffer.data(), 4), 3);
    EXPECT_EQ(buffer, "abc.");
    EXPECT_EQ(read(buffer.data(), -1), 0);
    EXPECT_EQ(read(buffer.data(), 4), 0);
    EXPECT_EQ(hardware.sent, std::vector<Bytes>(4, Bytes(1024, 0)));
}

TEST_F(TransferTest, AFullFrameHolds1916Bytes)
{
    hardware.replies = {{0x7C, 0x07, 0xB8, 0x0A}, ABC_FRAME, ABC_FRAME};
    port_transfer_settings.burst_length = 1920;
    Bytes many(2000);
    EXPECT_EQ(read(many.data(), 2000), 1916);
    EXPECT_EQ(Bytes(many.begin() + 1915, many.begin() + 1917), (Bytes{0xEE, 0}));
    std::iota(many.begin(), many.end(), std::uint8_t{0});
    EXPECT_EQ(write(many.data(), 2000), 1916);
    EXPECT_EQ(Bytes(hardware.sent[1].begin(), hardware.sent[1].begin() + 5), (Bytes{0x07, 0x7C, 0x65, 0xB6, 0x00}));
    EXPECT_EQ(hardware.sent[1].back(), 0x7B);
    EXPECT_EQ(write(nullptr, -1), 0);
    EXPECT_EQ(hardware.sent[2], Bytes(1920, 0));
}

TEST_F(TransferTest, ChecksSizeAndChecksumOfWhatComesBack)
{
    const std::string size = "warning: Transports data size is invalid: ",
                      sum = "warning: Checksum does not match, received checksum: ";
    const std::pair<Bytes, std::string> cases[] = {
        {{0xFD, 0x03, 0, 0}, size + "1025(0401)"},
        {{0xFC, 0xFF, 0, 0}, size + "65536(10000)"},
        {{0x03, 0x00, 0xDA, 0xFE, 'a', 'b', 'd'}, sum + "feda calculated checksum: fed9"},
        {{0xFC, 0x03, 0xB9, 0x4B}, sum + "4bb9 calculated checksum: 4bb8"}, // 1020 times EE
    };
    for (const auto &[received, message] : cases) {
        hardware.replies = {received, received};
        EXPECT_EQ(fail(), Lines(2, message));
    }
    // An empty frame is no answer to a write; for a read it needs its checksum.
    hardware.replies = {EMPTY_FRAME, {0, 0, 1, 0}};
    EXPECT_EQ(fail(), (Lines{"warning: Transports payload data size is invalid: 0(0000)",
                             sum + "0001 calculated checksum: 0000"}));
}

TEST_F(TransferTest, NeverClocksMoreThanAFrameHoldsNorLessThanAHeader)
{
    hardware.replies = std::deque<Bytes>(3, EMPTY_FRAME);
    const PortOwned other = make_port(64, 2); // opened last, so its settings are in force
    open_port(other);
    EXPECT_EQ(read(nullptr, 0), 0);
    EXPECT_EQ(hardware.calls_of({"fd"}), Lines{"fd imc_req"});
    for (const int burst : {4, 1921}) {
        port_transfer_settings.burst_length = burst;
        EXPECT_EQ(read(nullptr, 0), 0);
    }
    EXPECT_EQ(hardware.calls_of({"message"}), (Lines{"message 64", "message 4", "message 1920"}));
    hardware.replies = {{0x7D, 0x07, 0, 0}, {0x7D, 0x07, 0, 0}};
    EXPECT_EQ(fail(), Lines(2, "warning: Transports data size is invalid: 1921(0781)"));
    port_transfer_settings.burst_length = 3;
    EXPECT_EQ(fail(), unsent("3 bytes failed. (Invalid argument:22)"));
}

TEST_F(TransferTest, AFailedBurstAndAClosedPortAreReported)
{
    hardware.failing["message"] = EMSGSIZE;
    EXPECT_EQ(fail(), unsent("1024 bytes failed. (Message too long:90)"));
    close_port(port);
    hardware.calls.clear();
    EXPECT_EQ(fail(), Lines(2, "warning: The port is not open"));
    EXPECT_EQ(hardware.calls, Lines{});
}

} // namespace
