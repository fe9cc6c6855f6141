#include "sim/trace.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace sim {
namespace {

std::string_view next_word(std::string_view &text)
{
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    text.remove_prefix(begin);
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    return word;
}

template <typename T>
bool to_number(std::string_view word, T &value, int base = 10)
{
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, base);
    return error == std::errc{} && end == word.data() + word.size();
}

bool to_time(std::string_view word, std::int64_t &us)
{
    std::int64_t seconds = 0;
    std::int64_t fraction = 0;
    const std::size_t point = word.find('.');
    if (point == std::string_view::npos || word.size() - point != 7)
        return false;
    constexpr std::int64_t kLatest = 1'000'000'000'000; // seconds
    if (!to_number(word.substr(0, point), seconds) || !to_number(word.substr(point + 1), fraction) || fraction < 0 ||
        seconds < 0 || seconds > kLatest)
        return false;
    us = seconds * 1'000'000 + fraction;
    return true;
}

constexpr std::array<std::int8_t, 256> kNibbles = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::int8_t i = 0; i < 10; ++i)
        values[static_cast<std::size_t>('0' + i)] = i;
    for (std::int8_t i = 0; i < 6; ++i)
        values[static_cast<std::size_t>('A' + i)] = values[static_cast<std::size_t>('a' + i)] =
            static_cast<std::int8_t>(10 + i);
    return values;
}();

bool to_bytes(std::string_view hex, std::size_t length, std::vector<std::uint8_t> &bytes)
{
    if (hex.size() % 2 != 0 || hex.size() / 2 > length)
        return false;
    bytes.assign(length, 0);
    for (std::size_t i = 0; i < hex.size() / 2; ++i) {
        const int value =
            kNibbles[static_cast<std::uint8_t>(hex[2 * i])] * 16 | kNibbles[static_cast<std::uint8_t>(hex[2 * i + 1])];
        if (value < 0)
            return false;
        bytes[i] = static_cast<std::uint8_t>(value);
    }
    return true;
}

constexpr std::string_view kLittleEndian = "# byte order: little endian";
constexpr std::string_view kBigEndian = "# byte order: big endian";

bool parse_burst(std::string_view port, std::string_view text, TraceLine &line)
{
    constexpr std::size_t kLongest = 65'536;
    const std::string_view sender = next_word(text);
    std::size_t length = 0;
    if (!to_number(port, line.port))
        return false;
    if (sender == "error") {
        line.kind = TraceLine::Kind::error;
        return to_number(next_word(text), line.number) && next_word(text).empty();
    }
    line.kind = TraceLine::Kind::burst;
    line.from_host = sender == "host";
    if ((sender != "host" && sender != "block") || !to_number(next_word(text), length) || length > kLongest)
        return false;
    const std::string_view bytes = next_word(text);
    return next_word(text).empty() && to_bytes(bytes, length, line.bytes);
}

bool parse_level(std::string_view text, TraceLine &line)
{
    line.kind = TraceLine::Kind::level;
    line.name = next_word(text);
    const std::string_view sender = next_word(text);
    const std::string_view level = next_word(text);
    line.from_host = sender == "host";
    line.number = level == "high" ? 1 : 0;
    return (sender == "host" || sender == "block") && (level == "high" || level == "low") && next_word(text).empty();
}

// A kind whose name is that many words, and the rest a text.
bool parse_text(TraceLine::Kind kind, int words, std::string_view text, TraceLine &line)
{
    line.kind = kind;
    line.name.clear();
    for (; words > 0; --words) {
        const std::string_view word = next_word(text);
        line.name += (line.name.empty() ? "" : " ") + std::string(word);
        if (word.empty())
            return false;
    }
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    line.text = text;
    return (kind == TraceLine::Kind::close) == text.empty();
}

} // namespace

std::string trace_time(std::int64_t us)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%lld.%06lld", static_cast<long long>(us / 1'000'000),
                  static_cast<long long>(us % 1'000'000));
    return text.data();
}

std::string trace_header(bool big_endian)
{
    return "# krx-sim trace 1: seconds port sender length bytes\n" +
           std::string(big_endian ? kBigEndian : kLittleEndian) + "\n";
}

std::optional<bool> trace_byte_order(std::string_view line)
{
    if (line != kBigEndian && line != kLittleEndian)
        return std::nullopt;
    return line == kBigEndian;
}

std::string trace_line(std::int64_t now, unsigned port, bool from_host, std::span<const std::uint8_t> bytes)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string line = trace_time(now) + " port" + std::to_string(port) + (from_host ? " host " : " block ") +
                       std::to_string(bytes.size()) + " ";
    while (!bytes.empty() && bytes.back() == 0)
        bytes = bytes.first(bytes.size() - 1);
    for (const std::uint8_t value : bytes) {
        line += kDigits[value >> 4];
        line += kDigits[value & 15];
    }
    line += '\n';
    return line;
}

std::string trace_level(std::int64_t now, std::string_view line, bool from_host, bool high)
{
    return trace_time(now) + " line " + std::string(line) + (from_host ? " host " : " block ") +
           (high ? "high\n" : "low\n");
}

std::string trace_command(std::int64_t now, std::string_view command)
{
    return trace_time(now) + " sim " + std::string(command) + "\n";
}

bool parse_trace_line(std::string_view text, TraceLine &line)
{
    static constexpr struct {
        std::string_view word;
        TraceLine::Kind kind;
        int words;
    } kTexts[] = {{"call", TraceLine::Kind::call, 1},
                  {"told", TraceLine::Kind::told, 2},
                  {"signal", TraceLine::Kind::signal, 3},
                  {"sim", TraceLine::Kind::command, 0},
                  {"close", TraceLine::Kind::close, 0}};
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.remove_suffix(1);
    if (!to_time(next_word(text), line.us))
        return false;
    line.from_host = false;
    line.number = 0;
    line.name.clear();
    line.text.clear();
    line.bytes.clear();
    const std::string_view kind = next_word(text);
    if (kind.starts_with("port"))
        return parse_burst(kind.substr(4), text, line);
    if (kind == "line")
        return parse_level(text, line);
    for (const auto &row : kTexts)
        if (kind == row.word)
            return parse_text(row.kind, row.words, text, line);
    return false;
}

bool is_status_read(const TraceLine &line)
{
    return line.kind == TraceLine::Kind::burst && line.from_host && line.bytes.size() >= 2 && line.bytes[0] == 0 &&
           line.bytes[1] == 0;
}

} // namespace sim
