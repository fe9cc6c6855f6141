// The framework operations that the driver replaces. What each returns and takes is told in ptzorvel/ptz_driver.h; one
// that is "gated" does nothing and returns TRUE until start-up has completed.
#pragma once

#include "core/instance.h"

// Movement and position (gated).
gboolean ptz_driver_canon_op_move(PTZDriver *driver, const PTZMotion *pan, const PTZMotion *tilt, const PTZMotion *zoom,
                                  const PTZMotion *iris, const PTZMotion *focus, const PTZMotion *brightness,
                                  const PTZSpeed *speed);
gboolean ptz_driver_canon_op_stop(PTZDriver *driver);
gboolean ptz_driver_canon_op_get_position(PTZDriver *driver, gint32 *pan, gint32 *tilt, gint32 *zoom, gint32 *iris,
                                          gint32 *focus, gint32 *brightness);
gboolean ptz_driver_canon_op_get_field_of_view(PTZDriver *driver, gint32 unused, gint32 *angle, gint32 *widest,
                                               gint32 *hfov, gint32 *vfov);
gboolean ptz_driver_canon_op_angle_to_zoom(PTZDriver *driver, gint32 angle, gint32 scale_percent, gint32 *zoom);

// Modes and parameters (gated, but for the speed factor).
gboolean ptz_driver_canon_op_iris_mode_changed(PTZDriver *driver);
gboolean ptz_driver_canon_op_focus_mode_changed(PTZDriver *driver);
gboolean ptz_driver_canon_op_backlight_changed(PTZDriver *driver);
gboolean ptz_driver_canon_op_useradv_changed(PTZDriver *driver, const char *name);
gboolean ptz_driver_canon_op_imagesource_changed(PTZDriver *driver, const char *name);
gboolean ptz_driver_canon_op_limit_changed(PTZDriver *driver, const char *name);
gboolean ptz_driver_canon_op_speed_factor_changed(PTZDriver *driver);

// At any time.
gboolean ptz_driver_canon_op_run_special_command(PTZDriver *driver, const char *command);
gboolean ptz_driver_canon_op_get_special_commands(PTZDriver *driver, char ***list);
gboolean ptz_driver_canon_op_open(PTZDriver *driver);
gboolean ptz_driver_canon_op_close(PTZDriver *driver);
gboolean ptz_driver_canon_op_install_params(PTZDriver *driver);
gboolean ptz_driver_canon_op_get_capabilities(PTZDriver *driver, const char *category, char ***list);
void ptz_driver_canon_op_signal_received(PTZDriver *driver, const char *signal_name, GVariant *parameters);
