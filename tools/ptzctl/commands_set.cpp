// special, mode, speed-factor: what changes how the camera works.
#include "command.h"
#include "numbers.h"

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
    const int percent = parse_integer(words[1], "PERCENT", G_MININT16, G_MAXINT16);
    context.service().call("SetSpeedFactor", g_variant_new("(bn)", words[0] == "on", percent), "()");
    context.done("set");
    return EXIT_DONE;
}
