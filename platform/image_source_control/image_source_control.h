/* Blanks and freezes the video of one image source (libimage_source_control.so). */
#ifndef IMAGE_SOURCE_CONTROL_IMAGE_SOURCE_CONTROL_H
#define IMAGE_SOURCE_CONTROL_IMAGE_SOURCE_CONTROL_H

#include <glib.h>

G_BEGIN_DECLS

typedef struct _ImageSourceControl ImageSourceControl;

/* A new handle, or NULL. Release with image_source_control_free() (NULL allowed). */
ImageSourceControl *image_source_control_init (void);
/* TRUE blanks the video, FALSE shows it. FALSE when the handle is NULL or the pipeline refused. */
gboolean image_source_control_set_no_video (ImageSourceControl *control, gboolean no_video);
/* TRUE freezes the picture, FALSE lets it live. Fails likewise. */
gboolean image_source_control_freeze_video (ImageSourceControl *control, gboolean freeze);
void image_source_control_free (ImageSourceControl *control);

G_END_DECLS

#endif
