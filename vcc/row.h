// The form of a command row.
//
// A command record on the wire is [length of the rest][fixed bytes: class, group, item][parameters], every number with
// its most significant byte first. A row states the fixed bytes and the width of each parameter; the compiler refuses
// a command with a wrong number of parameters or with a real where an integer belongs.
#pragma once

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>

// Bytes of a parameter. A value keeps as many of its low bytes; a signed one goes out in two's complement.
enum class VccWidth : guint8 { u8 = 1, u16 = 2, u32 = 4 };
using enum VccWidth;

// A row without its shape in the type, for lists and documents.
struct VccRowInfo {
    const char *name;
    std::span<const guint8> fixed; // class, group, item and what else never changes
    std::span<const VccWidth> widths;

    // Bytes of the whole record, the length byte included.
    constexpr std::size_t size() const
    {
        std::size_t size = 1 + fixed.size();
        for (const VccWidth width : widths)
            size += static_cast<std::size_t>(width);
        return size;
    }
};

template <std::size_t fixed_count, std::size_t param_count>
struct VccRow {
    const char *name;
    std::array<guint8, fixed_count> fixed{};
    std::array<VccWidth, param_count> widths{};

    consteval VccRow(const char *row_name, std::initializer_list<guint8> row_fixed,
                     std::initializer_list<VccWidth> row_widths = {})
        : name(row_name)
    {
        std::copy(row_fixed.begin(), row_fixed.end(), fixed.begin());
        std::copy(row_widths.begin(), row_widths.end(), widths.begin());
    }

    // Views into this row: valid as long as the row lives.
    constexpr VccRowInfo info() const { return {name, fixed, widths}; }
};

template <std::size_t fixed_count>
VccRow(const char *, const guint8 (&)[fixed_count]) -> VccRow<fixed_count, 0>;
template <std::size_t fixed_count, std::size_t param_count>
VccRow(const char *, const guint8 (&)[fixed_count], const VccWidth (&)[param_count])
    -> VccRow<fixed_count, param_count>;
