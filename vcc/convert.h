// Linear conversions between framework values and camera values.
//
// All of them compute in single precision, in the order in which they are written, and cut integers towards zero; what
// an unsigned result cannot hold below 0 becomes 0. They take the descriptor, which a caller must have; those that go
// by a table of the model take the driver, as the look-ups of lookup.h and shutter.h do.
#pragma once

#include "vcc/model.h"

struct PTZDriverCanon;

// Degrees (pan -170..170, tilt -20..90) and camera positions. Not clamped.
int vccif_degree_to_vcc_pan(const CameraModel *model, float degree);
float vccif_vcc_to_degree_pan(const CameraModel *model, int position);
int vccif_degree_to_vcc_tilt(const CameraModel *model, float degree);
float vccif_vcc_to_degree_tilt(const CameraModel *model, int position);

// Percent 0..100 to a camera speed, through the model's speed table when it has one (then 0 outside of the table).
int vccif_percent_to_vcc_pan_speed(const PTZDriverCanon *self, float percent);
int vccif_percent_to_vcc_tilt_speed(const PTZDriverCanon *self, float percent);

// The speed at `percent` between the two rows around it; the lower pair wins where two meet. Outside of the table a
// warning is logged and the speed is 0.
unsigned vccif_interpolate_speed(const SpeedRow *table, float percent);

// Zoom 1..9999 to a zoom-motor position, or to (magnification - 1) x 256.
unsigned vccif_zenta_to_vcc_zoom(const CameraModel *model, int zoom);
unsigned vccif_zenta_to_vcc_optical_magnification(const CameraModel *model, int zoom);
// Zoom less 10000, 0..9999, to (digital factor - 1) x 256.
unsigned vccif_zenta_to_vcc_digital_zoom(const CameraModel *model, int digital_zoom);
int vccif_percent_to_vcc_zoom_speed(const CameraModel *model, float percent);

// Magnification, optical times digital, and fields of view in degrees as the status gives them.
float vccif_get_zoom_magnification();
float vccif_get_hfov();
float vccif_get_vfov();
// Magnification to zoom, 1..19999 for 1 to the model's largest one. Not clamped.
int vccif_magnification_to_zenta_zoom(const CameraModel *model, float magnification);

// Focus 1..9999 and camera positions. Towards the camera nothing is clamped, from it only above 9999.
int vccif_zenta_to_vcc_focus(const CameraModel *model, int focus);
int vccif_vcc_to_zenta_focus(const CameraModel *model, int position);
int vccif_percent_to_vcc_focus_speed(const CameraModel *model, int percent);

// Level 0..100 to the camera value of a range, in two straight pieces that meet at 50.
int vccif_percent_to_vcc_range(const Range *range, int level);
