// The zoom scale of the driver object, in single precision.
#pragma once

struct PTZDriverCanon;

// Magnification to zoom position: 1..9999 over the model's optical range, 10000..19999 up to `max_digital_zoom` times
// it. Clamped to 1..max_digital_zoom x the optical range first. Not cut to an integer.
float ptz_driver_canon_zoom_mag_to_zenta(const PTZDriverCanon *self, float magnification);

// Zoom position to magnification. 0 gives 1.0; anything above 19999, and below 0, gives the largest magnification.
float ptz_driver_canon_zoom_zenta_to_mag(const PTZDriverCanon *self, int zoom);
