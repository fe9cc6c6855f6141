/* What a host may add to a driver, and a board's framework does not have.
 *
 * A driver that offers this has the properties and signals below on its object. A host looks for each by its name
 * (g_object_class_find_property, g_signal_lookup) and does without those that are not there. On a board nobody sets or
 * reads any of them, and the driver behaves as if they did not exist. These are names only: nothing is linked.
 *
 * The readable ones may be read on any thread. They speak of the one camera of the process. */
#ifndef HOST_DRIVER_HOST_H
#define HOST_DRIVER_HOST_H

/* Set once, before the driver is opened. */

/* gdouble, above 0, at first 1: the driver's time runs that many times as fast as the wall's. */
#define DRIVER_HOST_TIME_SCALE "host-time-scale"

/* GCancellable, at first NULL. While it is cancelled, no operation of the driver waits: every wait ends at once as if
 * its time had passed, retries and transfers are given up. Reset, the driver waits again. From any thread.
 * With one there is a host: capture-mode refreshes that wait are then run once. */
#define DRIVER_HOST_CANCEL "host-cancel"

/* GCancellable, at first NULL. Cancelling it cuts short the reading from another service on the bus, and nothing else;
 * a capture-mode refresh that was cut short waits for its turn again. From any thread; the host resets it. */
#define DRIVER_HOST_INTERRUPT "host-interrupt"

/* What becomes of single frames, commands and statuses. Called on the command thread; must be quick. */
typedef enum {
    DRIVER_HOST_FRAME_GOOD,
    DRIVER_HOST_FRAME_FAILED, /* the burst was not carried out */
    DRIVER_HOST_FRAME_LENGTH, /* what came back has an impossible length */
    DRIVER_HOST_FRAME_CHECKSUM,
    DRIVER_HOST_FRAME_OUTCOMES
} DriverHostFrame;
typedef struct {
    void *data;
    void (*frame)(void *data, DriverHostFrame outcome);
    /* A record that was sent, by its name, which lives as long as the driver's code: microseconds of the driver's time
     * from the first attempt until the block has taken it, or until it was given up. */
    void (*command)(void *data, const char *record, long long us, int taken);
    /* An attempt to send records has failed, and there is another one. */
    void (*retry)(void *data);
    /* A good status has come, that many microseconds of the driver's time after the one before. */
    void (*status)(void *data, long long us);
} DriverHostObserver;

/* Pointer to a DriverHostObserver, at first NULL; it lives until it is taken away with NULL. */
#define DRIVER_HOST_OBSERVER "host-observer"

/* Set at any time between two starts of the camera. */

/* Text, at first NULL: the id of a firmware image (see below) that is not to be transferred, because it has failed
 * before. */
#define DRIVER_HOST_HELD_IMAGE "host-held-image"

/* Read only, at any time. */

/* gint64, microseconds of the driver's time since the last good status came; -1 when none has come yet. */
#define DRIVER_HOST_STATUS_AGE "host-status-age"

/* gint64, microseconds of the driver's time for which the camera block has not answered: since the first command, or
 * the first read of its status, that has brought nothing good. 0 while it answers, and while nothing is asked of it. Where
 * the status is not read any more, an answered command is enough. */
#define DRIVER_HOST_SILENCE "host-silence"

/* guint: commands that the block has not taken in all their attempts, since the process began. */
#define DRIVER_HOST_SENDS_FAILED "host-sends-failed"

/* Text: the messages of the steps that failed in the last start of the camera, without "Fatal error, " and with "; "
 * between them. Empty while none has failed. A camera may run all the same. */
#define DRIVER_HOST_FAILURE "host-failure"

/* gint64, microseconds of the driver's time since the camera block has taken a part of a firmware image that it did not
 * have before; -1 when it has taken none since the camera was last started. */
#define DRIVER_HOST_CHUNK_AGE "host-chunk-age"

/* GVariant a{sv}: what became of the firmware image in the last start of the camera. Empty when there was none, or one
 * of the version that the camera block has. Else
 *   "image"    s  the image's id: its version, its size in bytes and the beginning of its SHA-256, with "-" between
 *   "from"     s  the version that the camera block had, 8 hexadecimal digits, or "unknown"
 *   "to"       s  the version of the image, or "unknown"
 *   "sent"     u  parts that the camera block has taken, of
 *   "chunks"   u  so many in all; 0 as long as none was sent
 *   "result"   s  absent while it goes on; one of the two below, or why the version is not in force, in words. */
#define DRIVER_HOST_UPGRADE "host-upgrade"
#define DRIVER_HOST_UPGRADE_DONE "done"
#define DRIVER_HOST_UPGRADE_HELD "held"

/* GVariant (asa(sss)a(sss)): the driver's configuration files, read anew at every look. What is wrong in them, a line each,
 * "FILE:LINE: error: ..." for what the driver cannot work with, or "... warning: ..."; the GPIO lines that they name;
 * the device files. Of the latter two where they stand, "FILE:LINE", the key, the name: whether they are there is for the
 * host to find out. */
#define DRIVER_HOST_CONFIG "host-config"

/* Text: the firmware version that the camera block's status told last, 8 hexadecimal digits, or "unknown". */
#define DRIVER_HOST_FIRMWARE "host-firmware"

/* Text: the file in which a start of the camera looks for a firmware image. */
#define DRIVER_HOST_IMAGE_FILE "host-image-file"

/* guint: how often the status has shown that the camera block has started, whoever started it, since the process began:
 * no status for a fifth of a second, then one with a busy lens. Counted when the lens is ready. */
#define DRIVER_HOST_REBOOTS "host-reboots"

/* guint: good statuses that have come since the process began, each counted when what it brought is published. */
#define DRIVER_HOST_STATUSES "host-statuses"

/* guint, from its largest on again from 0: how often a wait of the driver has begun or ended. No wait is longer than ten
 * seconds of the driver's time: an operation during which this stands still for longer is stuck. */
#define DRIVER_HOST_WAITS "host-waits"

/* Action signals, emitted on the command thread. */

/* void (void): reads the status once. Does nothing while the driver is not running. */
#define DRIVER_HOST_REFRESH "host-refresh"

/* gboolean (void): sends the video mode and applies every parameter again, as a start-up does. TRUE when all were
 * applied. Does nothing, with TRUE, while the driver is not running. */
#define DRIVER_HOST_APPLY "host-apply"

/* void (void): puts in force what a start-up leaves to later changes: the parameters that it does not apply, and a
 * capture mode that changed while it went on. Once a start-up is over. */
#define DRIVER_HOST_SETTLE "host-settle"

#endif
