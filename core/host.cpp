#include "core/host.h"

#include "core/clock.h"
#include "glib_owned.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace {

constexpr std::int64_t NEVER = -1;
// A camera block that starts says nothing for longer than this, and its lens is busy when it is back.
constexpr std::int64_t REBOOT_PAUSE_US = 200000;
// Whoever has not asked for a status for so long does not want one.
constexpr std::int64_t STATUS_WANTED_US = 500000;

std::atomic<std::int64_t> status_at{NEVER};
// Since when answers to commands, and statuses, are wanted in vain; when a status was asked for last.
std::atomic<std::int64_t> answer_wanted_at{NEVER};
std::atomic<std::int64_t> status_wanted_at{NEVER};
std::atomic<std::int64_t> status_asked_at{NEVER};
std::atomic<unsigned> sends_failed{0};
std::atomic<unsigned> reboots{0};
// Of the latest status, and whether the start that it belongs to is still to be counted. Command thread.
bool lens_was_busy = false;
bool starting_anew = false;
std::atomic<unsigned> statuses{0};
std::atomic<guint32> told_revision{HOST_NO_REVISION};
std::atomic<const DriverHostObserver *> observed_by{nullptr};
std::atomic<bool> is_there{false};
GCancellable *interrupt = nullptr;

std::atomic<std::int64_t> chunk_at{NEVER};
GMutex mutex; // of all that follows
std::string failure;
HostUpgrade upgrade;
std::string transfer_failure;
std::string held_image;

std::int64_t age_of(const std::atomic<std::int64_t> &moment)
{
    const std::int64_t at = moment.load(std::memory_order_relaxed);
    return at == NEVER ? NEVER : clock_get().monotonic_us() - at;
}

std::int64_t now_us()
{
    return clock_get().monotonic_us();
}

void want(std::atomic<std::int64_t> &since)
{
    if (since.load(std::memory_order_relaxed) == NEVER)
        since.store(now_us(), std::memory_order_relaxed);
}

} // namespace

void host_note_command()
{
    want(answer_wanted_at);
}

void host_note_answer()
{
    answer_wanted_at.store(NEVER, std::memory_order_relaxed);
    if (age_of(status_asked_at) > STATUS_WANTED_US)
        status_wanted_at.store(NEVER, std::memory_order_relaxed);
}

void host_note_status_wanted()
{
    status_asked_at.store(now_us(), std::memory_order_relaxed);
    want(status_wanted_at);
}

void host_note_status(bool lens_busy, guint32 fw_revision)
{
    told_revision.store(fw_revision, std::memory_order_relaxed);
    answer_wanted_at.store(NEVER, std::memory_order_relaxed);
    status_wanted_at.store(NEVER, std::memory_order_relaxed);
    const std::int64_t now = now_us();
    const std::int64_t last = status_at.exchange(now, std::memory_order_relaxed);
    if (const DriverHostObserver *observer = observed_by; observer != nullptr && last != NEVER)
        observer->status(observer->data, now - last);
    // Either alone may be a bad link or a lens in trouble. Counted once the lens is ready: what is sent to the camera
    // block before may be lost.
    if (lens_busy && !lens_was_busy && now - last > REBOOT_PAUSE_US)
        starting_anew = true;
    if (!lens_busy && std::exchange(starting_anew, false))
        reboots.fetch_add(1, std::memory_order_relaxed);
    lens_was_busy = lens_busy;
    statuses.fetch_add(1, std::memory_order_release);
}

void host_note_failed_send()
{
    sends_failed.fetch_add(1, std::memory_order_relaxed);
}

bool host_is_observed()
{
    return observed_by.load(std::memory_order_relaxed) != nullptr;
}

void host_note_frame(DriverHostFrame outcome)
{
    if (const DriverHostObserver *observer = observed_by)
        observer->frame(observer->data, outcome);
}

