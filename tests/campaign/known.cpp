// What is known to be red, and why: shown as such and counted, never skipped. What is seen has to be what is known.
#include "tests/campaign/classes.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

constexpr char kUnheard[] =
    "the block answers a frame whose records it has not carried out as ever, and its status does "
    "not have these settings: nobody can tell that one is lost";
struct Known {
    std::string_view fault; // its beginning
    std::string_view seen;
    const char *reason;
};
constexpr Known kKnown[] = {
    {"host-", "in the block, not", kUnheard},
    {"ignore-record", "in the block, not", kUnheard},
};

} // namespace

const char *known_red(const Cell &cell, const std::string &seen)
{
    const std::string_view fault = cell.fault->fault;
    const auto found = std::find_if(std::begin(kKnown), std::end(kKnown), [&](const Known &known) {
        return fault.starts_with(known.fault) && seen.find(known.seen) != std::string::npos;
    });
    return found == std::end(kKnown) ? nullptr : found->reason;
}
