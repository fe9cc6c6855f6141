// Every command that the driver can give the camera block: THE table of the protocol.
//
// A new command is one row here, one line in the list of rows.cpp and one in docs/protocol.md; the builder goes by
// these rows. What the parameters mean is told there, and here where a few numbers stand for something.
#pragma once

#include "vcc/row.h"

#include <string>

// clang-format off

// Focus
// 0 auto, 1 manual, 2 drive forwards, 3 drive backwards, 4 infinity, 5 one-push
inline constexpr VccRow kFocusMode{"Focus mode", {0x00, 0x01, 0x00}, {u8}};
inline constexpr VccRow kFocusPosition{"Focus position", {0x00, 0x01, 0x01}, {u16}};
inline constexpr VccRow kFocusSpeed{"Focus speed", {0x00, 0x01, 0x03}, {u8}};
// 0 off, else the model's frequency code
inline constexpr VccRow kIrCorrection{"IR correction", {0x00, 0x01, 0x04}, {u8}};
inline constexpr VccRow kAutoFocusSensitivity{"Auto focus sensitivity", {0x00, 0x01, 0x0A}, {u8}}; // 127 normal, 64 low
inline constexpr VccRow kAutoFocusMode{"Auto focus mode", {0x00, 0x01, 0x0B}, {u8}}; // 0 auto, 1 zoom, 2 interval
inline constexpr VccRow kAutoFocusIntervalTime{"Auto focus interval time", {0x00, 0x01, 0x0C}, {u8}};
inline constexpr VccRow kAutoFocusActivityTime{"Auto focus activity time", {0x00, 0x01, 0x0D}, {u8}};
// near-limit code, signed
inline constexpr VccRow kAutoFocusNearLimit{"Auto focus near limit", {0x00, 0x01, 0x10}, {u8}};

// Zoom
inline constexpr VccRow kZoomStop{"Zoom stop", {0x00, 0x02, 0x00}};
inline constexpr VccRow kZoomOpticalPosition{"Zoom optical position", {0x00, 0x02, 0x01}, {u16}};
// (digital factor - 1) x 256
inline constexpr VccRow kZoomDigitalPosition{"Zoom digital position", {0x00, 0x02, 0x02}, {u16}};
inline constexpr VccRow kZoomSpeed{"Zoom speed", {0x00, 0x02, 0x03}, {u8}};
// (optical magnification - 1) x 256
inline constexpr VccRow kZoomMagnification{"Zoom magnification", {0x00, 0x02, 0x06}, {u16}};

// Exposure
inline constexpr VccRow kExposureMode{"Exposure mode", {0x00, 0x03, 0x00}, {u8}}; // code of the model's exposure tables
inline constexpr VccRow kBrightnessLevel{"Brightness level", {0x00, 0x03, 0x01}, {u8}}; // signed step
inline constexpr VccRow kIrisLevelA{"Iris level A", {0x00, 0x03, 0x02}, {u8}};
inline constexpr VccRow kShutter{"Shutter", {0x00, 0x03, 0x03}, {u8}};
inline constexpr VccRow kGain{"Gain", {0x00, 0x03, 0x04}, {u8}};
// code of the model's window table
inline constexpr VccRow kExposureWindow{"Exposure window", {0x00, 0x03, 0x06}, {u8}};
inline constexpr VccRow kMaximumGain{"Maximum gain", {0x00, 0x03, 0x07}, {u8}};
// shutter codes of the long and of the short limit
inline constexpr VccRow kShutterLimits{"Shutter limits", {0x00, 0x03, 0x0E}, {u8, u8}};
inline constexpr VccRow kAutoExposureResponse{"Auto exposure response", {0x00, 0x03, 0x0F}, {u8}};
// left, top, width, height
inline constexpr VccRow kSpotExposurePosition{"Spot exposure position", {0x00, 0x03, 0x10}, {u16, u16, u16, u16}};
inline constexpr VccRow kIrisLevelB{"Iris level B", {0x00, 0x03, 0x15}, {u8}}; // iris code, directly after level A

// White balance and colour
// code of the model's white-balance table
inline constexpr VccRow kWhiteBalanceMode{"White balance mode", {0x00, 0x04, 0x00}, {u8}};
inline constexpr VccRow kWhiteBalanceRedGain{"White balance red gain", {0x00, 0x04, 0x05}, {u16}};
inline constexpr VccRow kWhiteBalanceBlueGain{"White balance blue gain", {0x00, 0x04, 0x06}, {u16}};
// 1, the same gain
inline constexpr VccRow kWhiteBalanceRedGainSet{"White balance red gain set", {0x00, 0x04, 0x07}, {u8, u16}};
// 1, the same gain
inline constexpr VccRow kWhiteBalanceBlueGainSet{"White balance blue gain set", {0x00, 0x04, 0x08}, {u8, u16}};
inline constexpr VccRow kOnePushWhiteBalance{"One-push white balance", {0x00, 0x04, 0x09}};
// colour (0 all, 1 magenta, 2 red, 3 yellow, 4 green, 5 cyan, 6 blue), level
inline constexpr VccRow kColourLevel{"Colour level", {0x00, 0x04, 0x80}, {u8, u8}};
inline constexpr VccRow kColourHue{"Colour hue", {0x00, 0x04, 0x81}, {u8, u8}}; // colour as for the level, hue
inline constexpr VccRow kChromaSuppression{"Chroma suppression", {0x00, 0x04, 0x82}, {u8}};

