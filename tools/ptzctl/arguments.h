// The words of a command line, read by the table: options taken by name, the rest by position.
#pragma once

#include "table.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class Arguments {
  public:
    // Takes the options out of the words up to "--"; general ones may stand anywhere, those of the command behind its
    // name or before it. Throws Failure (EXIT_USAGE) when the table knows no such command line: an unknown command or
    // option, a value that is missing, given twice or out of its range, words that no form of the command takes.
    // With --help or --version nothing but the options is looked at.
    explicit Arguments(std::vector<std::string> words);

    // Null when there is none, with --help or --version only.
    const Command *command() const { return command_; }

    bool flag(std::string_view name) const { return options_.contains(name); }
    std::optional<std::string> value(std::string_view name) const;
    std::optional<double> number(std::string_view name) const;

    // What is left behind the command's name, GROUP NAME as the one word GROUP.NAME.
    const std::vector<std::string> &words() const { return words_; }

  private:
    void take_options(std::vector<std::string> &words, std::span<const Option> known);

    const Command *command_ = nullptr;
    std::map<std::string, std::string, std::less<>> options_; // of those without a value ""
    std::vector<std::string> words_;
};

// The forms of a command that take these words as their first ones. GROUP NAME, where a form wants a parameter, becomes
// the one word GROUP.NAME.
std::vector<const Form *> forms_taking(const Command &command, std::vector<std::string> &words);

// The field for the word of that index; null when the form has none.
const Field *field_at(const Form &form, std::size_t index);

// "; see 'ptzctl move --help'"
std::string see_help(const Command *command);