void host_note_retry()
{
    if (const DriverHostObserver *observer = observed_by)
        observer->retry(observer->data);
}

void host_note_record(const char *name, std::int64_t since, bool taken)
{
    if (const DriverHostObserver *observer = observed_by)
        observer->command(observer->data, name, now_us() - since, taken ? 1 : 0);
}

void host_set_observer(const DriverHostObserver *observer)
{
    observed_by = observer;
}

std::int64_t host_status_age_us()
{
    return age_of(status_at);
}

std::int64_t host_silence_us()
{
    return std::max({std::int64_t{0}, age_of(answer_wanted_at), age_of(status_wanted_at)});
}

unsigned host_sends_failed()
{
    return sends_failed.load(std::memory_order_relaxed);
}

void host_note_start()
{
    chunk_at = NEVER;
    const GMutexHold hold(mutex);
    failure.clear();
    transfer_failure.clear();
    upgrade = {};
}

void host_note_failed_step(std::string_view message)
{
    constexpr std::string_view FATAL = "Fatal error, ";
    if (message.starts_with(FATAL))
        message.remove_prefix(FATAL.size());
    if (message.ends_with('\n'))
        message.remove_suffix(1);
    const GMutexHold hold(mutex);
    if (!failure.empty())
        failure += "; ";
    failure += message;
}

void host_note_upgrade(const std::string &image, const std::string &from, const std::string &to)
{
    const GMutexHold hold(mutex);
    upgrade = {image, from, to, 0, 0, ""};
}

void host_note_chunk(int index, int count)
{
    const GMutexHold hold(mutex);
    const auto taken = static_cast<unsigned>(index) + 1;
    upgrade.chunks = static_cast<unsigned>(count);
    if (taken <= upgrade.sent)
        return; // again, after a refused one
    upgrade.sent = taken;
    chunk_at = now_us();
}

void host_note_transfer_failure(const std::string &reason)
{
    const GMutexHold hold(mutex);
    transfer_failure = reason;
}

void host_note_upgrade_result(const std::string &result)
{
    const GMutexHold hold(mutex);
    upgrade.result = result;
}

std::string host_failure()
{
    const GMutexHold hold(mutex);
    return failure;
}

std::int64_t host_chunk_age_us()
{
    return age_of(chunk_at);
}

HostUpgrade host_upgrade()
{
    const GMutexHold hold(mutex);
    return upgrade;
}

std::string host_transfer_failure()
{
    const GMutexHold hold(mutex);
    return transfer_failure;
}

void host_set_held_image(const char *image)
{
    const GMutexHold hold(mutex);
    held_image = image != nullptr ? image : "";
}

std::string host_held_image()
{
    const GMutexHold hold(mutex);
    return held_image;
}

unsigned host_reboots()
{
    return reboots.load(std::memory_order_relaxed);
}

guint32 host_fw_revision()
{
    return told_revision.load(std::memory_order_relaxed);
}

unsigned host_statuses()
{
    return statuses.load(std::memory_order_acquire);
}

void host_set_cancel(GCancellable *cancel)
{
    is_there = cancel != nullptr;
    clock_set_cancellable(cancel);
}

void host_set_interrupt(GCancellable *cancellable)
{
    g_set_object(&interrupt, cancellable);
}

GCancellable *host_interrupt()
{
    return interrupt;
}

bool host_interrupted()
{
    return interrupt != nullptr && g_cancellable_is_cancelled(interrupt) != FALSE;
}

bool host_is_there()
{
    return is_there;
}

void host_forget()
{
    host_set_cancel(nullptr);
    host_set_interrupt(nullptr);
    host_set_observer(nullptr);
    status_at = answer_wanted_at = status_wanted_at = NEVER;
    host_note_start();
    host_set_held_image(nullptr);
    sends_failed = reboots = statuses = 0;
    told_revision = HOST_NO_REVISION;
    lens_was_busy = starting_anew = false;
}
