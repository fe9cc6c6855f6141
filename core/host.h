// What the driver notes for a host, and what a host asks of it (platform/host/driver_host.h has the names by which a
// host reaches this). Of the one camera of the process, as the status store is. Any thread.
#pragma once

#include "host/driver_host.h"

#include <gio/gio.h>

#include <cstdint>
#include <string>
#include <string_view>

// A command goes out; the camera block has answered it. A status is asked for; a good one has come, which says whether
// the lens is busy and which firmware runs, and answers what went before.
void host_note_command();
void host_note_answer();
void host_note_status_wanted();
void host_note_status(bool lens_busy, guint32 fw_revision);
// A command was not taken in any of its attempts.
void host_note_failed_send();
// For a host that observes: what became of a frame, of an attempt, of a record that was first tried to be sent at
// `since` (microseconds of the clock). Nothing where none does.
bool host_is_observed();
void host_note_frame(DriverHostFrame outcome);
void host_note_retry();
void host_note_record(const char *name, std::int64_t since, bool taken);

// The camera is being started: what follows is of this start. One of its steps has failed, with that message.
void host_note_start();
void host_note_failed_step(std::string_view message);

// What became of the firmware image; the property DRIVER_HOST_UPGRADE says what the fields are.
struct HostUpgrade {
    std::string image; // empty: there is nothing to upgrade to
    std::string from, to;
    unsigned sent = 0, chunks = 0;
    std::string result; // empty: not over yet
};

// What is said of an upgrade that the host has cancelled.
inline constexpr char HOST_GIVEN_UP[] = "given up";

// There is an image of another version than the camera block's. The block has taken one more of its chunks, `index`
// from 0 on, of `count`. The transfer has failed, which does not end the upgrade. It is over.
void host_note_upgrade(const std::string &image, const std::string &from, const std::string &to);
void host_note_chunk(int index, int count);
void host_note_transfer_failure(const std::string &reason);
void host_note_upgrade_result(const std::string &result);

// As the properties of these names say.
std::int64_t host_status_age_us();
std::int64_t host_silence_us();
unsigned host_sends_failed();
std::string host_failure();
std::int64_t host_chunk_age_us();
HostUpgrade host_upgrade();
// Why the transfer failed; empty when it did not.
std::string host_transfer_failure();

// The image that is not to be transferred; null or empty: none.
void host_set_held_image(const char *image);
std::string host_held_image();
unsigned host_reboots();
unsigned host_statuses();
// What the last status told; HOST_NO_REVISION while none has.
inline constexpr guint32 HOST_NO_REVISION = 0xFFFFFFFF;
guint32 host_fw_revision();

// Not taken over.
void host_set_observer(const DriverHostObserver *observer);

// Both hold a reference of their own; null takes it away.
void host_set_cancel(GCancellable *cancel);
void host_set_interrupt(GCancellable *interrupt);
// Null when there is none; valid until another one is set.
GCancellable *host_interrupt();
// Whether it is cancelled at this moment.
bool host_interrupted();
// Whether a cancellable was given for the waits.
bool host_is_there();

// All as before a host came, for a new driver.
void host_forget();
