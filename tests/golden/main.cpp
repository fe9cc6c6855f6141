// Holds every conversion against a table made on amd64: other machines and compilers have to come to the same numbers,
// which they do as long as no product is fused with the sum that it goes into.
//
//   golden TABLE          checks; status 1, and the rows that differ, when some do
//   golden --sweep        prints the rows of a dense sweep
//   golden --write SWEEP  prints a table: a coarse sweep, and some of the rows of SWEEP, which another build has
//   printed,
//                         that come out otherwise here. That build may fuse:
//                         meson setup build/fused -Dcpp_args='-mfma -ffp-contract=fast'
#include "tests/golden/conversions.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iostream>

namespace {

constexpr double DENSE = 2000;     // steps of a dense sweep in a coarse one
constexpr std::size_t PICKED = 30; // about so many rows of another build for a conversion, at least

std::string text(double value)
{
    char digits[32];
    g_snprintf(digits, sizeof digits, "%.10g", value);
    return digits;
}

// A row has what goes in and what comes out.
std::string row_of(GoldenBench &bench, const Conversion &conversion, double x, double other)
{
    const double result = conversion.convert(bench, x, other);
    bench.log.take();
    framework().take();
    return std::string(conversion.name) + "," + text(x) + "," + text(other) + "," + text(result);
}

template <typename Take>
void sweep(GoldenBench &bench, const Conversion &conversion, double parts, Take take)
{
    const auto &[first, last, step] = conversion.sweep;
    const bool whole = std::trunc(first) == first && std::trunc(step) == step;
    const double part = whole ? std::max(std::trunc(step / parts), 1.0) : step / parts;
    for (const double other : conversion.others) {
        for (double x = first; x < last; x = std::stod(text(x + part))) // the text is what will be read
            take(row_of(bench, conversion, x, other));
        take(row_of(bench, conversion, last, other));
    }
}

// The row as it comes out here; nothing when it is of no conversion.
std::string again(GoldenBench &bench, const std::string &row, const Conversion **conversion)
{
    const std::size_t first = row.find(','), second = row.find(',', first + 1);
    const auto found = std::ranges::find(CONVERSIONS, row.substr(0, first), &Conversion::name);
    if (found == CONVERSIONS.end() || second == std::string::npos)
        return "";
    *conversion = &*found;
    return row_of(bench, *found, std::stod(row.substr(first + 1)), std::stod(row.substr(second + 1)));
}

bool same(const Conversion *conversion, const std::string &row, const std::string &here)
{
    if (row == here || here.empty())
        return row == here;
    const auto result = [](const std::string &line) { return std::stof(line.substr(line.rfind(',') + 1)); };
    float value = result(here);
    for (int unit = 0; unit < conversion->units_off && value != result(row); ++unit)
        value = std::nextafterf(value, result(row));
    return conversion->units_off > 0 && value == result(row);
}

int check(GoldenBench &bench, std::istream &table)
{
    std::size_t rows = 0, wrong = 0;
    const Conversion *conversion = nullptr;
    std::vector<const Conversion *> seen;
    for (std::string row; std::getline(table, row); ++rows) {
        const std::string here = again(bench, row, &conversion);
        if (seen.empty() || seen.back() != conversion)
            seen.push_back(conversion);
        if (!same(conversion, row, here) && ++wrong <= 20)
            std::cout << "in the table " << row << "\n        here " << here << '\n';
    }
    std::cout << rows << " rows of " << seen.size() << " conversions, " << wrong << " wrong\n";
    return wrong != 0 || seen.size() != CONVERSIONS.size();
}

int write(GoldenBench &bench, std::istream &other_build)
{
    std::map<const Conversion *, std::vector<std::string>> differ;
    const Conversion *conversion = nullptr;
    for (std::string row; std::getline(other_build, row);)
        if (const std::string here = again(bench, row, &conversion); !same(conversion, row, here))
            differ[conversion].push_back(here);
    for (const Conversion &known : CONVERSIONS) {
        sweep(bench, known, 1, [](const std::string &row) { std::cout << row << '\n'; });
        const std::vector<std::string> &rows = differ[&known];
        std::cerr << known.name << ": " << rows.size() << " rows differ\n";
        for (std::size_t i = 0; i < rows.size(); i += std::max<std::size_t>(rows.size() / PICKED, 1))
            std::cout << rows[i] << '\n';
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    GoldenBench bench;
    std::ifstream file(argv[argc - 1]);
    if (argc == 3 && std::strcmp(argv[1], "--write") == 0)
        return write(bench, file);
    if (argc != 2 || std::strcmp(argv[1], "--sweep") != 0)
        return check(bench, file);
    for (const Conversion &conversion : CONVERSIONS)
        sweep(bench, conversion, DENSE, [](const std::string &row) { std::cout << row << '\n'; });
    return 0;
}
