#include "keys.h"

#include <charconv>
#include <optional>
#include <utility>

namespace {

constexpr std::size_t kLongestSequence = 64; // what is longer is no key

struct Sequence {
    char kind = 0;          // '?' of an answer, else 0
    unsigned first = 0;     // first number
    unsigned modifiers = 1; // second number, 1: none
    unsigned event = 1;     // 1 pressed, 2 repeated, 3 released
    char final = 0;
};

unsigned number(std::string_view &text)
{
    unsigned value = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), value).ptr;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

// "FIRST[:...];MODIFIERS[:EVENT]", each of which may be left out.
Sequence parse(std::string_view body)
{
    Sequence sequence;
    sequence.final = body.back();
    body.remove_suffix(1);
    if (body.starts_with('?')) {
        sequence.kind = '?';
        body.remove_prefix(1);
    }
    sequence.first = number(body);
    const std::size_t second = body.find(';');
    if (second == std::string_view::npos)
        return sequence;
    body.remove_prefix(second + 1);
    sequence.modifiers = number(body);
    if (body.starts_with(':')) {
        body.remove_prefix(1);
        sequence.event = number(body);
    }
    return sequence;
}

std::optional<Key> key_of(const Sequence &sequence)
{
    constexpr unsigned kControl = 4;
    constexpr unsigned kFirstModifier = 57344, kLastModifier = 63743; // shift and its like, for themselves
    if (sequence.kind == '?')
        return sequence.final == 'u' ? std::optional(kTellsReleases) : std::nullopt;
    switch (sequence.final) {
    case 'A':
        return kKeyUp;
    case 'B':
        return kKeyDown;
    case 'C':
        return kKeyRight;
    case 'D':
        return kKeyLeft;
    case 'O':
        return kFocusLost;
    case 'I': // and has it again
        return std::nullopt;
    case '~':
        if (sequence.first == 5)
            return kKeyPageUp;
        if (sequence.first == 6)
            return kKeyPageDown;
        return kKeyOther;
    case 'u':
        if (sequence.first >= kFirstModifier && sequence.first <= kLastModifier)
            return std::nullopt;
        if (sequence.first == 'c' && sequence.modifiers > 0 && ((sequence.modifiers - 1) & kControl) != 0)
            return kCtrlC;
        return sequence.first;
    default:
        return kKeyOther;
    }
}

// The length of the sequence at the beginning of `text`, which begins with ESC, without its last characters where they
// are not there yet: none.
std::optional<std::size_t> sequence_length(std::string_view text)
{
    if (text.size() < 2)
        return std::nullopt;
    if (text[1] != '[' && text[1] != 'O')
        return 1; // an escape for itself, which is no key of ours
    for (std::size_t at = 2; at < text.size(); at++)
        if (text[at] >= 0x40 && text[at] <= 0x7E)
            return at + 1;
    return text.size() > kLongestSequence ? std::optional(text.size()) : std::nullopt;
}

} // namespace

std::vector<KeyEvent> KeyReader::take(std::string_view bytes)
{
    rest_ += bytes;
    std::vector<KeyEvent> events;
    std::string_view left = rest_;
    while (!left.empty()) {
        if (left == "\x1b" && !std::exchange(escape_told_, true))
            events.push_back({kEscape});
        if (left[0] != '\x1b') {
            events.push_back({static_cast<unsigned char>(left[0])});
            left.remove_prefix(1);
            continue;
        }
        const auto length = sequence_length(left);
        if (!length)
            break;
        escape_told_ = false;
        if (*length > 2) {
            const Sequence sequence = parse(left.substr(2, *length - 2));
            if (const auto key = key_of(sequence))
                events.push_back({*key, sequence.event == 3});
        }
        left.remove_prefix(*length);
    }
    rest_ = left;
    return events;
}
