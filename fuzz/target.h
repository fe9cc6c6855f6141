// What every fuzz target stands on. A target is one function over bytes from outside; it is linked with libFuzzer into
// a program of its own (libfuzzer.cpp), and with all the others into the one that replays what is kept (replay.cpp).
#pragma once

#include "core/log.h"
#include "glib_owned.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <syslog.h>
#include <vector>

namespace fuzz {

using Input = std::span<const std::uint8_t>;

struct Target {
    const char *name; // of its file, and of its folders of inputs
    void (*run)(Input input);
};

// Those that are linked in.
inline std::vector<Target> &targets()
{
    static std::vector<Target> all;
    return all;
}

struct Registration {
    Registration(const char *name, void (*run)(Input)) { targets().push_back({name, run}); }
};

[[noreturn]] inline void fail(const char *what, const char *file, int line)
{
    std::fprintf(stderr, "%s:%d: %s\n", file, line, what);
    std::abort();
}

// GLib finds misuse that the sanitizers do not see in it.
inline void judge_message(const char *domain, GLogLevelFlags level, const char *text, void *)
{
    if (domain != nullptr && g_str_has_prefix(domain, "GLib") && (level & G_LOG_LEVEL_CRITICAL) != 0)
        fail(text, domain, 0);
}

// One input, with the system log spared.
inline void run(const Target &target, Input input)
{
    log_set_sink([](int, const char *) {});
    setlogmask(LOG_MASK(LOG_EMERG));
    g_log_set_default_handler(judge_message, nullptr);
    target.run(input);
}

inline std::string text(Input input)
{
    return {input.begin(), input.end()};
}

// Lines without their ends.
inline std::vector<std::string> lines(Input input)
{
    std::vector<std::string> all(1);
    for (const std::uint8_t byte : input)
        byte == '\n' ? (void)all.emplace_back() : all.back().push_back(static_cast<char>(byte));
    return all;
}

// The value that GVariant's text form stands for; of any type when `type` is null. Null when it stands for none.
inline GVariantOwned variant(const char *type, std::string_view text)
{
    // No bus carries anything but UTF-8, of which some of these escapes make something else.
    if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) || text.find("\\u") != text.npos ||
        text.find("\\U") != text.npos)
        return nullptr;
    const GVariantType *wanted = type != nullptr ? G_VARIANT_TYPE(type) : nullptr;
    GVariant *value = g_variant_parse(wanted, text.data(), text.data() + text.size(), nullptr, nullptr);
    return GVariantOwned(value != nullptr ? g_variant_take_ref(value) : nullptr);
}

// Takes values off the front of an input; zero behind its end.
class Reader {
  public:
    explicit Reader(Input input) : rest_(input) {}
    template <typename Value>
    Value take()
    {
        Value value{};
        const std::size_t size = std::min(sizeof value, rest_.size());
        if (size > 0)
            std::memcpy(&value, rest_.data(), size);
        rest_ = rest_.subspan(size);
        return value;
    }
    Input rest() const { return rest_; }

  private:
    Input rest_;
};

} // namespace fuzz

// Ends the program, and with it the search, when what must hold does not.
#define HOLDS(condition) ((condition) ? (void)0 : fuzz::fail("does not hold: " #condition, __FILE__, __LINE__))

// FUZZ_TARGET(name) { ... input ... }
#define FUZZ_TARGET(name)                                                                                              \
    static void run_target(fuzz::Input input);                                                                         \
    static const fuzz::Registration registration(#name, run_target);                                                   \
    static void run_target(fuzz::Input input)
