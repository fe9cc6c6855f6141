#include "failure.h"

#include "glib_owned.h"

std::string printable(std::string_view text)
{
    TextOwned valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    std::string line;
    for (const char *at = valid.get(); *at != '\0';) {
        const char *next = g_utf8_next_char(at);
        if (g_unichar_iscntrl(g_utf8_get_char(at)))
            line += '?';
        else
            line.append(at, next);
        at = next;
    }
    return line;
}

std::string valid_text(std::string_view text)
{
    return TextOwned(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()))).get();
}
