#include "ptzorvel/common/quote.h"

#include "clean_text.h"

std::string quoted(std::string_view text)
{
    constexpr glong kMostCharacters = 60;
    constexpr std::size_t kMostBytes = 6 * kMostCharacters; // enough of it for that many characters
    const std::string_view head = text.substr(0, kMostBytes);
    std::string line = printable(head);
    const bool is_long = g_utf8_strlen(line.c_str(), -1) > kMostCharacters;
    if (is_long)
        line.resize(static_cast<std::size_t>(g_utf8_offset_to_pointer(line.c_str(), kMostCharacters) - line.c_str()));
    return '"' + line + (is_long || head.size() < text.size() ? "...\"" : "\"");
}
