// What 'ptzctl wait' waits for: "reached", "link=up", "temperature<60".
#pragma once

#include "service.h"

#include <string>
#include <vector>

struct Condition {
    std::string subject;  // "reached", "standing", "link", "state", "temperature"
    char relation = '\0'; // '=', '<' or '>'
    std::string word;     // of a link; of a state its words
    double number = 0;
};

// Throws Failure (EXIT_USAGE) when it is none.
Condition parse_condition(const std::string &text);

// Beginnings and whole ones, for those who type.
std::vector<std::string> all_conditions();

// Whether it holds now; `now` is what was found, in words. Throws Failure: EXIT_NOT_REACHED when it cannot come true
// any more, and as Service::call() does.
bool holds(const Condition &condition, Service &service, std::string &now);
