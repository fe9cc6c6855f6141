// Shutter speeds and exposure times of the driver's current capture mode.
//
// A shutter speed is a percent 0..100, an exposure time in microseconds or the camera block's code; a slow shutter,
// which exposes for longer than a frame, is minus a number of frames. Without a table for the capture mode an error is
// logged and the result is -1; that is also the result beyond the end of a table.
#pragma once

#include "core/guard.h"
#include "vcc/model.h"

#include <cstring>

struct PTZDriverCanon;

// The table of that capture mode (in any letter case) in a list of the camera model; null, without a message, when the
// list does not name it. A missing list or capture mode is a guard failure.
template <typename Table>
auto ptz_driver_canon_utils_get_shutter_table(const Table *shutter_tbls, const char *capture_mode)
    -> decltype(shutter_tbls->rows)
{
    GUARD(shutter_tbls, nullptr);
    GUARD(capture_mode, nullptr);
    // Every exposure looks here, nearly always with the table's own spelling, which is several times faster to compare.
    for (const Table *table = shutter_tbls; table->capture_mode != nullptr; table++)
        if (std::strcmp(table->capture_mode, capture_mode) == 0)
            return table->rows;
    for (const Table *table = shutter_tbls; table->capture_mode != nullptr; table++)
        if (g_ascii_strcasecmp(table->capture_mode, capture_mode) == 0)
            return table->rows;
    return nullptr;
}

// Percent or slow-shutter limit (negative) to a code: the first row of at least that percent, or that many frames.
int vccif_percent_to_vcc_shutter(const PTZDriverCanon *self, int value);

// Exposure time in microseconds or slow-shutter limit (negative) to a code: the first row of at least that time, or
// that many frames.
int vccif_exposure_time_to_vcc_shutter(const PTZDriverCanon *self, int value);

// Code to exposure time in microseconds: the first row whose code is not above it. A negative code is a guard failure.
int vccif_vcc_to_exposure_time_shutter(const PTZDriverCanon *self, int value);

// The longest exposure in microseconds with slow shutter "on" (in any letter case), or "off": one frame. -1 with an
// error logged when there is none, or for any other mode.
int ptz_driver_canon_utils_get_max_exposure_time(const PTZDriverCanon *self, const char *mode);
