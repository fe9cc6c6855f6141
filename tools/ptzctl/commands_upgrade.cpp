// upgrade: the last upgrade of the camera's firmware, another try, and a new image.
#include "command.h"
#include "firmware_image.h"
#include "upgrade_watch.h"

#include <cstdio>
#include <unistd.h>

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

// As it stands: a path may have anything in it.
std::string text_of(GVariant *status, const char *key)
{
    const char *text = "";
    g_variant_lookup(status, key, "&s", &text);
    return text;
}

ExitStatus show_last(Context &context, GVariant *status)
{
    const std::string text = upgrade_text(status);
    if (!context.json())
        context.line(text.empty() ? "none yet" : text);
    else if (const GVariantOwned upgrade = upgrade_of(status))
        context.object(upgrade.get());
    else
        context.line("{}");
    return EXIT_DONE;
}

// What is to be done with an image, and what it meets.
struct Plan {
    std::string from; // the version that the camera has, or "unknown"
    std::string place;
    FirmwareImage image;
    bool in_place = false; // it lies there already
    bool needed = false;   // the camera has another version
};

Plan make_plan(Context &context, const std::string &file)
{
    Plan plan;
    plan.image = read_image(file);
    const GVariantOwned status = context.service().status();
    plan.from = text_of(status.get(), "firmware");
    plan.place = text_of(status.get(), "image-file");
    if (plan.from.empty() || plan.place.empty())
        throw Failure(EXIT_REFUSED, "NotSupported", "the driver of this camera does not tell of its firmware");
    plan.in_place = holds_image(plan.place, plan.image);
    plan.needed = plan.from != plan.image.version;
    return plan;
}

void show_plan(Context &context, const Plan &plan)
{
    if (context.json()) {
        GVariantBuilder object;
        g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
        const auto add = [&](const char *key, GVariant *value) { g_variant_builder_add(&object, "{sv}", key, value); };
        add("from", g_variant_new_string(plan.from.c_str()));
        add("to", g_variant_new_string(plan.image.version.c_str()));
        add("size", g_variant_new_uint64(plan.image.bytes.size()));
        add("file", g_variant_new_string(plan.place.c_str()));
        add("install", g_variant_new_boolean(!plan.in_place));
        add("restart", g_variant_new_boolean(plan.needed));
        return context.object(g_variant_builder_end(&object));
    }
    context.table({{"camera", printable(plan.from)},
                   {"image", plan.image.version + ", " + std::to_string(plan.image.bytes.size()) + " bytes"},
                   {"goes to", printable(plan.place) + (plan.in_place ? " (is there already)" : "")},
                   {"then", plan.needed ? "the camera restarts and takes it; do not switch the power off"
                                        : "nothing, as the camera has this version already"}});
}

bool is_confirmed()
{
    std::fputs("Go on? [y/N] ", stdout);
    std::fflush(stdout);
    const int answer = std::getchar();
    return answer == 'y' || answer == 'Y';
}

ExitStatus install(Context &context, const Arguments &arguments)
{
    const Plan plan = make_plan(context, arguments.words()[0]);
    const bool dry = arguments.flag("--dry-run");
    const bool sure = arguments.flag("--yes");
    if (!dry && !sure && (context.json() || isatty(STDIN_FILENO) == 0))
        throw usage_failure("there is nobody to ask; say --yes, or --dry-run to see what would happen");
    show_plan(context, plan);
    if (dry)
        return EXIT_DONE;
    if (!sure && !is_confirmed())
        throw Failure(EXIT_REFUSED, "NotConfirmed", "nothing was changed");
    if (!plan.in_place)
        install_image(plan.place, plan.image);
    if (!plan.needed) {
        context.done("done");
        return EXIT_DONE;
    }
    UpgradeWatch(context).restart();
    return show_last(context, context.service().status().get());
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
    const bool has_file = !arguments.words().empty();
    if (retry && has_file)
        throw usage_failure("--retry tries the image that lies there; a FILE is tried anyhow");
    if (!has_file && (arguments.flag("--yes") || arguments.flag("--dry-run")))
        throw usage_failure("--yes and --dry-run want a FILE");
    if (has_file)
        return install(context, arguments);
    if (!retry)
        return show_last(context, context.service().status().get());
    UpgradeWatch(context).restart();
    context.done("done");
    return EXIT_DONE;
}
