/* What the factory stored about the camera block (libblock_defaults.so). */
#ifndef BLOCK_DEFAULTS_BLOCK_DEFAULTS_H
#define BLOCK_DEFAULTS_BLOCK_DEFAULTS_H

#include <glib.h>

G_BEGIN_DECLS

typedef struct _BlockDefaults BlockDefaults;

/* One stored text, owned by whoever asked for it until block_defaults_free(). */
typedef struct
{
  gsize size; /* of the text, without its end */
  const char *text;
} BlockDefaultsRecord;

/* The defaults of that block and version, or NULL when there are none. The handle belongs to the library. */
BlockDefaults *block_defaults_init (const char *block_name, const char *block_version);
/* The block's model name, or NULL. */
BlockDefaultsRecord *block_defaults_get_block_model (BlockDefaults *defaults);
/* The default capture mode, e.g. "1080p60", or NULL. */
BlockDefaultsRecord *block_defaults_get_capture_mode (BlockDefaults *defaults);
/* Releases a record; NULL is allowed. */
void block_defaults_free (BlockDefaultsRecord *record);

G_END_DECLS

#endif
