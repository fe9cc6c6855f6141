#include "loop.h"

#include "failure.h"
#include "glib_owned.h"

#include <exception>
#include <glib-unix.h>

namespace {

struct Loop {
    GMainLoopOwned loop{g_main_loop_new(nullptr, FALSE)};
    const std::function<bool()> *tick = nullptr;
    std::exception_ptr failure; // carried over the C frames of the main loop
    bool interrupted = false;
};

gboolean on_tick(gpointer data)
{
    auto *loop = static_cast<Loop *>(data);
    bool more = false;
    try {
        more = (*loop->tick)();
    } catch (const Interrupted &) {
        loop->interrupted = true;
    } catch (...) {
        loop->failure = std::current_exception();
    }
    if (!more)
        g_main_loop_quit(loop->loop.get());
    return G_SOURCE_CONTINUE;
}

gboolean on_interrupt(gpointer data)
{
    auto *loop = static_cast<Loop *>(data);
    loop->interrupted = true;
    g_main_loop_quit(loop->loop.get());
    return G_SOURCE_CONTINUE;
}

} // namespace

gint64 steady_now()
{
    return g_get_monotonic_time();
}

gint64 camera_now()
{
    const char *text = g_getenv("PTZ_TIME_SCALE");
    const double scale = text != nullptr ? g_ascii_strtod(text, nullptr) : 1;
    return static_cast<gint64>(static_cast<double>(steady_now()) * (scale >= 1 && scale <= 10000 ? scale : 1));
}

LoopEnd run_loop(unsigned interval_ms, const std::function<bool()> &tick)
{
    try {
        if (!tick())
            return LoopEnd::Finished;
    } catch (const Interrupted &) {
        return LoopEnd::Interrupted;
    }
    Loop loop;
    loop.tick = &tick;
    const guint interrupt = g_unix_signal_add(SIGINT, on_interrupt, &loop);
    const guint terminate = g_unix_signal_add(SIGTERM, on_interrupt, &loop);
    const guint ticks = g_timeout_add(interval_ms, on_tick, &loop);
    g_main_loop_run(loop.loop.get());
    for (const guint source : {interrupt, terminate, ticks})
        g_source_remove(source);
    if (loop.failure)
        std::rethrow_exception(loop.failure);
    return loop.interrupted ? LoopEnd::Interrupted : LoopEnd::Finished;
}
