// Usage: ticker SECONDS. What GLib's own timer makes of a period of 33 ms: prints when it was called, in microseconds.
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char *argv[])
{
    static std::vector<gint64> times;
    g_timeout_add(
        33, [](gpointer) -> gboolean { return times.push_back(g_get_monotonic_time()), TRUE; }, nullptr);
    GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
    g_timeout_add_seconds(
        static_cast<guint>(argc > 1 ? std::atoi(argv[1]) : 1),
        [](gpointer ended) -> gboolean { return g_main_loop_quit(static_cast<GMainLoop *>(ended)), FALSE; }, loop);
    g_main_loop_run(loop);
    for (const gint64 time : times)
        std::printf("%lld\n", static_cast<long long>(time));
}
