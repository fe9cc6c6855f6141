/* Texts laid out for a terminal; for every program. C++ only. */
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// How many columns a text takes: its characters, UTF-8.
inline std::size_t text_width(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char at) { return (static_cast<unsigned char>(at) & 0xC0) != 0x80; }));
}

// Lines of at most `width` columns, broken at blanks; a longer word stands alone. 0: one line.
inline std::vector<std::string> wrap(std::string_view text, std::size_t width)
{
    std::vector<std::string> lines(1);
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (width != 0 && !lines.back().empty() && text_width(lines.back()) + 1 + text_width(word) > width)
            lines.emplace_back();
        lines.back() += (lines.back().empty() ? "" : " ") + std::string(word);
    }
    return lines;
}

// Rows of cells in columns as wide as what they hold, the last one wrapped to what is left of `width` (0: never).
// Every line is terminated.
inline std::string in_columns(const std::vector<std::vector<std::string>> &rows, std::size_t width)
{
    constexpr std::size_t kGap = 2;
    constexpr std::size_t kLeastLast = 16;
    std::vector<std::size_t> widths;
    for (const auto &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i + 1 < row.size(); i++)
            widths[i] = std::max(widths[i], text_width(row[i]));
    }
    std::string text;
    for (const auto &row : rows) {
        std::string line;
        std::size_t at = 0;
        for (std::size_t i = 0; i + 1 < row.size(); i++) {
            line += row[i] + std::string(widths[i] + kGap - text_width(row[i]), ' ');
            at += widths[i] + kGap;
        }
        const std::size_t left = width == 0 ? 0 : std::max(width > at ? width - at : 0, kLeastLast);
        for (const std::string &part : wrap(row.back(), left)) {
            line += part;
            line.erase(line.find_last_not_of(' ') + 1);
            text += line + "\n";
            line.assign(at, ' ');
        }
    }
    return text;
}
