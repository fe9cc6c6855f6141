/* Lens geometry shared by the camera's services (libptzmath.so). */
#ifndef PTZMATH_PTZMATH_H
#define PTZMATH_PTZMATH_H

#include <glib.h>

G_BEGIN_DECLS

/* Fields of view in degrees at magnification `zoom` (above 0) of a lens whose widest horizontal field of view is
 * `wide_hfov` degrees, for a picture of `aspect_ratio` (width / height). Either output may be NULL. */
void ptzmath_get_zoom_fov (float zoom, float wide_hfov, float aspect_ratio, float *hfov, float *vfov);

G_END_DECLS

#endif
