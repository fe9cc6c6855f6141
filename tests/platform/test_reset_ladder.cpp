#include "ptzorvel/ptzd/reset_ladder.h"

#include <gtest/gtest.h>

namespace {

TEST(ResetLadder, WaitsLongerAfterEveryResetThatFailed)
{
    ResetLadder ladder(30);
    EXPECT_FALSE(ladder.take(1e9)); // never down
    ladder.down(100);
    double last = 100;
    unsigned resets = 0;
    for (const double pause : {30, 60, 120, 300, 600, 600, 600}) {
        EXPECT_FALSE(ladder.take(last + pause - 0.1));
        EXPECT_TRUE(ladder.take(last + pause));
        EXPECT_EQ(ladder.resets(), ++resets);
        EXPECT_FALSE(ladder.take(1e9)); // it takes its time
        last += 1000;
        ladder.failed(last);
    }
    ladder.over();
    EXPECT_FALSE(ladder.take(1e9));
    EXPECT_EQ(ladder.resets(), 0u);
    ladder.failed(last); // of one that was under way
    EXPECT_EQ(ladder.due(), ResetLadder::kNever);
    ladder.down(last);
    EXPECT_EQ(ladder.due(), last + 30);
}

TEST(ResetLadder, OfNoTimeNeverBegins)
{
    ResetLadder ladder(0);
    ladder.down(100);
    EXPECT_EQ(ladder.due(), ResetLadder::kNever);
}

} // namespace
