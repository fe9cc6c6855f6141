// Keys as a terminal sends them: bytes in, keys out. Terminals that can tell when a key is let go (the "kitty" keyboard
// protocol) are told to, and asked whether they do.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// A character as itself, other keys above all characters.
using Key = char32_t;
inline constexpr Key kKeyUp = 0x200000, kKeyDown = 0x200001, kKeyRight = 0x200002, kKeyLeft = 0x200003,
                     kKeyPageUp = 0x200004, kKeyPageDown = 0x200005, kKeyOther = 0x200006;
inline constexpr Key kEscape = 27;
// What is no key: the terminal has lost the keyboard; it says when a key is let go.
inline constexpr Key kFocusLost = 0x200010, kTellsReleases = 0x200011;
inline constexpr Key kCtrlC = 3;

struct KeyEvent {
    Key key;
    bool released = false; // else pressed, or repeated while it is held

    bool operator==(const KeyEvent &) const = default;
};

// What a terminal is sent at the beginning, and at the end to be as before. One that does not know them ignores them.
inline constexpr std::string_view kKeyboardOn = "\x1b[?1004h\x1b[>11u\x1b[?u";
inline constexpr std::string_view kKeyboardOff = "\x1b[<u\x1b[?1004l";

class KeyReader {
  public:
    // Takes what the terminal has sent; what is not whole yet waits for the rest. An escape with nothing behind it is
    // that key, though it may turn out to begin another one.
    std::vector<KeyEvent> take(std::string_view bytes);

  private:
    std::string rest_;
    bool escape_told_ = false; // that of the rest
};
