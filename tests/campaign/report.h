// What came of the cells, in words and as a page.
#pragma once

#include "tests/campaign/trial.h"

#include <string>
#include <vector>

enum class Verdict : unsigned char { green, unsteady, known, red };

struct Result {
    Cell cell;
    Verdict verdict;
    Outcome outcome; // of the last try; an unsteady one has the first try's `wrong`
};

std::string line(const Result &result);
// "812 cells: 800 green, 3 at a second try, ..."
std::string sum(const std::vector<Result> &results);
std::string page(const std::vector<Result> &results, std::uint64_t seed);
