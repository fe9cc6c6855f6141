// What the table says to people.
#pragma once

#include "table.h"

#include <string>
#include <string_view>

// "[list [GROUP]]", "get GROUP.NAME": a form's words.
std::string form_text(const Form &form);
// "move [OPTION...] AXIS=VALUE...": each form of a command on a line.
std::vector<std::string> synopsis(const Command &command);
// "--wait STATE"
std::string option_text(const Option &option);

// All of it, lines of at most 80 columns.
std::string general_help();
std::string command_help(const Command &command);

inline constexpr std::string_view kPurpose = "Talks to ptzd, the PTZ service, over the system bus.";
inline constexpr std::string_view kSynopsis = "ptzctl [--json] [--timeout SECONDS] COMMAND [ARGUMENT...]";

// The whole manual page, as data/man/ptzctl.1 has it.
std::string manual_page();

// What may stand as the last of these words, the others being before it: for the completion of shells. The first line
// is "words", "open" (no blank behind it) or "files"; each other line is a word, a tab and what it is.
std::string completions(std::vector<std::string> words);
