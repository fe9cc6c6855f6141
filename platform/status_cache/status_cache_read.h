/* Reading the status cache back: for ptzd and for tests. Not part of what a driver sees. */
#ifndef STATUS_CACHE_STATUS_CACHE_READ_H
#define STATUS_CACHE_STATUS_CACHE_READ_H

#include <glib.h>

G_BEGIN_DECLS

/* All groups with their values (i or d), as a new floating variant of type a{sa{sv}}; groups and keys in the order in
 * which they first appeared. */
GVariant *status_cache_snapshot (void);

/* Forgets every group. */
void status_cache_clear (void);

G_END_DECLS

#endif
