// What the parts of the command language share.
#pragma once

#include "sim/command.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

using Words = std::vector<std::string_view>;

struct Call {
    const Words &words;
    const CommandTarget &target;
    std::int64_t now;
};

template <typename T>
std::optional<T> to_integer(std::string_view word, int base = 10)
{
    T value{};
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, base);
    if (error != std::errc{} || end != word.data() + word.size())
        return std::nullopt;
    return value;
}

inline std::optional<double> to_real(std::string_view word)
{
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc{} || end != word.data() + word.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

inline CommandResult ok(std::string text)
{
    return {true, std::move(text)};
}
inline CommandResult wrong(std::string text)
{
    return {false, std::move(text)};
}
inline CommandResult usage(const std::string &form)
{
    return wrong("usage: " + form);
}

// "set ..." and "fault ...", and their lines of --help.
CommandResult run_set(const Call &call);
CommandResult run_fault(const Call &call);
std::string set_help();
std::string fault_help();
// The forms of "set ...".
std::vector<std::string> set_forms();

inline constexpr char kClearForm[] = "clear [faults|status|offences]";
inline constexpr char kSeedForm[] = "seed NUMBER";

} // namespace sim
