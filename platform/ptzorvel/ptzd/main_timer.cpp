#include "ptzorvel/ptzd/main_timer.h"

#include <algorithm>
#include <utility>

MainTimer::MainTimer(double period_us, std::function<bool()> tick)
    : period_ms_(static_cast<guint>(std::clamp(period_us / 1000.0, 1.0, 1e6))), tick_(std::move(tick))
{
}

MainTimer::~MainTimer()
{
    const std::lock_guard lock(mutex_);
    if (source_ == nullptr)
        return;
    g_source_destroy(source_);
    g_source_unref(source_);
}

void MainTimer::start()
{
    const std::lock_guard lock(mutex_);
    wanted_ = true;
    if (source_ != nullptr)
        return;
    source_ = g_timeout_source_new(period_ms_);
    g_source_set_callback(source_, on_tick, this, nullptr);
    g_source_attach(source_, nullptr);
}

bool MainTimer::postpone()
{
    const std::lock_guard lock(mutex_);
    if (source_ != nullptr)
        g_source_set_ready_time(source_, g_get_monotonic_time() + gint64{period_ms_} * 1500);
    return source_ != nullptr;
}

gboolean MainTimer::on_tick(gpointer data)
{
    auto *self = static_cast<MainTimer *>(data);
    {
        const std::lock_guard lock(self->mutex_);
        self->wanted_ = false;
    }
    const bool more = self->tick_();
    const std::lock_guard lock(self->mutex_);
    // What was set going meanwhile must not be lost.
    if (more || self->wanted_)
        return G_SOURCE_CONTINUE;
    g_source_unref(std::exchange(self->source_, nullptr));
    return G_SOURCE_REMOVE;
}
