// What the driver notes for a host, and what a host asks of it (platform/host/driver_host.h has the names by which a
// host reaches this). Of the one camera of the process, as the status store is. Any thread.
#pragma once

#include <gio/gio.h>

#include <cstdint>

// An exchange with the camera block begins; it has answered, or a good status has come.
void host_note_exchange();
void host_note_answer();
void host_note_status();
// A command was not taken in any of its attempts.
void host_note_failed_send();

// As the properties of these names say.
std::int64_t host_status_age_us();
std::int64_t host_silence_us();
unsigned host_sends_failed();
unsigned host_statuses();

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
