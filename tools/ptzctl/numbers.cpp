#include "numbers.h"

#include "failure.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

double parse_number(std::string_view text, const std::string &what)
{
    std::string_view digits = text;
    if (digits.starts_with('+') && !digits.starts_with("+-"))
        digits.remove_prefix(1);

    double number = 0;
    const char *end = digits.data() + digits.size();
    auto [rest, problem] = std::from_chars(digits.data(), end, number);
    if (problem == std::errc::result_out_of_range)
        throw usage_failure(what + " '" + printable(text) + "' is too large or too small a number");
    if (problem != std::errc() || rest != end || !std::isfinite(number))
        throw usage_failure(what + " '" + printable(text) + "' is not a number; write it like 12 or -3.5");
    return number;
}

double parse_number(std::string_view text, const std::string &what, double minimum, double maximum)
{
    const double number = parse_number(text, what);
    if (number < minimum || number > maximum)
        throw usage_failure(what + " " + number_text(number) + " is out of range; give " + number_text(minimum) +
                            " to " + number_text(maximum));
    return number;
}

int parse_integer(std::string_view text, const std::string &what, int minimum, int maximum)
{
    const double number = parse_number(text, what, minimum, maximum);
    if (number != std::trunc(number))
        throw usage_failure(what + " " + number_text(number) + " must be a whole number");
    return static_cast<int>(number);
}

std::string number_text(double number)
{
    std::array<char, 64> text;
    auto [end, problem] = std::to_chars(text.data(), text.data() + text.size(), number);
    return problem == std::errc() ? std::string(text.data(), end) : std::string("0");
}
