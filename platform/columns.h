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

// Rows of cells in columns as wide as what they hold. Where that is more than `width` (0: no bound), the last two
// columns are wrapped. Every line is terminated.
inline std::string in_columns(const std::vector<std::vector<std::string>> &rows, std::size_t width)
{
    constexpr std::size_t kGap = 2;
    constexpr std::size_t kLeast = 12;     // of the last but one
    constexpr std::size_t kLeastLast = 24; // of the last
    std::vector<std::size_t> widths;
    for (const auto &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i + 1 < row.size(); i++)
            widths[i] = std::max(widths[i], text_width(row[i]));
    }
    const auto before = [&widths](std::size_t columns) {
        std::size_t at = 0;
        for (std::size_t i = 0; i < columns; i++)
            at += widths[i] + kGap;
        return at;
    };
    if (widths.size() > 2 && width != 0 && before(widths.size() - 1) + kLeastLast > width) {
        const std::size_t used = before(widths.size() - 2) + kGap + kLeastLast;
        widths[widths.size() - 2] = std::max(width > used ? width - used : 0, kLeast);
    }
    std::string text;
    for (const auto &row : rows) {
        std::vector<std::string> lines;
        for (std::size_t i = 0; i < row.size(); i++) {
            const bool is_last = i + 1 == row.size();
            const std::size_t at = before(i);
            const std::size_t left = width > at + kLeast ? width - at : kLeast;
            const bool wraps = width != 0 && (is_last || (i > 0 && text_width(row[i]) > widths[i]));
            const std::vector<std::string> cell =
                wraps ? wrap(row[i], is_last ? left : widths[i]) : std::vector<std::string>{row[i]};
            lines.resize(std::max(lines.size(), cell.size()));
            for (std::size_t part = 0; part < cell.size(); part++) {
                lines[part].append(at - std::min(at, text_width(lines[part])), ' ');
                lines[part] += cell[part];
            }
        }
        for (const std::string &line : lines)
            text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}
