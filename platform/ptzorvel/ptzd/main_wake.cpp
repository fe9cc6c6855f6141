#include "ptzorvel/ptzd/main_wake.h"

#include <utility>

MainWake::MainWake(int priority, std::function<void()> function) : function_(std::move(function))
{
    static GSourceFuncs functions = {nullptr,
                                     nullptr,
                                     [](GSource *source, GSourceFunc, gpointer data) -> gboolean {
                                         g_source_set_ready_time(source, -1);
                                         static_cast<MainWake *>(data)->function_();
                                         return G_SOURCE_CONTINUE;
                                     },
                                     nullptr,
                                     nullptr,
                                     nullptr};
    source_ = g_source_new(&functions, sizeof(GSource));
    g_source_set_priority(source_, priority);
    g_source_set_callback(
        source_, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, this, nullptr);
    g_source_attach(source_, nullptr);
}

MainWake::~MainWake()
{
    g_source_destroy(source_);
    g_source_unref(source_);
}
