#include "core/glib_raii.h"
#include "tests/support/capture.h"
#include "utils/ptz_driver_canon_utils_limit.h"

#include <gtest/gtest.h>

namespace {

constexpr int UNTOUCHED = 4711;

GValueOwned text_value(const char *text)
{
    GValueOwned value(g_new0(GValue, 1));
    g_value_set_string(g_value_init(value.get(), G_TYPE_STRING), text);
    return value;
}

int parse(const GValue *value)
{
    int limit = UNTOUCHED;
    const gboolean parsed = ptz_driver_canon_utils_parse_slow_shutter_limit(value, &limit);
    EXPECT_EQ(parsed, limit != UNTOUCHED);
    return limit;
}

TEST(SlowShutterLimit, TextBeginsWithANumber)
{
    const LogCapture log;
    EXPECT_EQ(parse(text_value("-5").get()), -5);
    EXPECT_EQ(parse(text_value("  +40000 us").get()), 40000);
    EXPECT_EQ(parse(text_value("0x10").get()), 0);
    EXPECT_EQ(parse(text_value("99999999999999999999").get()), 2147483647);
    EXPECT_TRUE(log.lines().empty());
}

TEST(SlowShutterLimit, TextWithoutANumberIsNamed)
{
    LogCapture log;
    for (const char *text : {"abc %n", "", "-"})
        EXPECT_EQ(parse(text_value(text).get()), UNTOUCHED);
    EXPECT_EQ(log.take(),
              (Lines{"error: Unsupported slow shutter limit: abc %n",
                     "error: Unsupported slow shutter limit: ", "error: Unsupported slow shutter limit: -"}));
    EXPECT_EQ(parse(text_value(nullptr).get()), UNTOUCHED);
}

TEST(SlowShutterLimit, OtherTypes)
{
    const LogCapture log;
    GValueOwned value(g_new0(GValue, 1));
    g_value_set_int(g_value_init(value.get(), G_TYPE_INT), -8);
    EXPECT_EQ(parse(value.get()), -8);
    g_value_unset(value.get());
    g_value_set_boolean(g_value_init(value.get(), G_TYPE_BOOLEAN), TRUE);
    EXPECT_EQ(parse(value.get()), UNTOUCHED);
    EXPECT_EQ(parse(nullptr), UNTOUCHED);
    EXPECT_TRUE(log.lines().empty());
}

} // namespace
