#include "tests/support/capture.h"
#include "tests/support/hex.h"
#include "vcc/command.h"
#include "vcc/packet.h"
#include "vcc/rows.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using Bytes = std::vector<guint8>;

struct RowCase {
    std::string record, expected;
};

// The record of a row with these parameters.
template <typename RowType, typename... Args>
RowCase row(const RowType &row, const char *expected, Args... args)
{
    guint8 bytes[64];
    return {to_hex(bytes, vcc_command_build(bytes, sizeof bytes, row, args...)), expected};
}

// One row of each shape; the bytes of all of them stand in the document, which the next test holds them against.
TEST(Rows, GiveTheirBytes)
{
    const RowCase cases[] = {
        row(kZoomStop, "03 00 02 00"),
        row(kBrightnessLevel, "04 00 03 01 F8", -8),
        row(kIrCutFilter, "04 00 05 01 01", true),
        row(kShutterLimits, "05 00 03 0E 13 36", 19, 54),
        row(kWhiteBalanceRedGainSet, "06 00 04 07 01 03 FF", 1, 1023),
        row(kSpotExposurePosition, "0B 00 03 10 00 0D 01 02 00 33 FF FE", 13, 258, 51, 65534),
        row(kSoftwareReset, "05 00 08 00 00 00"),
        row(kImageSensorHalt, "05 00 08 00 00 01", 0, 1),
        row(kTiltSpeed, "07 01 03 00 00 00 00 C8", 200u),
        row(kPanTiltPosition, "0B 01 04 00 FF FD 67 F0 00 01 5F 90", -170000, 90000),
        // Parameters keep their low bytes.
        row(kSharpness, "04 00 07 00 34", 0x1234),
        row(kFocusPosition, "05 00 01 01 56 78", 0x12345678),
    };
    for (const auto &[record, expected] : cases)
        EXPECT_EQ(record, expected);
}

TEST(Rows, StandInTheProtocolDocument)
{
    std::stringstream text;
    text << std::ifstream(PROTOCOL_MD).rdbuf();
    for (const VccRowInfo &row : vcc_rows()) {
        const std::string line = std::string("\n| ") + row.name + " | `" + vcc_row_pattern(row) + "` | ";
        EXPECT_NE(text.str().find(line), std::string::npos) << PROTOCOL_MD << " lacks the row:" << line;
    }
}

TEST(CommandBuilder, WithoutPlaceOrRoomWritesNothing)
{
    LogCapture log;
    guint8 bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(vcc_command_build(nullptr, 256, kZoomStop), 0u);
    EXPECT_EQ(vcc_command_build(bytes, 7, kPanSpeed, 200), 0u);
    EXPECT_EQ(log.take(), Lines(2, "error: Failed to create the command"));
    EXPECT_EQ(to_hex(bytes, 8), "01 02 03 04 05 06 07 08");
}

TEST(CommandBuffer, LaysRecordsEndToEndAndLeavesOutWhatNoLongerFits)
{
    LogCapture log;
    CommandBuffer commands;
    for (int i = 0; i < 21; i++)
        EXPECT_EQ(commands.add(kPanTiltPosition, i, i), 12u);
    EXPECT_EQ(commands.add(kSharpness, 1), 0u);
    EXPECT_EQ(commands.add(kZoomStop), 4u);
    EXPECT_EQ(commands.size(), 256u);
    EXPECT_EQ(to_hex(commands.data() + 240, 16), "0B 01 04 00 00 00 00 14 00 00 00 14 03 00 02 00");
    EXPECT_EQ(commands.add(kZoomStop), 0u);
}

TEST(Packet, PutsItsHeaderBeforeThePayload)
{
    const LogCapture log;
    const Bytes payload(1016, 0xAB);
    const VccPacket packet = vcc_packet_build(payload.data(), 1015);
    ASSERT_NE(packet, nullptr);
    EXPECT_EQ(to_hex(packet.get(), 5), "10 01 03 F7 AB");
    EXPECT_EQ(vcc_packet_size(packet.get()), 1019u);
    EXPECT_EQ(packet.get()[1018], 0xAB);
    EXPECT_EQ(vcc_packet_build(nullptr, 5), nullptr);
    EXPECT_EQ(vcc_packet_build(payload.data(), 1016), nullptr);
    const guint8 beyond[] = {0x10, 0x01, 0xFF, 0xFF};
    EXPECT_EQ(vcc_packet_size(beyond), 65539u);
}

} // namespace
