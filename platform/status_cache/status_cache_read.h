/* Reading the status cache back: for ptzd and for tests. Not part of what a driver sees. */
#ifndef STATUS_CACHE_STATUS_CACHE_READ_H
#define STATUS_CACHE_STATUS_CACHE_READ_H

#include <glib.h>

G_BEGIN_DECLS

/* All groups with their values (i or d), as a new floating variant of type a{sa{sv}}; groups and keys in the order in
 * which they first appeared. */
GVariant *status_cache_snapshot (void);

/* What the keys of a group have, all from one call of sc_set_group() where they came in one; NAN for a key that is not
 * there. For those who look often: nothing is allocated. */
void status_cache_numbers (const char *group, const char *const *keys, gsize count, double *numbers);

/* Called after a call has given a group another value than it had, on the caller's thread; it must not call back into
 * the cache. One at a time: NULL takes it away, and it is not called any more when this returns. */
typedef void (*StatusCacheChanged) (gpointer data);
void status_cache_set_listener (StatusCacheChanged changed, gpointer data);

/* Forgets every group. */
void status_cache_clear (void);

G_END_DECLS

#endif
