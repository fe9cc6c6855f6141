#include "tests/support/capture.h"
#include "vcc/vcc_command.h"
#include "vcc/vcc_packet.h"
#include "vcc/vcc_rows.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<guint8>;

std::string hex(const guint8 *bytes, std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; i++) {
        char byte[4];
        std::snprintf(byte, sizeof byte, i == 0 ? "%02X" : " %02X", bytes[i]);
        text += byte;
    }
    return text;
}

struct RowCase {
    const char *name;
    const char *expected;
    Bytes record;
};

// A row, the record expected of it and the parameters to build it from.
template <typename RowType, typename... Args>
RowCase row(const char *name, const RowType &row, const char *expected, Args... args)
{
    Bytes record(64, 0xEE);
    record.resize(vcc_command_build(record.data(), record.size(), row, args...));
    return {name, expected, record};
}

const std::vector<RowCase> &all_cases()
{
    static const std::vector<RowCase> cases = {
        row("Focus mode", kFocusMode, "04 00 01 00 05", 5),
        row("Focus position", kFocusPosition, "05 00 01 01 04 78", 1144),
        row("Focus speed", kFocusSpeed, "04 00 01 03 07", 7),
        row("IR correction", kIrCorrection, "04 00 01 04 03", 3),
        row("Auto focus sensitivity", kAutoFocusSensitivity, "04 00 01 0A 7F", 127),
        row("Auto focus mode", kAutoFocusMode, "04 00 01 0B 02", 2),
        row("Auto focus interval time", kAutoFocusIntervalTime, "04 00 01 0C FF", 255),
        row("Auto focus activity time", kAutoFocusActivityTime, "04 00 01 0D 80", 128u),
        row("Auto focus near limit", kAutoFocusNearLimit, "04 00 01 10 FF", -1),
        row("Zoom stop", kZoomStop, "03 00 02 00"),
        row("Zoom optical position", kZoomOpticalPosition, "05 00 02 01 09 88", 2440),
        row("Zoom digital position", kZoomDigitalPosition, "05 00 02 02 0B 00", 2816),
        row("Zoom speed", kZoomSpeed, "04 00 02 03 07", 7),
        row("Zoom magnification", kZoomMagnification, "05 00 02 06 1D 00", 7424),
        row("Exposure mode", kExposureMode, "04 00 03 00 0B", 11),
        row("Brightness level", kBrightnessLevel, "04 00 03 01 F8", -8),
        row("Iris level A", kIrisLevelA, "04 00 03 02 20", 32),
        row("Shutter", kShutter, "04 00 03 03 36", 54),
        row("Gain", kGain, "04 00 03 04 10", 16),
        row("Exposure window", kExposureWindow, "04 00 03 06 02", 2),
        row("Maximum gain", kMaximumGain, "04 00 03 07 08", 8),
        row("Shutter limits", kShutterLimits, "05 00 03 0E 13 36", 19, 54),
        row("Auto exposure response", kAutoExposureResponse, "04 00 03 0F 64", 100),
        row("Spot exposure position", kSpotExposurePosition, "0B 00 03 10 00 0D 01 02 00 33 FF FE", 13, 258, 51, 65534),
        row("Iris level B", kIrisLevelB, "04 00 03 15 20", 32),
        row("White balance mode", kWhiteBalanceMode, "04 00 04 00 17", 23),
        row("White balance red gain", kWhiteBalanceRedGain, "05 00 04 05 03 FF", 1023),
        row("White balance blue gain", kWhiteBalanceBlueGain, "05 00 04 06 01 00", 256),
        row("White balance red gain set", kWhiteBalanceRedGainSet, "06 00 04 07 01 03 FF", 1, 1023),
        row("White balance blue gain set", kWhiteBalanceBlueGainSet, "06 00 04 08 01 01 00", 1, 256),
        row("One-push white balance", kOnePushWhiteBalance, "03 00 04 09"),
        row("Colour level", kColourLevel, "05 00 04 80 06 64", 6, 100),
        row("Colour hue", kColourHue, "05 00 04 81 00 64", 0, 100),
        row("Chroma suppression", kChromaSuppression, "04 00 04 82 03", 3),
        row("Day/night mode", kDayNightMode, "04 00 05 00 01", 1),
        row("IR-cut filter", kIrCutFilter, "04 00 05 01 01", true),
        row("Day/night threshold", kDayNightThreshold, "04 00 05 02 04", 4),
        row("Day/night hysteresis", kDayNightHysteresis, "04 00 05 08 02", 2),
        row("Day/night waiting time", kDayNightWaitingTime, "04 00 05 09 03", 3),
        row("Image stabilization", kImageStabilization, "04 00 06 00 01", 1),
        row("Distortion correction", kDistortionCorrection, "04 00 06 01 01", 1),
        row("Sharpness", kSharpness, "04 00 07 00 0A", 10),
        row("Noise reduction", kNoiseReduction, "04 00 07 01 13", 19),
        row("Defog", kDefog, "04 00 07 05 01", 1),
        row("Defog effect", kDefogEffect, "04 00 07 06 0A", 10),
        row("WDR", kWdr, "04 00 07 09 01", 1),
        row("Gamma", kGamma, "04 00 07 0A 01", 1),
        row("Software reset", kSoftwareReset, "05 00 08 00 00 00"),
        row("Image sensor halt", kImageSensorHalt, "05 00 08 00 00 01", 0, 1),
        row("Pan speed", kPanSpeed, "07 01 02 00 00 01 86 A0", 100000),
        row("Tilt speed", kTiltSpeed, "07 01 03 00 00 00 00 C8", 200u),
        row("Pan/tilt position", kPanTiltPosition, "0B 01 04 00 FF FD 67 F0 00 01 5F 90", -170000, 90000),
        row("Pan/tilt stop", kPanTiltStop, "04 01 05 00 02", 2),
        row("Pan position", kPanPosition, "07 01 08 00 FF FD 67 F0", -170000),
        row("Tilt position", kTiltPosition, "07 01 09 00 FF FF B1 E0", -20000),
        row("Rotation", kRotation, "04 02 08 03 01", 1),
        row("Video mode", kVideoMode, "04 02 08 04 01", 1),
        row("Video output", kVideoOutput, "04 02 08 17 01", 1),
        row("Scan mode", kScanMode, "04 02 08 18 01", 1),
        row("Capture frame rate", kCaptureFrameRate, "04 02 08 19 05", 5),
        row("SDI mapping", kSdiMapping, "04 02 08 1D 01", 1),
        row("Sensor capture mode", kSensorCaptureMode, "04 02 10 EF 02", 2),
    };
    return cases;
}

