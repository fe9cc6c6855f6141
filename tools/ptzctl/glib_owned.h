// Ownership of the GLib things that ptzctl handles.
#pragma once

#include <gio/gio.h>

#include <memory>

struct GlibRelease {
    void operator()(GVariant *value) const { g_variant_unref(value); }
    void operator()(char *text) const { g_free(text); }
    void operator()(GDBusConnection *connection) const { g_object_unref(connection); }
    void operator()(GMainLoop *loop) const { g_main_loop_unref(loop); }
    void operator()(GError *error) const { g_error_free(error); }
};

using VariantOwned = std::unique_ptr<GVariant, GlibRelease>;
using TextOwned = std::unique_ptr<char, GlibRelease>;
using ConnectionOwned = std::unique_ptr<GDBusConnection, GlibRelease>;
using LoopOwned = std::unique_ptr<GMainLoop, GlibRelease>;
using ErrorOwned = std::unique_ptr<GError, GlibRelease>;
