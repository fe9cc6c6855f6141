// decode: a trace put into words, or into a capture file.
#include "command.h"
#include "loop.h"
#include "pcapng.h"
#include "trace_reader.h"

#include "sim/trace.h"

#include <algorithm>
#include <iostream>
#include <optional>

namespace {

using Kind = sim::TraceLine::Kind;

constexpr unsigned kLookEveryMs = 100;

const char *kind_name(Kind kind)
{
    static constexpr const char *kNames[] = {"burst", "error", "level", "call", "told", "signal", "sim", "close"};
    return kNames[static_cast<std::size_t>(kind)];
}

const char *sender_of(const sim::TraceLine &line)
{
    if (line.kind == Kind::error)
        return "block"; // whose burst is missing
    return line.kind > Kind::level ? "" : line.from_host ? "host" : "block";
}

class Decoder {
  public:
    Decoder(Context &context, const Arguments &arguments)
        : context_(context), sent_(arguments.flag("--sent")), received_(arguments.flag("--received")),
          record_(arguments.value("--record").value_or("")), is_forced_(arguments.flag("--big-endian"))
    {
        if (is_forced_)
            big_endian_ = true;
        if (const auto path = arguments.value("--pcapng"))
            capture_.emplace(*path);
    }

    // Takes all lines that are there.
    void take(TraceReader &reader)
    {
        std::string_view text;
        while (reader.next(text))
            take_line(reader.number(), text);
        flush();
    }

    void report(std::size_t number, const char *problem)
    {
        status_ = EXIT_REFUSED;
        if (!context_.json() || capture_) {
            std::cerr << "ptzctl: line " << number << ": " << problem << '\n';
            return;
        }
        GVariantBuilder object;
        g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&object, "{sv}", "line", g_variant_new_uint64(number));
        g_variant_builder_add(&object, "{sv}", "error", g_variant_new_string(problem));
        context_.object(g_variant_builder_end(&object));
    }

    void flush()
    {
        if (capture_)
            capture_->flush();
        else
            context_.flush();
    }

    ExitStatus status() const { return status_; }
    // None when words are written.
    std::optional<std::size_t> packets() const { return capture_ ? std::optional(capture_->packets()) : std::nullopt; }

  private:
    void take_line(std::size_t number, std::string_view text)
    {
        if (text.empty() || text[0] == '#') {
            if (const auto order = sim::trace_byte_order(text); order && !is_forced_)
                big_endian_ = order;
            return;
        }
        if (!sim::parse_trace_line(text, line_)) {
            report(number, "not a line of a trace, skipped");
            return;
        }
        const std::string_view sender = sender_of(line_);
        if ((sent_ && sender != "host") || (received_ && sender != "block"))
            return;
        if (capture_ && record_.empty())
            capture_->add(line_, big_endian_);
        else
            show(number);
    }

    // Words of the record that is asked for; of all when none is.
    std::vector<std::string> wanted_words() const
    {
        std::vector<std::string> words = sim::decode_trace_line(line_, big_endian_);
        std::erase_if(words, [this](const std::string &text) {
            return !std::equal(record_.begin(), record_.end(), text.begin(),
                               text.begin() + static_cast<std::ptrdiff_t>(std::min(text.size(), record_.size())),
                               [](char a, char b) { return g_ascii_tolower(a) == g_ascii_tolower(b); });
        });
        return words;
    }

    void show(std::size_t number)
    {
        const std::vector<std::string> words = wanted_words();
        if (words.empty())
            return;
        if (capture_)
            capture_->add(line_, big_endian_);
        else if (context_.json())
            context_.object(object_of(number, words));
        else
            for (const std::string &each : words)
                context_.line(format_text("%11.6f %-5s %-5s  ", static_cast<double>(line_.us) / 1e6, place().c_str(),
                                          sender_of(line_)) +
                              printable(each));
    }

    std::string place() const
    {
        if (line_.kind <= Kind::error)
            return "port" + std::to_string(line_.port);
        return line_.kind == Kind::level ? "line" : kind_name(line_.kind);
    }

    GVariant *object_of(std::size_t number, const std::vector<std::string> &texts) const
    {
        GVariantBuilder words;
        g_variant_builder_init(&words, G_VARIANT_TYPE_STRING_ARRAY);
        for (const std::string &text : texts)
            g_variant_builder_add(&words, "s", valid_text(text).c_str());
        GVariantBuilder object;
        g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&object, "{sv}", "line", g_variant_new_uint64(number));
        g_variant_builder_add(&object, "{sv}", "seconds", g_variant_new_double(static_cast<double>(line_.us) / 1e6));
        if (line_.kind <= Kind::error)
            g_variant_builder_add(&object, "{sv}", "port", g_variant_new_uint32(line_.port));
        else
            g_variant_builder_add(&object, "{sv}", "kind", g_variant_new_string(kind_name(line_.kind)));
        if (*sender_of(line_) != '\0')
            g_variant_builder_add(&object, "{sv}", "sender", g_variant_new_string(sender_of(line_)));
        g_variant_builder_add(&object, "{sv}", "texts", g_variant_builder_end(&words));
        return g_variant_builder_end(&object);
    }

    Context &context_;
    const bool sent_;
    const bool received_;
    const std::string record_; // what its words begin with
    const bool is_forced_;
    std::optional<bool> big_endian_; // as the trace says, where it does
    std::optional<PcapngWriter> capture_;
    sim::TraceLine line_;
    ExitStatus status_ = EXIT_DONE;
};

} // namespace

ExitStatus run_decode(Context &context, const Arguments &arguments)
{
    const bool follows = arguments.flag("--follow");
    TraceReader reader(arguments.words()[0], follows);
    Decoder decoder(context, arguments);
    context.hold_back();
    if (follows) {
        run_loop(kLookEveryMs, [&] {
            decoder.take(reader);
            return true;
        });
        return decoder.status();
    }
    decoder.take(reader);
    if (reader.is_cut())
        decoder.report(reader.number() + 1, "the trace was cut here; all before it is shown");
    if (const auto packets = decoder.packets(); packets && arguments.value("--pcapng") != "-")
        context.done(std::to_string(*packets) + " packets");
    decoder.flush();
    context.flush();
    return decoder.status();
}
