#include "tests/support/capture.h"
#include "tests/support/hex.h"
#include "vcc/vcc_command.h"
#include "vcc/vcc_packet.h"
#include "vcc/vcc_rows.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using Bytes = std::vector<guint8>;

struct RowCase {
    std::string record, expected;
};

// The record of a row with these parameters, which must be recognised as one of that row.
template <typename RowType, typename... Args>
RowCase row(const RowType &row, const char *expected, Args... args)
{
    guint8 bytes[64];
    const std::size_t size = vcc_command_build(bytes, sizeof bytes, row, args...);
    const VccRowInfo *found = vcc_row_of_record(bytes, size);
    EXPECT_STREQ(found != nullptr ? found->name : "nothing", row.name);
    return {to_hex(bytes, size), expected};
}

TEST(Rows, GiveTheirBytesAndAreFoundFromThem)
{
    // clang-format off
    const RowCase cases[] = {
        // Focus
        row(kFocusMode, "04 00 01 00 05", 5), row(kFocusPosition, "05 00 01 01 04 78", 1144),
        row(kFocusSpeed, "04 00 01 03 07", 7), row(kIrCorrection, "04 00 01 04 03", 3),
        row(kAutoFocusSensitivity, "04 00 01 0A 7F", 127), row(kAutoFocusMode, "04 00 01 0B 02", 2),
        row(kAutoFocusIntervalTime, "04 00 01 0C FF", 255), row(kAutoFocusActivityTime, "04 00 01 0D 80", 128u),
        row(kAutoFocusNearLimit, "04 00 01 10 FF", -1),
        // Zoom
        row(kZoomStop, "03 00 02 00"), row(kZoomOpticalPosition, "05 00 02 01 09 88", 2440),
        row(kZoomDigitalPosition, "05 00 02 02 0B 00", 2816), row(kZoomSpeed, "04 00 02 03 07", 7),
        row(kZoomMagnification, "05 00 02 06 1D 00", 7424),
        // Exposure
        row(kExposureMode, "04 00 03 00 0B", 11), row(kBrightnessLevel, "04 00 03 01 F8", -8),
        row(kIrisLevelA, "04 00 03 02 20", 32), row(kShutter, "04 00 03 03 36", 54), row(kGain, "04 00 03 04 10", 16),
        row(kExposureWindow, "04 00 03 06 02", 2), row(kMaximumGain, "04 00 03 07 08", 8),
        row(kShutterLimits, "05 00 03 0E 13 36", 19, 54), row(kAutoExposureResponse, "04 00 03 0F 64", 100),
        row(kIrisLevelB, "04 00 03 15 20", 32),
        row(kSpotExposurePosition, "0B 00 03 10 00 0D 01 02 00 33 FF FE", 13, 258, 51, 65534),
        // White balance and colour
        row(kWhiteBalanceMode, "04 00 04 00 17", 23), row(kWhiteBalanceRedGain, "05 00 04 05 03 FF", 1023),
        row(kWhiteBalanceBlueGain, "05 00 04 06 01 00", 256), row(kOnePushWhiteBalance, "03 00 04 09"),
        row(kWhiteBalanceRedGainSet, "06 00 04 07 01 03 FF", 1, 1023),
        row(kWhiteBalanceBlueGainSet, "06 00 04 08 01 01 00", 1, 256), row(kColourLevel, "05 00 04 80 06 64", 6, 100),
        row(kColourHue, "05 00 04 81 00 64", 0, 100), row(kChromaSuppression, "04 00 04 82 03", 3),
        // Day and night
        row(kDayNightMode, "04 00 05 00 01", 1), row(kIrCutFilter, "04 00 05 01 01", true),
        row(kDayNightThreshold, "04 00 05 02 04", 4), row(kDayNightHysteresis, "04 00 05 08 02", 2),
        row(kDayNightWaitingTime, "04 00 05 09 03", 3),
        // Image and block
        row(kImageStabilization, "04 00 06 00 01", 1), row(kDistortionCorrection, "04 00 06 01 01", 1),
        row(kSharpness, "04 00 07 00 0A", 10), row(kNoiseReduction, "04 00 07 01 13", 19),
        row(kDefog, "04 00 07 05 01", 1), row(kDefogEffect, "04 00 07 06 0A", 10), row(kWdr, "04 00 07 09 01", 1),
        row(kGamma, "04 00 07 0A 01", 1), row(kSoftwareReset, "05 00 08 00 00 00"),
        row(kImageSensorHalt, "05 00 08 00 00 01", 0, 1),
        // Pan and tilt
        row(kPanSpeed, "07 01 02 00 00 01 86 A0", 100000), row(kTiltSpeed, "07 01 03 00 00 00 00 C8", 200u),
        row(kPanTiltPosition, "0B 01 04 00 FF FD 67 F0 00 01 5F 90", -170000, 90000),
        row(kPanTiltStop, "04 01 05 00 02", 2), row(kPanPosition, "07 01 08 00 FF FD 67 F0", -170000),
        row(kTiltPosition, "07 01 09 00 FF FF B1 E0", -20000),
        // Video and capture
        row(kRotation, "04 02 08 03 01", 1), row(kVideoMode, "04 02 08 04 01", 1),
        row(kVideoOutput, "04 02 08 17 01", 1), row(kScanMode, "04 02 08 18 01", 1),
        row(kCaptureFrameRate, "04 02 08 19 05", 5), row(kSdiMapping, "04 02 08 1D 01", 1),
        row(kSensorCaptureMode, "04 02 10 EF 02", 2),
        // Parameters keep their low bytes.
        row(kSharpness, "04 00 07 00 34", 0x1234), row(kFocusPosition, "05 00 01 01 56 78", 0x12345678),
    };
    // clang-format on
    for (const auto &[record, expected] : cases)
        EXPECT_EQ(record, expected);
    EXPECT_EQ(vcc_rows().size(), std::size(cases) - 2) << "a row that no case stands for";
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

TEST(Rows, RecordsOfAnotherLengthOrItemAreNotFound)
{
    for (const Bytes &record : {Bytes{0x02, 0x00, 0x02}, Bytes{0x04, 0x00, 0x02, 0x00, 0x00},
                                Bytes{0x03, 0x00, 0x02, 0x09}, Bytes{0x04, 0x00, 0x02, 0x00}})
        EXPECT_EQ(vcc_row_of_record(record.data(), record.size()), nullptr);
    EXPECT_EQ(vcc_row_of_record(nullptr, 4), nullptr);
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