TEST(Rows, GiveTheirBytes)
{
    for (const RowCase &c : all_cases())
        EXPECT_EQ(hex(c.record.data(), c.record.size()), c.expected) << c.name;
}

TEST(Rows, AreAllListedAndFoundFromTheirRecords)
{
    Lines listed, typed;
    for (const VccRowInfo &row : vcc_rows())
        listed.push_back(row.name);
    for (const RowCase &c : all_cases()) {
        typed.push_back(c.name);
        const VccRowInfo *row = vcc_row_of_record(c.record.data(), c.record.size());
        ASSERT_NE(row, nullptr) << c.name;
        EXPECT_STREQ(row->name, c.name);
    }
    EXPECT_EQ(listed, typed);
}

TEST(Rows, RecordsOfAnotherLengthOrItemAreNotFound)
{
    const guint8 short_stop[] = {0x02, 0x00, 0x02}, long_stop[] = {0x04, 0x00, 0x02, 0x00, 0x00};
    const guint8 unknown[] = {0x03, 0x00, 0x02, 0x09}, wrong_length[] = {0x04, 0x00, 0x02, 0x00};
    EXPECT_EQ(vcc_row_of_record(short_stop, sizeof short_stop), nullptr);
    EXPECT_EQ(vcc_row_of_record(long_stop, sizeof long_stop), nullptr);
    EXPECT_EQ(vcc_row_of_record(unknown, sizeof unknown), nullptr);
    EXPECT_EQ(vcc_row_of_record(wrong_length, sizeof wrong_length), nullptr);
    EXPECT_EQ(vcc_row_of_record(unknown, 0), nullptr);
    EXPECT_EQ(vcc_row_of_record(nullptr, 4), nullptr);
}

