// Texts from outside in messages.
#pragma once

#include <string>
#include <string_view>

// The text between double quotes, fit for one line of a message: valid UTF-8, control characters as "?", a long text
// cut after sixty characters.
std::string quoted(std::string_view text);
