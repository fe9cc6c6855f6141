// status, monitor: how the camera is, now and as it changes.
#include "command.h"
#include "json.h"
#include "loop.h"
#include "position_lines.h"

namespace {

constexpr unsigned kLookEveryMs = 200;

// What the signal handlers share with the command; takes them off the bus at its end.
struct Monitor {
    explicit Monitor(Context &for_context) : context(for_context), bus(for_context.service().connection()) {}
    ~Monitor()
    {
        g_bus_unwatch_name(watch);
        g_dbus_connection_signal_unsubscribe(bus, signals);
    }
    Monitor(const Monitor &) = delete;
    Monitor &operator=(const Monitor &) = delete;

    Context &context;
    GDBusConnection *bus;
    void (*show)(Context &context, const char *name, GVariant *parameters) = nullptr;
    guint signals = 0;
    guint watch = 0;
    std::exception_ptr failure; // carried over GDBus's frames
    bool service_gone = false;
};

// Positions have lines of their own.
void show_signal(Context &context, const char *name, GVariant *parameters)
{
    if (std::string_view(name) == "PositionChanged")
        return;
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
        GVariantOwned value(g_variant_get_child_value(parameters, i));
        text += " " + json_from_variant(value.get());
    }
    context.line(text);
}

// The words for a report that people know under another name than its parameter's.
std::string report_label(const char *name)
{
    constexpr std::pair<std::string_view, const char *> kLabels[] = {
        {"CamDeviceStatus", "device"}, {"DeviceModVer", "model"}, {"CamLastTestDate", "last test"}};
    for (const auto &[known, label] : kLabels)
        if (known == name)
            return label;
    return printable(name);
}

void show_status(Context &context, GVariant *status)
{
    std::vector<std::vector<std::string>> rows;
    const auto row = [&](const std::string &label, const std::string &text) { rows.push_back({label, text}); };
    gint32 state = 0;
    const char *text = "";
    g_variant_lookup(status, "state", "i", &state);
    g_variant_lookup(status, "text", "&s", &text);
    row("state", std::to_string(state) + " " + printable(text));
    double age = 0;
    guint32 count = 0;
    if (g_variant_lookup(status, "link", "&s", &text) != FALSE) {
        const bool heard = g_variant_lookup(status, "status-age", "d", &age) != FALSE;
        row("link", printable(text) + (heard ? format_text(", last heard of %.3f s ago", age) : ""));
    }
    for (const char *key : {"resets", "reboots"})
        if (g_variant_lookup(status, key, "u", &count) != FALSE && count != 0)
            row(key, std::to_string(count));
    double degrees = 0;
    const bool known = g_variant_lookup(status, "temperature", "d", &degrees) != FALSE;
    row("temperature", known ? format_text("%.1f deg C", degrees) : "not known");
    if (g_variant_lookup(status, "temperature-problem", "&s", &text) != FALSE)
        row("", printable(text));
    guint32 bits = 0;
    const bool reported = g_variant_lookup(status, "error-bits", "u", &bits) != FALSE;
    if (bits != 0 && g_variant_lookup(status, "errors", "&s", &text) != FALSE)
        row("errors", printable(text) + format_text(" (%04x)", bits));
    else
        row("errors", reported ? "none" : "none reported yet");
    if (g_variant_lookup(status, "failure", "&s", &text) != FALSE)
        row("failure", printable(text));
    if (const std::string upgrade = upgrade_text(status); !upgrade.empty())
        row("upgrade", upgrade);
    GVariantOwned reports(g_variant_lookup_value(status, "reports", G_VARIANT_TYPE("a{ss}")));
    for (gsize i = 0; reports && i < g_variant_n_children(reports.get()); i++) {
        GVariantOwned report(g_variant_get_child_value(reports.get(), i));
        const char *name = nullptr;
        g_variant_get(report.get(), "{&s&s}", &name, &text);
        row(report_label(name), printable(text));
    }
    context.table(rows);
}

void on_signal(GDBusConnection *, const char *, const char *, const char *interface, const char *name,
               GVariant *parameters, gpointer data)
{
    auto *monitor = static_cast<Monitor *>(data);
    if (!std::string_view(interface).starts_with(kServiceInterface)) // PropertiesChanged
        return;
    try {
        monitor->show(monitor->context, name, parameters);
    } catch (...) {
        monitor->failure = std::current_exception();
    }
}

void on_vanished(GDBusConnection *, const char *, gpointer data)
{
    static_cast<Monitor *>(data)->service_gone = true;
}

} // namespace

ExitStatus run_status(Context &context, const Arguments & /*unused*/)
{
    GVariantOwned status = context.service().status();
    if (context.json())
        context.object(status.get());
    else
        show_status(context, status.get());
    return EXIT_DONE;
}

ExitStatus run_monitor(Context &context, const Arguments &arguments)
{
    const bool positions = arguments.flag("--positions");
    Monitor monitor(context);
    monitor.show = positions ? show_position_line : show_signal;
    monitor.signals =
        g_dbus_connection_signal_subscribe(monitor.bus, kServiceName, nullptr, nullptr, kServicePath, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, on_signal, &monitor, nullptr);
    monitor.watch = g_bus_watch_name_on_connection(monitor.bus, kServiceName, G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr,
                                                   on_vanished, &monitor, nullptr);
    // What happens from here on is shown after it: signals are delivered by the loop.
    if (positions) {
        show_position_line(context, "PositionChanged",
                           context.service().property("Position", "(xda{sd}a{sd}as)").get());
    } else {
        GVariantOwned status = context.service().status();
        GVariant *snapshot[] = {status.get()};
        GVariantOwned values(g_variant_ref_sink(g_variant_new_tuple(snapshot, 1)));
        show_signal(context, "Snapshot", values.get());
    }
    run_loop(kLookEveryMs, [&] { return !monitor.failure && !monitor.service_gone; });
    if (monitor.failure)
        std::rethrow_exception(monitor.failure);
    if (monitor.service_gone)
        throw Failure(EXIT_NO_SERVICE, "NoService", "ptzd has left the bus; start it (systemctl start ptzd)");
    return EXIT_DONE;
}