TEST(CommandBuilder, KeepsTheLowBytesOfAValue)
{
    guint8 bytes[16];
    ASSERT_EQ(vcc_command_build(bytes, sizeof bytes, kSharpness, 0x1234), 5u);
    EXPECT_EQ(hex(bytes, 5), "04 00 07 00 34");
    ASSERT_EQ(vcc_command_build(bytes, sizeof bytes, kFocusPosition, 0x12345678), 6u);
    EXPECT_EQ(hex(bytes, 6), "05 00 01 01 56 78");
}

TEST(CommandBuilder, WithoutPlaceOrRoomWritesNothing)
{
    LogCapture log;
    guint8 bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(vcc_command_build(nullptr, 256, kZoomStop), 0u);
    EXPECT_EQ(vcc_command_build(bytes, 7, kPanSpeed, 200), 0u);
    EXPECT_EQ(log.take(), (Lines{"error: Failed to create the command", "error: Failed to create the command"}));
    EXPECT_EQ(hex(bytes, 8), "01 02 03 04 05 06 07 08");
    EXPECT_EQ(vcc_command_build(bytes, 8, kPanSpeed, 200), 8u);
    EXPECT_EQ(log.take(), Lines{});
}

TEST(CommandBuffer, LaysRecordsEndToEnd)
{
    CommandBuffer commands;
    commands.add(kZoomStop);
    commands.add(kPanTiltStop, 1);
    commands.add(kPanTiltStop, 2);
    EXPECT_EQ(hex(commands.data(), commands.size()), "03 00 02 00 04 01 05 00 01 04 01 05 00 02");
}

TEST(CommandBuffer, LeavesOutTheRecordThatNoLongerFits)
{
    LogCapture log;
    CommandBuffer commands;
    for (int i = 0; i < 21; i++)
        EXPECT_EQ(commands.add(kPanTiltPosition, i, i), 12u);
    EXPECT_EQ(commands.size(), 252u);
    EXPECT_EQ(commands.add(kSharpness, 1), 0u);
    EXPECT_EQ(commands.size(), 252u);
    EXPECT_EQ(log.take(), Lines{"error: Failed to create the command"});
    EXPECT_EQ(commands.add(kZoomStop), 4u);
    EXPECT_EQ(hex(commands.data() + 252, 4), "03 00 02 00");
    EXPECT_EQ(commands.add(kZoomStop), 0u);
}

TEST(Packet, PutsItsHeaderBeforeThePayload)
{
    const guint8 payload[] = {0x04, 0x00, 0x07, 0x00, 0x0A};
    const VccPacket packet = vcc_packet_build(payload, sizeof payload);
    ASSERT_NE(packet, nullptr);
    ASSERT_EQ(vcc_packet_size(packet.get()), 9u);
    EXPECT_EQ(hex(packet.get(), 9), "10 01 00 05 04 00 07 00 0A");
}

TEST(Packet, LengthHasItsHighByteFirst)
{
    const Bytes payload(1015, 0xAB);
    const VccPacket packet = vcc_packet_build(payload.data(), payload.size());
    ASSERT_NE(packet, nullptr);
    EXPECT_EQ(hex(packet.get(), 4), "10 01 03 F7");
    EXPECT_EQ(vcc_packet_size(packet.get()), 1019u);
    EXPECT_EQ(packet.get()[1018], 0xAB);
    const guint8 largest[] = {0x10, 0x01, 0xFF, 0xFF};
    EXPECT_EQ(vcc_packet_size(largest), 65539u);
}

TEST(Packet, RefusesNoPayloadAndTooMuch)
{
    LogCapture log;
    const Bytes payload(1016, 0);
    EXPECT_EQ(vcc_packet_build(nullptr, 5), nullptr);
    EXPECT_EQ(vcc_packet_build(payload.data(), 0), nullptr);
    EXPECT_EQ(vcc_packet_build(payload.data(), 1016), nullptr);
    EXPECT_EQ(log.take(), Lines(3, "error: Failed to create the command"));
}

} // namespace
