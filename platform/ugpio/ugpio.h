/* General-purpose I/O lines by number or by name (libugpio.so). Thread-safe as long as one handle is used by one
 * thread at a time. Functions that return int give -1 and errno on failure. */
#ifndef UGPIO_UGPIO_H
#define UGPIO_UGPIO_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct ugpio ugpio;

/* Flags of ugpio_request_one() and ugpio_request_one_named(). */
#define UGPIO_OUT_LOW 0u
#define UGPIO_IN 1u
#define UGPIO_OUT_HIGH 2u
/* Flags of ugpio_set_edge(). */
#define UGPIO_EDGE_NONE 0u
#define UGPIO_EDGE_RISING 8u

/* A handle on line `number` (0 or more), direction unchanged; NULL and errno on failure. `label` tells who uses the
 * line; it may be NULL. Every handle is released with ugpio_free(). */
ugpio *ugpio_request(int number, const char *label);
/* The same for the line called `name`; EINVAL without a name, ENOENT when no line has it. */
ugpio *ugpio_request_named(const char *name);
/* 1 when there is a line called `name`, 0 when there is none, -1 and errno when that cannot be told. Takes and changes
 * nothing. */
int ugpio_is_named(const char *name);
/* A handle on a line that is made an output and driven low or high (or made an input). The output keeps its level
 * after ugpio_free(). */
ugpio *ugpio_request_one(int number, unsigned flags, const char *label);
ugpio *ugpio_request_one_named(const char *name, unsigned flags);

/* Opens the line's value; needed before the calls below. */
int ugpio_full_open(ugpio *line);
/* The line's level, 0 or 1. Also takes back the notification of ugpio_fd()'s descriptors. */
int ugpio_get_value(ugpio *line);
/* Chooses which edges are notified. */
int ugpio_set_edge(ugpio *line, unsigned flags);
/* A new descriptor, owned by the caller (close(2)), which becomes exceptionally ready (third set of select(2), POLLPRI)
 * on the chosen edge until the level is read; it is ready once from the start. */
int ugpio_fd(ugpio *line);
/* Closes what ugpio_full_open() opened; the handle stays. */
int ugpio_close(ugpio *line);
/* Closes and releases the handle; NULL is allowed. */
void ugpio_free(ugpio *line);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
