// monitor: what the service reports, as it happens.
#include "command.h"
#include "json.h"
#include "loop.h"

namespace {

constexpr unsigned kLookEveryMs = 200;

struct Monitor {
    Context *context;
    std::exception_ptr failure; // carried over GDBus's frames
    bool service_gone = false;
};

void show_signal(Context &context, const char *name, GVariant *parameters)
{
    if (context.json()) {
        GVariantBuilder object;
        g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&object, "{sv}", "signal", g_variant_new_string(name));
        g_variant_builder_add(&object, "{sv}", "values", parameters);
        context.object(g_variant_builder_end(&object));
        return;
    }
    std::string text = name;
    for (gsize i = 0; i < g_variant_n_children(parameters); i++) {
        VariantOwned value(g_variant_get_child_value(parameters, i));
        text += " " + json_from_variant(value.get());
    }
    context.line(text);
}

void on_signal(GDBusConnection *, const char *, const char *, const char *, const char *name, GVariant *parameters,
               gpointer data)
{
    auto *monitor = static_cast<Monitor *>(data);
    try {
        show_signal(*monitor->context, name, parameters);
    } catch (...) {
        monitor->failure = std::current_exception();
    }
}

void on_vanished(GDBusConnection *, const char *, gpointer data)
{
    static_cast<Monitor *>(data)->service_gone = true;
}

} // namespace

ExitStatus run_monitor(Context &context, Arguments &arguments)
{
    arguments.words(0, 0);
    Service &service = context.service();
    Monitor monitor{&context, nullptr};
    GDBusConnection *bus = service.connection();
    const guint signals =
        g_dbus_connection_signal_subscribe(bus, kServiceName, kServiceInterface, nullptr, kServicePath, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, on_signal, &monitor, nullptr);
    const guint watch = g_bus_watch_name_on_connection(bus, kServiceName, G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr,
                                                       on_vanished, &monitor, nullptr);
    run_loop(kLookEveryMs, [&] { return !monitor.failure && !monitor.service_gone; });
    g_bus_unwatch_name(watch);
    g_dbus_connection_signal_unsubscribe(bus, signals);
    if (monitor.failure)
        std::rethrow_exception(monitor.failure);
    if (monitor.service_gone)
        throw Failure(EXIT_NO_SERVICE, "NoService",
                      "ptzd is not on this bus; start it (systemctl start ptzd), or set DBUS_SYSTEM_BUS_ADDRESS");
    return EXIT_DONE;
}
