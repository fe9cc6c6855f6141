// What is known to be red, and why: shown as such and counted, never skipped. What is seen has to be what is known.
#include "tests/campaign/classes.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

constexpr char kUnheard[] =
    "the block answers a frame whose records it has not carried out as ever, and its status does "
    "not have these settings: nobody can tell that one is lost";
constexpr char kNotRepeated[] = "a start-up that fails by itself is not repeated until somebody asks for a \"reset\"";

constexpr char kNotCorrected[] =
    "a block that does not tell its version in time counts as not upgraded, also when it tells "
    "the new one later";

struct Known {
    std::string_view fault; // its beginning
    std::string_view seen;
    const char *reason;
};
constexpr Known kKnown[] = {
    {"host-", "in the block, not", kUnheard},
    {"ignore-record", "in the block, not", kUnheard},
    {"", "the upgrade's result is not what happened", kNotCorrected},
};

} // namespace

const char *known_red(const Cell &cell, const std::string &seen)
{
    const std::string_view fault = cell.fault->fault;
    const auto found = std::find_if(std::begin(kKnown), std::end(kKnown), [&](const Known &known) {
        return fault.starts_with(known.fault) && seen.find(known.seen) != std::string::npos;
    });
    if (found != std::end(kKnown))
        return found->reason;
    const bool restarts = cell.phase == Phase::power_up || cell.phase == Phase::upgrade;
    return restarts && seen.starts_with("state 7") ? kNotRepeated : nullptr;
}
