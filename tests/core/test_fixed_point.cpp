#include "core/fixed_point.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

TEST(FixedPoint, RealsAreRoundedAwayFromZeroAndBack)
{
    EXPECT_EQ(fixed_from_real(12.5f), 819200);
    EXPECT_EQ(fixed_from_real(-12.5f), -819200);
    EXPECT_EQ(fixed_from_real(1.0f / 131072.0f), 1);
    EXPECT_EQ(fixed_from_real(-1.0f / 131072.0f), -1);
    EXPECT_EQ(fixed_from_real(0.0f), 0);
    EXPECT_EQ(fixed_to_real(-819200), -12.5f);
}

TEST(FixedPoint, IntegerPartIsRoundedDown)
{
    EXPECT_EQ(fixed_integer_part(32768), 0);
    EXPECT_EQ(fixed_integer_part(-32768), -1);
    EXPECT_EQ(fixed_from_integer(-1), -65536);
    EXPECT_EQ(fixed_from_integer(40000), -1673527296); // what does not fit is cut off
}

TEST(FixedPoint, TruncationIsDefinedForEveryReal)
{
    EXPECT_EQ(truncate_to_int(-0.9f), 0);
    EXPECT_EQ(truncate_to_int(3e9f), 2147483647);
    EXPECT_EQ(truncate_to_int(-INFINITY), -2147483647 - 1);
    EXPECT_EQ(truncate_to_int(NAN), 0);
    EXPECT_EQ(truncate_to_unsigned(-5.0f), 0u);
    EXPECT_EQ(truncate_to_unsigned(3e9f), 3000000000u);
    EXPECT_EQ(truncate_to_unsigned(1e10f), 4294967295u);
    EXPECT_EQ(truncate_to_unsigned(NAN), 0u);
}

} // namespace