// Day and night
inline constexpr VccRow kDayNightMode{"Day/night mode", {0x00, 0x05, 0x00}, {u8}}; // 1 automatic, 0 fixed
// 1 removed (night), 0 in place (day), directly after day/night mode 0
inline constexpr VccRow kIrCutFilter{"IR-cut filter", {0x00, 0x05, 0x01}, {u8}};
inline constexpr VccRow kDayNightThreshold{"Day/night threshold", {0x00, 0x05, 0x02}, {u8}};
inline constexpr VccRow kDayNightHysteresis{"Day/night hysteresis", {0x00, 0x05, 0x08}, {u8}};
inline constexpr VccRow kDayNightWaitingTime{"Day/night waiting time", {0x00, 0x05, 0x09}, {u8}};

// Image processing
inline constexpr VccRow kImageStabilization{"Image stabilization", {0x00, 0x06, 0x00}, {u8}};
inline constexpr VccRow kDistortionCorrection{"Distortion correction", {0x00, 0x06, 0x01}, {u8}};
inline constexpr VccRow kSharpness{"Sharpness", {0x00, 0x07, 0x00}, {u8}};
inline constexpr VccRow kNoiseReduction{"Noise reduction", {0x00, 0x07, 0x01}, {u8}}; // 0 off, else scaled level
inline constexpr VccRow kDefog{"Defog", {0x00, 0x07, 0x05}, {u8}};
inline constexpr VccRow kDefogEffect{"Defog effect", {0x00, 0x07, 0x06}, {u8}};
inline constexpr VccRow kWdr{"WDR", {0x00, 0x07, 0x09}, {u8}};
inline constexpr VccRow kGamma{"Gamma", {0x00, 0x07, 0x0A}, {u8}}; // code of the model's gamma table

// System. The reset comes first: it is the halt's form with both bytes zero.
inline constexpr VccRow kSoftwareReset{"Software reset", {0x00, 0x08, 0x00, 0x00, 0x00}};
inline constexpr VccRow kImageSensorHalt{"Image sensor halt", {0x00, 0x08, 0x00}, {u8, u8}}; // halt: 0, 1; resume: 1, 0

// Pan and tilt: thousandths of a degree and of a degree per second, signed
inline constexpr VccRow kPanSpeed{"Pan speed", {0x01, 0x02, 0x00}, {u32}};
inline constexpr VccRow kTiltSpeed{"Tilt speed", {0x01, 0x03, 0x00}, {u32}};
inline constexpr VccRow kPanTiltPosition{"Pan/tilt position", {0x01, 0x04, 0x00}, {u32, u32}};
inline constexpr VccRow kPanTiltStop{"Pan/tilt stop", {0x01, 0x05, 0x00}, {u8}}; // 1 pan, 2 tilt
inline constexpr VccRow kPanPosition{"Pan position", {0x01, 0x08, 0x00}, {u32}};
inline constexpr VccRow kTiltPosition{"Tilt position", {0x01, 0x09, 0x00}, {u32}};

// Video and capture
inline constexpr VccRow kRotation{"Rotation", {0x02, 0x08, 0x03}, {u8}}; // 0 none, 1 rotated by 180 degrees
inline constexpr VccRow kVideoMode{"Video mode", {0x02, 0x08, 0x04}, {u8}}; // code of the model's video-mode table
inline constexpr VccRow kVideoOutput{"Video output", {0x02, 0x08, 0x17}, {u8}}; // 0 HDMI, 1 SDI
inline constexpr VccRow kScanMode{"Scan mode", {0x02, 0x08, 0x18}, {u8}}; // 0 progressive, 1 interlaced
// frame-rate code of the capture mode
inline constexpr VccRow kCaptureFrameRate{"Capture frame rate", {0x02, 0x08, 0x19}, {u8}};
inline constexpr VccRow kSdiMapping{"SDI mapping", {0x02, 0x08, 0x1D}, {u8}}; // 0 level A, 1 level B
// capture frequency of the capture mode
inline constexpr VccRow kSensorCaptureMode{"Sensor capture mode", {0x02, 0x10, 0xEF}, {u8}};

// clang-format on

// All rows in the order of this file.
std::span<const VccRowInfo> vcc_rows();

// The bytes of a row's record in hexadecimal, each parameter as a letter of its own: "05 00 01 01 pp pp".
std::string vcc_row_pattern(const VccRowInfo &row);
