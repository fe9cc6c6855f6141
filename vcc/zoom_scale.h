// The zoom scale of the driver object, and three value functions that movements share. All compute in single precision.
#pragma once

struct PTZDriverCanon;

// Magnification to zoom position: 1..9999 over the model's optical range, 10000..19999 up to `max_digital_zoom` times
// it. Clamped to 1..max_digital_zoom x the optical range first. Not cut to an integer.
float ptz_driver_canon_zoom_mag_to_zenta(const PTZDriverCanon *self, float magnification);

// Zoom position to magnification. 0 gives 1.0; anything above 19999, and below 0, gives the largest magnification.
float ptz_driver_canon_zoom_zenta_to_mag(const PTZDriverCanon *self, int zoom);

// Maps a < b < c onto p, q, r in two straight pieces that meet at b, cut towards zero.
int ptz_driver_canon_map2(float x, float a, float b, float c, float p, float q, float r);

// c - (x - a), cut towards zero: the other way round in a..c.
int ptz_driver_canon_mirror(float x, float a, float c);

// Position 1..9999 to percent 0..100, cut towards zero.
int ptz_driver_canon_zenta_to_percent(float position);
