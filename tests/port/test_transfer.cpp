// Reads and writes on an open port: what is clocked out, and what becomes of every frame that may come back.
#include "port/ptz_port_canon_transfer.h"
#include "tests/port/port_fixture.h"

#include <climits>

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

    PortOwned port;
};

TEST_F(TransferTest, WriteClocksTheFrameWithZeroFiller)
{
    hardware.replies = {ABC_FRAME};
    EXPECT_EQ(write("abc", 3), 3);
    Bytes expected{0x00, 0x03, 0xFE, 0xDA, 'a', 'b', 'c'};
    expected.resize(1024, 0);
    EXPECT_EQ(hardware.sent, std::vector<Bytes>{expected});
    EXPECT_EQ(hardware.transfer, "speed 3000000 delay 1 bits 8 cs 0 tx 0 rx 0 word 0");
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(TransferTest, ReadClocksAnEmptyFrameAndCopiesWhatFits)
{
    hardware.replies = {ABC_FRAME, ABC_FRAME, ABC_FRAME, EMPTY_FRAME};
    char buffer[4] = {'.', '.', '.', '.'};
    EXPECT_EQ(read(buffer, 2), 2);
    EXPECT_EQ(std::string(buffer, 4), "ab..");
    EXPECT_EQ(read(buffer, 4), 3);
    EXPECT_EQ(std::string(buffer, 4), "abc.");
    EXPECT_EQ(read(buffer, -1), 0);
    EXPECT_EQ(read(buffer, 4), 0);
    EXPECT_EQ(hardware.sent, std::vector<Bytes>(4, Bytes(1024, 0)));
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(TransferTest, WriteTakesAtMost1916Bytes)
{
    hardware.replies = {ABC_FRAME, ABC_FRAME};
    const Bytes many(2000, 0xFF);
    EXPECT_EQ(write(many.data(), 2000), 1916);
    EXPECT_EQ(hardware.sent[0].size(), 1024u);
    EXPECT_EQ(Bytes(hardware.sent[0].begin(), hardware.sent[0].begin() + 5), (Bytes{0x07, 0x7C, 0x8B, 0x7C, 0xFF}));
    EXPECT_EQ(write(nullptr, INT_MIN), 0);
    EXPECT_EQ(hardware.sent[1], Bytes(1024, 0));
}

TEST_F(TransferTest, BigEndianConcernsOnlyWhatIsReceived)
{
    port_transfer_settings.big_endian = true;
    hardware.replies = {{0x00, 0x03, 0xFE, 0xDA, 'a', 'b', 'c'}};
    EXPECT_EQ(write("abc", 3), 3);
    EXPECT_EQ(Bytes(hardware.sent[0].begin(), hardware.sent[0].begin() + 4), (Bytes{0x00, 0x03, 0xFE, 0xDA}));
}

struct BadFrame {
    Bytes received;
    int burst;
    int read_result;
    const char *message; // of a write, and of a read that fails
};

TEST_F(TransferTest, ChecksSizeAndChecksumOfWhatComesBack)
{
    const Bytes full_1020{0xFC, 0x03, 0xB9, 0x4B}; // 1020 times EE, one too many
    const Bytes full_1916{0x7C, 0x07, 0xB7, 0x0A}; // 1916 times EE, one too few
    const BadFrame cases[] = {
        {EMPTY_FRAME, 1024, 0, "Transports payload data size is invalid: 0(0000)"},
        {{0xFD, 0x03, 0, 0}, 1024, -1, "Transports data size is invalid: 1025(0401)"},
        {{0xFF, 0xFF, 0, 0}, 1024, -1, "Transports data size is invalid: 65539(10003)"},
        {{0xFC, 0xFF, 0, 0}, 1024, -1, "Transports data size is invalid: 65536(10000)"},
        {{0x0D, 0x00, 0, 0}, 16, -1, "Transports data size is invalid: 17(0011)"},
        {{0x7D, 0x07, 0, 0}, 4000, -1, "Transports data size is invalid: 1921(0781)"},
        {{0x01, 0x00, 0, 0}, 4, -1, "Transports data size is invalid: 5(0005)"},
        {{0x03, 0x00, 0xDB, 0xFE, 'a', 'b', 'c'},
         1024,
         -1,
         "Checksum does not match, received checksum: fedb calculated checksum: feda"},
        {{0x03, 0x00, 0xDA, 0xFE, 'a', 'b', 'd'},
         1024,
         -1,
         "Checksum does not match, received checksum: feda calculated checksum: fed9"},
        {full_1020, 1024, -1, "Checksum does not match, received checksum: 4bb9 calculated checksum: 4bb8"},
        {full_1916, 4000, -1, "Checksum does not match, received checksum: 0ab7 calculated checksum: 0ab8"},
    };
    for (const BadFrame &bad : cases) {
        SCOPED_TRACE(bad.message);
        port_transfer_settings.burst_length = bad.burst;
        hardware.replies = {bad.received, bad.received};
        Bytes buffer(1920);
        EXPECT_EQ(read(buffer.data(), 1920), bad.read_result);
        EXPECT_EQ(log.take(), bad.read_result < 0 ? Lines{std::string("warning: ") + bad.message} : Lines{});
        EXPECT_EQ(write("abc", 3), -1);
        EXPECT_EQ(log.take(), Lines{std::string("warning: ") + bad.message});
    }
}

TEST_F(TransferTest, AnEmptyFrameWithAChecksumIsNoFrame)
{
    hardware.replies = {{0, 0, 1, 0}};
    char byte;
    EXPECT_EQ(read(&byte, 1), -1);
    EXPECT_EQ(log.take(), Lines{"warning: Checksum does not match, received checksum: 0001 calculated checksum: 0000"});
}

TEST_F(TransferTest, TheFullestFrameIsAccepted)
{
    Bytes buffer(1920);
    hardware.replies = {{0xFC, 0x03, 0xB8, 0x4B}, {0x7C, 0x07, 0xB8, 0x0A}};
    EXPECT_EQ(read(buffer.data(), 1920), 1020);
    port_transfer_settings.burst_length = 1920;
    EXPECT_EQ(read(buffer.data(), 1920), 1916);
    EXPECT_EQ(buffer[1915], 0xEE);
    EXPECT_EQ(buffer[1916], 0x00);
}

TEST_F(TransferTest, NeverClocksMoreThanAFrameHoldsNorLessThanAHeader)
{
    const struct {
        int burst;
        const char *call;
    } clocked[] = {{4, "message 4"}, {1920, "message 1920"}, {1921, "message 1920"}, {INT_MAX, "message 1920"}};
    for (const auto &each : clocked) {
        hardware.calls.clear();
        port_transfer_settings.burst_length = each.burst;
        hardware.replies = {EMPTY_FRAME};
        EXPECT_EQ(read(nullptr, 0), 0);
        EXPECT_EQ(hardware.calls.back(), each.call);
    }
    hardware.calls.clear();
    for (const int burst : {3, 0, -1, INT_MIN}) {
        port_transfer_settings.burst_length = burst;
        EXPECT_EQ(read(nullptr, 0), -1) << burst;
        EXPECT_EQ(log.take(),
                  (Lines{"warning: Could not send spi message", "error: Failed to communicate, could not read data"}));
    }
    EXPECT_EQ(hardware.calls_of({"message"}), Lines{});
}

TEST_F(TransferTest, AFailedBurstIsReported)
{
    hardware.failing["message"] = EIO;
    EXPECT_EQ(write("abc", 3), -1);
    EXPECT_EQ(log.take(),
              (Lines{"warning: Could not send spi message", "error: Failed to communicate, could not write data"}));
}

TEST_F(TransferTest, AFailedWaitLeavesTheBusAlone)
{
    hardware.lines["imc_req"].level = 0;
    char byte;
    EXPECT_EQ(read(&byte, 1), -1);
    EXPECT_EQ(write("abc", 3), -1);
    const std::string timeout = "warning: Timeout (10s) occurred while waiting for request!";
    const std::string abort = "warning: Abort waiting the request for communication start";
    EXPECT_EQ(log.take(), (Lines{timeout, abort, "error: Failed to communicate, could not read data", timeout, abort,
                                 "error: Failed to communicate, could not write data"}));
    EXPECT_EQ(hardware.sent.size(), 0u);
}

TEST_F(TransferTest, AClosedPortIsReported)
{
    close_port(port);
    char byte;
    EXPECT_EQ(read(&byte, 1), -1);
    EXPECT_EQ(write("abc", 3), -1);
    EXPECT_EQ(log.take(), Lines(2, "warning: The port is not open"));
    EXPECT_EQ(hardware.calls, Lines{});
}

TEST_F(TransferTest, GoesByTheSettingsOfThePortOpenedLast)
{
    hardware.replies = {EMPTY_FRAME};
    const PortOwned other = make_port(64, 2);
    open_port(other);
    EXPECT_EQ(read(nullptr, 0), 0);
    EXPECT_EQ(hardware.calls_of({"fd", "message"}), (Lines{"fd imc_req", "message 64"}));
}

} // namespace
