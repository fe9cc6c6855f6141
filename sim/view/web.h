// The page on HTTP: its files, the picture, the state as server-sent events, and commands where they are allowed. Works
// within the main context that is the thread's own when it is made; nothing here waits.
//
//   GET /                   the page
//   GET /picture?after=N    the next picture that is not number N, as soon as there is one (204 when there is none for
//                           10 s); its number is in the header X-Picture. Without `after` the one of this moment
//   GET /events             the state, now and after every change
//   POST /command           a line of the command language (see sim/command.h)
//
// There are 64 connections at most: one more is closed at once, and one that asks for nothing after 10 s of silence.
#pragma once

#include "sim/board.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace sim::view {

class Web {
  public:
    struct Hooks {
        std::function<void()> watched;                                 // somebody began to look
        std::function<CommandResult(const std::string &line)> command; // empty: commands are refused
    };
    explicit Web(Hooks hooks);
    ~Web();
    Web(const Web &) = delete;
    Web &operator=(const Web &) = delete;

    // Takes "ADDRESS:PORT", "[ADDRESS]:PORT", an address alone, or nothing: 127.0.0.1 and a free port. Gives a message
    // when that is none, or cannot be listened on.
    std::optional<std::string> listen(const std::string &where);
    // The page's address, to be typed into a browser.
    std::string address() const;

    // Whether somebody waits for pictures or events.
    bool is_watched() const;
    // Gives everyone who waits for it the picture, and the state (one line) to everyone who has not got it.
    void show(std::span<const std::uint8_t> jpeg, std::uint64_t number);
    void tell(const std::string &state);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sim::view
