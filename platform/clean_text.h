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

// Valid UTF-8 for one line of a message or a terminal: control characters become "?".
inline std::string printable(std::string_view text)
{
    const std::string valid = valid_text(text);
    std::string line;
    for (const char *at = valid.c_str(); *at != '\0';) {
        const char *next = g_utf8_next_char(at);
        if (g_unichar_iscntrl(g_utf8_get_char(at)))
            line += '?';
        else
            line.append(at, next);
        at = next;
    }
    return line;
}
