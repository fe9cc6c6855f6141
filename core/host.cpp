#include "core/host.h"

#include "core/clock.h"

#include <atomic>

namespace {

constexpr std::int64_t NEVER = -1;

std::atomic<std::int64_t> status_at{NEVER};
std::atomic<std::int64_t> silent_since{NEVER};
std::atomic<unsigned> sends_failed{0};
std::atomic<unsigned> statuses{0};
std::atomic<bool> is_there{false};
GCancellable *interrupt = nullptr;

std::int64_t now_us()
{
    return clock_get().monotonic_us();
}

} // namespace

void host_note_exchange()
{
    if (silent_since.load(std::memory_order_relaxed) == NEVER)
        silent_since.store(now_us(), std::memory_order_relaxed);
}

void host_note_answer()
{
    silent_since.store(NEVER, std::memory_order_relaxed);
}

void host_note_status()
{
    host_note_answer();
    status_at.store(now_us(), std::memory_order_relaxed);
    statuses.fetch_add(1, std::memory_order_release);
}

void host_note_failed_send()
{
    sends_failed.fetch_add(1, std::memory_order_relaxed);
}

std::int64_t host_status_age_us()
{
    const std::int64_t at = status_at.load(std::memory_order_relaxed);
    return at == NEVER ? NEVER : now_us() - at;
}

std::int64_t host_silence_us()
{
    const std::int64_t since = silent_since.load(std::memory_order_relaxed);
    return since == NEVER ? 0 : now_us() - since;
}

unsigned host_sends_failed()
{
    return sends_failed.load(std::memory_order_relaxed);
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
    status_at = silent_since = NEVER;
    sends_failed = statuses = 0;
}
