#include "tools/ptzctl/standstill.h"

#include <gtest/gtest.h>

TEST(Standstill, ComesOnceNothingHasChangedForTheSettlingTime)
{
    Standstill standstill(1000);
    EXPECT_FALSE(standstill.observe({{"pan", 1.0}}, 5000));
    EXPECT_FALSE(standstill.observe({{"pan", 1.0}}, 5999));
    EXPECT_FALSE(standstill.observe({{"pan", 1.5}}, 6000));
    EXPECT_FALSE(standstill.observe({{"pan", 1.5}}, 6999));
    EXPECT_TRUE(standstill.observe({{"pan", 1.5}}, 7000));
}
