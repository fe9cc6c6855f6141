// Which camera model and which of its capture modes are meant.
#pragma once

#include <glib.h>

struct CameraModel;
struct CaptureModeRow;
struct PTZDriverCanon;

// The code of a model name, compared exactly; -1 when it is not known.
int ptz_driver_canon_model_from_name(const char *name);

// The descriptor of a model code. FALSE, logged and *model untouched, when there is none.
gboolean ptz_driver_canon_select_model(int code, const CameraModel **model);

// The capture mode of that name, e.g. "1080p30" in any letter case, from the model's broadcast or integer frame rates;
// where the model has both, `broadcast_frame_rate` chooses. FALSE, logged and *row untouched, when there is none.
gboolean ptz_driver_canon_utils_parse_capture_modes(const PTZDriverCanon *self, const char *mode,
                                                    const CaptureModeRow **row);
