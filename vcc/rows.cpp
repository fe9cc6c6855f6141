#include "vcc/rows.h"

#include <cstdio>

namespace {

constexpr VccRowInfo all_rows[] = {
    kFocusMode.info(),
    kFocusPosition.info(),
    kFocusSpeed.info(),
    kIrCorrection.info(),
    kAutoFocusSensitivity.info(),
    kAutoFocusMode.info(),
    kAutoFocusIntervalTime.info(),
    kAutoFocusActivityTime.info(),
    kAutoFocusNearLimit.info(),
    kZoomStop.info(),
    kZoomOpticalPosition.info(),
    kZoomDigitalPosition.info(),
    kZoomSpeed.info(),
    kZoomMagnification.info(),
    kExposureMode.info(),
    kBrightnessLevel.info(),
    kIrisLevelA.info(),
    kShutter.info(),
    kGain.info(),
    kExposureWindow.info(),
    kMaximumGain.info(),
    kShutterLimits.info(),
    kAutoExposureResponse.info(),
    kSpotExposurePosition.info(),
    kIrisLevelB.info(),
    kWhiteBalanceMode.info(),
    kWhiteBalanceRedGain.info(),
    kWhiteBalanceBlueGain.info(),
    kWhiteBalanceRedGainSet.info(),
    kWhiteBalanceBlueGainSet.info(),
    kOnePushWhiteBalance.info(),
    kColourLevel.info(),
    kColourHue.info(),
    kChromaSuppression.info(),
    kDayNightMode.info(),
    kIrCutFilter.info(),
    kDayNightThreshold.info(),
    kDayNightHysteresis.info(),
    kDayNightWaitingTime.info(),
    kImageStabilization.info(),
    kDistortionCorrection.info(),
    kSharpness.info(),
    kNoiseReduction.info(),
    kDefog.info(),
    kDefogEffect.info(),
    kWdr.info(),
    kGamma.info(),
    kSoftwareReset.info(),
    kImageSensorHalt.info(),
    kPanSpeed.info(),
    kTiltSpeed.info(),
    kPanTiltPosition.info(),
    kPanTiltStop.info(),
    kPanPosition.info(),
    kTiltPosition.info(),
    kRotation.info(),
    kVideoMode.info(),
    kVideoOutput.info(),
    kScanMode.info(),
    kCaptureFrameRate.info(),
    kSdiMapping.info(),
    kSensorCaptureMode.info(),
};

} // namespace

std::span<const VccRowInfo> vcc_rows()
{
    return all_rows;
}

std::string vcc_row_pattern(const VccRowInfo &row)
{
    char byte[8];
    std::snprintf(byte, sizeof byte, "%02X", static_cast<unsigned>(row.size() - 1));
    std::string pattern = byte;
    for (const guint8 value : row.fixed) {
        std::snprintf(byte, sizeof byte, " %02X", value);
        pattern += byte;
    }
    char letter = 'p';
    for (const VccWidth width : row.widths) {
        for (int i = 0; i < static_cast<int>(width); i++)
            pattern.append({' ', letter, letter});
        letter++;
    }
    return pattern;
}
