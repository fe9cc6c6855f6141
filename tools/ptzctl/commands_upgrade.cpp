// upgrade: the last upgrade of the camera's firmware, and another try.
#include "command.h"

namespace {

std::string time_text(gint64 seconds)
{
    const GOwned<GDateTime, g_date_time_unref> when(g_date_time_new_from_unix_local(seconds));
    const GText text(when ? g_date_time_format(when.get(), "%Y-%m-%d %H:%M:%S") : nullptr);
    return text ? text.get() : "at an unknown time";
}

GVariantOwned upgrade_of(GVariant *status)
{
    return GVariantOwned(g_variant_lookup_value(status, "upgrade", G_VARIANT_TYPE_VARDICT));
}

} // namespace

std::string upgrade_text(GVariant *status)
{
    const GVariantOwned upgrade = upgrade_of(status);
    if (!upgrade)
        return "";
    const char *from = "unknown", *to = "unknown", *result = "";
    gint64 when = 0;
    gboolean held = FALSE;
    g_variant_lookup(upgrade.get(), "from", "&s", &from);
    g_variant_lookup(upgrade.get(), "to", "&s", &to);
    g_variant_lookup(upgrade.get(), "result", "&s", &result);
    g_variant_lookup(upgrade.get(), "when", "x", &when);
    g_variant_lookup(upgrade.get(), "held", "b", &held);
    return printable(from) + " to " + printable(to) + ", " + time_text(when) + ": " + printable(result) +
           (held ? " (not tried again; 'ptzctl upgrade --retry' does)" : "");
}

ExitStatus run_upgrade(Context &context, const Arguments &arguments)
{
    const bool retry = arguments.flag("--retry");
    if (retry) {
        context.service().call("RetryUpgrade", nullptr, "()");
        context.done("done");
        return EXIT_DONE;
    }
    const GVariantOwned status = context.service().result("GetStatus", nullptr, "(a{sv})");
    const std::string text = upgrade_text(status.get());
    if (!context.json())
        context.line(text.empty() ? "none yet" : text);
    else if (const GVariantOwned upgrade = upgrade_of(status.get()))
        context.object(upgrade.get());
    else
        context.line("{}");
    return EXIT_DONE;
}
