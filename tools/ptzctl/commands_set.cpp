// special, mode, speed-factor: what changes how the camera works.
#include "command.h"
#include "json.h"
#include "numbers.h"

namespace {

void show_modes(Context &context)
{
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    for (const auto &[name, property] :
         {std::pair("iris", "IrisMode"), std::pair("focus", "FocusMode"), std::pair("backlight", "BacklightMode")}) {
        const GVariantOwned mode = context.service().property(property, "s");
        g_variant_builder_add(&object, "{sv}", name, mode.get());
        if (!context.json())
            context.line(format_text("%-10s %s", name, value_text(mode.get()).c_str()));
    }
    const GVariantOwned all(g_variant_ref_sink(g_variant_builder_end(&object)));
    if (context.json())
        context.object(all.get());
}

void show_speed_factor(Context &context)
{
    gboolean proportional = FALSE;
    gint16 percent = 0;
    g_variant_get(context.service().property("SpeedFactor", "(bn)").get(), "(bn)", &proportional, &percent);
    if (!context.json()) {
        context.line(format_text("%s %d", proportional ? "on" : "off", percent));
        return;
    }
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", "proportional", g_variant_new_boolean(proportional));
    g_variant_builder_add(&object, "{sv}", "percent", g_variant_new_int16(percent));
    context.object(g_variant_builder_end(&object));
}

} // namespace

ExitStatus run_special(Context &context, const Arguments &arguments)
{
    const std::vector<std::string> &words = arguments.words();
    if (words.empty() || words[0] == "list") {
        context.texts("commands", context.service().result("ListSpecialCommands", nullptr, "(as)"));
        return EXIT_DONE;
    }
    context.service().call("RunSpecialCommand", g_variant_new("(s)", valid_text(words[0]).c_str()), "()");
    context.done("done");
    return EXIT_DONE;
}

ExitStatus run_mode(Context &context, const Arguments &arguments)
{
    const std::vector<std::string> &words = arguments.words();
    if (words.empty()) {
        show_modes(context);
        return EXIT_DONE;
    }
    const char *method = words[0] == "backlight" ? "SetBacklightMode"
                         : words[0] == "iris"    ? "SetIrisMode"
                                                 : "SetFocusMode";
    context.service().call(method, g_variant_new("(s)", words[1].c_str()), "()");
    context.done("set");
    return EXIT_DONE;
}

ExitStatus run_speed_factor(Context &context, const Arguments &arguments)
{
    const std::vector<std::string> &words = arguments.words();
    if (words.empty()) {
        show_speed_factor(context);
        return EXIT_DONE;
    }
    const int percent = parse_integer(words[1], "PERCENT", G_MININT16, G_MAXINT16);
    context.service().call("SetSpeedFactor", g_variant_new("(bn)", words[0] == "on", percent), "()");
    context.done("set");
    return EXIT_DONE;
}
