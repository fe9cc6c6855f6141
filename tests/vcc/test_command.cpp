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
        row(ROW_ZOOM_STOP, "03 00 02 00"),
        row(ROW_BRIGHTNESS_LEVEL, "04 00 03 01 F8", -8),
        row(ROW_IR_CUT_FILTER, "04 00 05 01 01", true),
        row(ROW_SHUTTER_LIMITS, "05 00 03 0E 13 36", 19, 54),
        row(ROW_WHITE_BALANCE_RED_GAIN_SET, "06 00 04 07 01 03 FF", 1, 1023),
        row(ROW_SPOT_EXPOSURE_POSITION, "0B 00 03 10 00 0D 01 02 00 33 FF FE", 13, 258, 51, 65534),
        row(ROW_SOFTWARE_RESET, "05 00 08 00 00 00"),
        row(ROW_IMAGE_SENSOR_HALT, "05 00 08 00 00 01", 0, 1),
        row(ROW_TILT_SPEED, "07 01 03 00 00 00 00 C8", 200u),
        row(ROW_PAN_TILT_POSITION, "0B 01 04 00 FF FD 67 F0 00 01 5F 90", -170000, 90000),
        // Parameters keep their low bytes.
        row(ROW_SHARPNESS, "04 00 07 00 34", 0x1234),
        row(ROW_FOCUS_POSITION, "05 00 01 01 56 78", 0x12345678),
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
    EXPECT_EQ(vcc_command_build(nullptr, 256, ROW_ZOOM_STOP), 0u);
    EXPECT_EQ(vcc_command_build(bytes, 7, ROW_PAN_SPEED, 200), 0u);
    EXPECT_EQ(log.take(), Lines(2, "error: Failed to create the command"));
    EXPECT_EQ(to_hex(bytes, 8), "01 02 03 04 05 06 07 08");
}

TEST(CommandBuffer, LaysRecordsEndToEndAndLeavesOutWhatNoLongerFits)
{
    LogCapture log;
    CommandBuffer commands;
    for (int i = 0; i < 21; i++)
        EXPECT_EQ(commands.add(ROW_PAN_TILT_POSITION, i, i), 12u);
    EXPECT_EQ(commands.add(ROW_SHARPNESS, 1), 0u);
    EXPECT_EQ(commands.add(ROW_ZOOM_STOP), 4u);
    EXPECT_EQ(commands.size(), 256u);
    EXPECT_EQ(to_hex(commands.data() + 240, 16), "0B 01 04 00 00 00 00 14 00 00 00 14 03 00 02 00");
    EXPECT_EQ(commands.add(ROW_ZOOM_STOP), 0u);
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
