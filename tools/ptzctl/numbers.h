// Numbers as people type them.
#pragma once

#include <string>
#include <string_view>

// Reads a decimal number, whole or with a fraction ("12", "+0.5", "-3e2"); the locale does not matter.
// `what` names the number in the message. Throws Failure (EXIT_USAGE) for anything else: no text, trailing text,
// "nan", "inf", more than a double holds, outside `minimum`..`maximum`.
double parse_number(std::string_view text, const std::string &what, double minimum, double maximum);
double parse_number(std::string_view text, const std::string &what);

// As parse_number(), and the number must be whole.
int parse_integer(std::string_view text, const std::string &what, int minimum, int maximum);

// The shortest text that reads back as the same number: "12.5", "-5", "0.1".
std::string number_text(double number);
