// The words of a command line after the command: options taken by name, the rest by position.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class Arguments {
  public:
    // `command` names the command in messages.
    Arguments(std::string command, std::vector<std::string> words);
    void set_command(const char *command) { command_ = command; }

    // Takes "--name" out; true if it was there.
    bool flag(std::string_view name);
    // Takes "--name VALUE" or "--name=VALUE" out. Throws Failure (EXIT_USAGE) when the value is missing or the option
    // comes twice.
    std::optional<std::string> value(std::string_view name);

    // Takes the first word out that is no option, if there is one.
    std::optional<std::string> take_first();

    // What is left once every option was taken: throws Failure (EXIT_USAGE) for an option nobody asked for and for
    // fewer than `least` or more than `most` words. What follows "--" is never an option.
    std::vector<std::string> words(size_t least, size_t most) const;

  private:
    std::string command_;
    std::vector<std::string> words_; // up to "--"
    std::vector<std::string> plain_; // after "--"
};
