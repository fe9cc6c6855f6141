#include "core/glib_raii.h"
#include "tests/support/capture.h"
#include "utils/ptz_driver_canon_utils_limit.h"

#include <gtest/gtest.h>

namespace {

constexpr int UNTOUCHED = 4711;

int parse(const GValue *value)
{
    int limit = UNTOUCHED;
    const gboolean parsed = ptz_driver_canon_utils_parse_slow_shutter_limit(value, &limit);
    EXPECT_EQ(parsed, limit != UNTOUCHED);
    return limit;
}

int parse_text(const char *text)
{
    const GValueOwned value(g_new0(GValue, 1));
    g_value_set_string(g_value_init(value.get(), G_TYPE_STRING), text);
    return parse(value.get());
}

TEST(SlowShutterLimit, TextBeginsWithANumberOrIsNamed)
{
    LogCapture log;
    EXPECT_EQ(parse_text("-5"), -5);
    EXPECT_EQ(parse_text("  +40000 us"), 40000);
    EXPECT_EQ(parse_text("0x10"), 0);
    EXPECT_EQ(parse_text("99999999999999999999"), 2147483647);
    EXPECT_EQ(log.take(), Lines{});
    for (const std::string text : {"abc %n", "", "-"}) {
        EXPECT_EQ(parse_text(text.c_str()), UNTOUCHED);
        EXPECT_EQ(log.take(), Lines{"error: Unsupported slow shutter limit: " + text});
    }
    EXPECT_EQ(parse_text(nullptr), UNTOUCHED);
}

TEST(SlowShutterLimit, OtherTypes)
{
    GValue value{};
    g_value_set_int(g_value_init(&value, G_TYPE_INT), -8);
    EXPECT_EQ(parse(&value), -8);
    g_value_unset(&value);
    g_value_set_boolean(g_value_init(&value, G_TYPE_BOOLEAN), TRUE);
    EXPECT_EQ(parse(&value), UNTOUCHED);
    EXPECT_EQ(parse(nullptr), UNTOUCHED);
}

} // namespace
