#include "ptzorvel/ptzd/reset_ladder.h"

#include <algorithm>
#include <iterator>

void ResetLadder::down(double since)
{
    resets_ = 0;
    due_ = since + timeout_;
}

void ResetLadder::over()
{
    resets_ = 0;
    due_ = kNever;
}

bool ResetLadder::take(double now)
{
    if (now < due_)
        return false;
    due_ = kNever;
    ++resets_;
    return true;
}

void ResetLadder::failed(double now)
{
    static constexpr double kPauses[] = {60, 120, 300, 600};
    if (resets_ > 0)
        due_ = now + kPauses[std::min<std::size_t>(resets_, std::size(kPauses)) - 1];
}
