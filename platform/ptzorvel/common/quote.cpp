#include "ptzorvel/common/quote.h"

#include <glib.h>

#include <memory>

std::string quoted(std::string_view text)
{
    constexpr std::size_t kMostCharacters = 60;
    constexpr std::size_t kMostBytes = 6 * kMostCharacters; // enough of it for that many characters
    const std::string_view head = text.substr(0, kMostBytes);
    const std::unique_ptr<char, decltype(&g_free)> valid(
        g_utf8_make_valid(head.data(), static_cast<gssize>(head.size())), g_free);
    std::string line = "\"";
    const char *at = valid.get();
    for (std::size_t count = 0; *at != '\0' && count < kMostCharacters; count++) {
        const char *next = g_utf8_next_char(at);
        if (g_unichar_iscntrl(g_utf8_get_char(at)))
            line += '?';
        else
            line.append(at, next);
        at = next;
    }
    return line + (*at != '\0' || head.size() < text.size() ? "...\"" : "\"");
}
