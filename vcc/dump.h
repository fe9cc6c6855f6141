// The status store as text, for people who look for a fault: every block in hexadecimal, then the fields that matter.
#pragma once

#include <glib.h>

// Room for a whole dump; one takes about 4500 characters at most.
inline constexpr int VCCIF_DUMP_SIZE = 8192;

// Writes the block of `tag` at `position` (0..VCCIF_DUMP_SIZE - 1) of `buffer`, which holds VCCIF_DUMP_SIZE characters,
// and a terminating zero. What does not fit is cut off. The number of characters written, or -1 after a message for a
// tag that the store does not know.
int vccif_dump_status(char *buffer, int position, guint8 tag);

// Rewrites the file with a dump of the whole store; whether it was written. Only a regular file of a single
// name is written, a symbolic link is never followed, and nothing waits for whoever has the file open.
bool vccif_dump_status_to_file(const char *filename);
