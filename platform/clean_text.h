/* Texts from outside, made fit to be passed on; for every room. C++ only. */
#pragma once

#include "glib_owned.h"

#include <string>
#include <string_view>

// Valid UTF-8, as D-Bus wants it: what is not becomes U+FFFD.
inline std::string valid_text(std::string_view text)
{
    return GText(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()))).get();
}

// Whether a character would move what stands beside it: control characters, separators of lines and paragraphs, marks
// of direction.
inline bool is_control(gunichar letter)
{
    return g_unichar_iscntrl(letter) || letter == 0x061C || letter == 0x200E || letter == 0x200F ||
           (0x2028 <= letter && letter <= 0x202E) || (0x2066 <= letter && letter <= 0x2069);
}

// Valid UTF-8 for one line of a message or a terminal: what is_control() becomes "?".
inline std::string printable(std::string_view text)
{
    const std::string valid = valid_text(text);
    std::string line;
    for (const char *at = valid.c_str(); *at != '\0';) {
        const char *next = g_utf8_next_char(at);
        if (is_control(g_utf8_get_char(at)))
            line += '?';
        else
            line.append(at, next);
        at = next;
    }
    return line;
}
