/* What the picture does: for ptzd and for tests. Not part of what a driver sees. */
#ifndef IMAGE_SOURCE_CONTROL_IMAGE_SOURCE_CONTROL_READ_H
#define IMAGE_SOURCE_CONTROL_IMAGE_SOURCE_CONTROL_READ_H

#include <glib.h>

G_BEGIN_DECLS

/* The picture as the last calls left it: blanked or shown, frozen or live. Safe on every thread. */
void image_source_control_read (gboolean *blanked, gboolean *frozen);

/* How many handles are in use. */
int image_source_control_handles (void);

G_END_DECLS

#endif
