// What people type, and what machines read: numbers, axes, options, JSON.
#include "columns.h"
#include "glib_owned.h"
#include "tools/ptzctl/arguments.h"
#include "tools/ptzctl/axes.h"
#include "tools/ptzctl/failure.h"
#include "tools/ptzctl/json.h"
#include "tools/ptzctl/numbers.h"

#include <gtest/gtest.h>

namespace {

TEST(Words, AreNumbersOrRefused)
{
    const std::pair<const char *, double> good[] = {{"12", 12}, {"-5.25", -5.25}, {"+0.5", 0.5}, {"3e2", 300}};
    for (const auto &[text, value] : good)
        EXPECT_EQ(parse_number(text, "pan"), value);
    for (const char *text : {"", " 1", "1x", "nan", "-inf", "0x10", "1,5", "+-1", "++1", "1e", "1e999"})
        EXPECT_THROW(parse_number(text, "pan"), Failure) << text;
    EXPECT_EQ(parse_integer("-32768", "the percent", -32768, 32767), -32768);
    EXPECT_EQ(number_text(0.1) + " " + number_text(-5) + " " + number_text(62.80078125), "0.1 -5 62.80078125");
}

TEST(Words, AreAxesOfTheDefaultTypeUnlessTheySayTheirOwn)
{
    std::string read;
    for (const AxisMove &move : parse_axes({"pan=10", "tilt=rel:-5.5", "zoom=continuous:20", "iris=abs:3"}, "relative"))
        read += move.axis + " " + move.type + " " + number_text(move.value) + "; ";
    EXPECT_EQ(read, "pan relative 10; tilt relative -5.5; zoom continuous 20; iris absolute 3; ");
}

TEST(Words, AreOptionsAnywhereBeforeTheSeparator)
{
    const Arguments move({"--wait", "move", "pan=1", "--speed", "5", "--wait", "tilt=2", "--for=3", "--", "--json"});
    EXPECT_EQ(move.value("--speed"), "5");
    EXPECT_EQ(move.number("--for"), 3);
    EXPECT_TRUE(move.flag("--wait"));
    EXPECT_FALSE(move.flag("--json"));
    EXPECT_EQ(move.words(), (std::vector<std::string>{"pan=1", "tilt=2", "--json"}));
    const Arguments set({"params", "set", "A", "B", "-5"}); // a number, and two words for a name
    EXPECT_EQ(set.words(), (std::vector<std::string>{"set", "A.B", "-5"}));
}

TEST(Columns, AreWrappedWhereTheTerminalEnds)
{
    const std::vector<std::vector<std::string>> rows{
        {"NAME", "VALUE", "TAKES"}, {"Gr\xc3\xbc\xc3\x9f", "as the light is now", "one, two, three, four, five"}};
    EXPECT_EQ(in_columns(rows, 0), "NAME  VALUE                TAKES\n"
                                   "Gr\xc3\xbc\xc3\x9f  as the light is now  one, two, three, four, five\n");
    EXPECT_EQ(in_columns(rows, 44), "NAME  VALUE         TAKES\n"
                                    "Gr\xc3\xbc\xc3\x9f  as the light  one, two, three, four,\n"
                                    "      is now        five\n");
}

TEST(Json, WritesEveryKindOfValueAndEscapesWhatATextMayNotHold)
{
    EXPECT_EQ(json_text("a\"b\\c/d\t\n\x01\x7f gr\xc3\xbcn \xff"),
              "\"a\\\"b\\\\c/d\\u0009\\u000a\\u0001\\u007f gr\xc3\xbcn \xef\xbf\xbd\"");
    GVariantOwned value(g_variant_parse(nullptr,
                                        "(true, byte 255, int16 -32768, uint32 4294967295, int64 -9007199254740993, "
                                        "12.5, ['text'], <'boxed'>, @ms nothing, {'on': <true>}, @a{sv} {}, @as [], "
                                        "{uint16 7: 'seven'})",
                                        nullptr, nullptr, nullptr));
    EXPECT_EQ(json_from_variant(value.get()),
              "[true,255,-32768,4294967295,-9007199254740993,12.5,[\"text\"],\"boxed\",null,{\"on\":true},{},[],"
              "{\"7\":\"seven\"}]");
    GVariantOwned not_finite(g_variant_ref_sink(g_variant_new_double(G_MAXDOUBLE * 2)));
    EXPECT_EQ(json_from_variant(not_finite.get()), "null");
}

} // namespace
