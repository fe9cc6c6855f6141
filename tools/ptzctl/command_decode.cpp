// decode: a trace file of the simulator put into words.
#include "command.h"

#include "sim/trace.h"

#include <fstream>
#include <iostream>
#include <optional>

#include <cerrno>
#include <cstring>

namespace {

struct DecodeOptions {
    bool sent_only;
    std::optional<bool> big_endian; // as the trace says, where it does
};

GVariant *frame_object(size_t number, const sim::TraceLine &frame, const std::vector<std::string> &texts)
{
    GVariantBuilder words;
    g_variant_builder_init(&words, G_VARIANT_TYPE_STRING_ARRAY);
    for (const std::string &text : texts)
        g_variant_builder_add(&words, "s", valid_text(text).c_str());
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", "line", g_variant_new_uint64(number));
    g_variant_builder_add(&object, "{sv}", "seconds", g_variant_new_double(static_cast<double>(frame.us) / 1e6));
    g_variant_builder_add(&object, "{sv}", "port", g_variant_new_uint32(frame.port));
    g_variant_builder_add(&object, "{sv}", "sender", g_variant_new_string(frame.from_host ? "host" : "block"));
    g_variant_builder_add(&object, "{sv}", "texts", g_variant_builder_end(&words));
    return g_variant_builder_end(&object);
}

void report_malformed(Context &context, size_t number)
{
    constexpr const char *kProblem = "not a line of a trace, skipped";
    if (!context.json()) {
        std::cerr << "ptzctl: line " << number << ": " << kProblem << '\n';
        return;
    }
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", "line", g_variant_new_uint64(number));
    g_variant_builder_add(&object, "{sv}", "error", g_variant_new_string(kProblem));
    context.object(g_variant_builder_end(&object));
}

void show_frame(Context &context, size_t number, const std::string &text, const sim::TraceLine &frame,
                const DecodeOptions &options)
{
    if (options.sent_only && !frame.from_host)
        return;
    const std::vector<std::string> texts = sim::decode_trace_line(text, options.big_endian);
    if (texts.empty())
        return;
    if (context.json()) {
        context.object(frame_object(number, frame, texts));
        return;
    }
    for (const std::string &words : texts)
        context.line(format_text("%11.6f port%u %-5s  ", static_cast<double>(frame.us) / 1e6, frame.port,
                                 frame.from_host ? "host" : "block") +
                     printable(words));
}

ExitStatus decode(Context &context, std::istream &input, DecodeOptions options, bool is_forced)
{
    ExitStatus status = EXIT_DONE;
    std::string text;
    for (size_t number = 1; std::getline(input, text); number++) {
        if (const auto order = sim::trace_byte_order(text); order && !is_forced)
            options.big_endian = order;
        if (text.empty() || text.starts_with('#'))
            continue;
        sim::TraceLine frame;
        if (sim::parse_trace_line(text, frame)) {
            show_frame(context, number, text, frame, options);
        } else {
            report_malformed(context, number);
            status = EXIT_REFUSED;
        }
    }
    return status;
}

} // namespace

ExitStatus run_decode(Context &context, const Arguments &arguments)
{
    const bool is_forced = arguments.flag("--big-endian");
    const DecodeOptions options{arguments.flag("--sent"), is_forced ? std::optional(true) : std::nullopt};
    const std::string path = arguments.words()[0];
    if (path == "-")
        return decode(context, std::cin, options, is_forced);

    std::ifstream file(path);
    if (!file || file.peek() == std::ifstream::traits_type::eof()) {
        const std::string why = file ? "it is empty" : std::strerror(errno);
        throw Failure(EXIT_REFUSED, "NoTrace",
                      "cannot read the trace '" + printable(path) + "': " + why + "; krx-sim --trace FILE writes one");
    }
    return decode(context, file, options, is_forced);
}
