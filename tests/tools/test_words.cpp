// What people type, and what machines read: numbers, axes, options, JSON.
#include "tools/ptzctl/arguments.h"
#include "tools/ptzctl/axes.h"
#include "tools/ptzctl/failure.h"
#include "tools/ptzctl/glib_owned.h"
#include "tools/ptzctl/json.h"
#include "tools/ptzctl/numbers.h"
#include "tools/ptzctl/standstill.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

// The message with which `action` fails, "" when it does not.
template <typename Action>
std::string failure_of(Action action)
{
    try {
        action();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), EXIT_USAGE);
        return failure.what();
    }
    return "";
}

TEST(Numbers, ReadDecimalsAndRefuseEverythingElse)
{
    const std::pair<const char *, double> good[] = {{"12", 12}, {"-5.25", -5.25}, {"+0.5", 0.5}, {"3e2", 300}};
    for (const auto &[text, value] : good)
        EXPECT_EQ(parse_number(text, "pan"), value);
    for (const char *text : {"", " 1", "1 ", "1x", "nan", "-nan", "-inf", "0x10", "1,5", "+-1", "++1", "--1", "1e"})
        EXPECT_THAT(failure_of([&] { parse_number(text, "pan"); }), HasSubstr("is not a number")) << text;
    EXPECT_THAT(failure_of([] { parse_number("1e999", "pan"); }), HasSubstr("too large"));
    EXPECT_THAT(failure_of([] { parse_number("a\nb\x1b", "pan"); }), HasSubstr("'a?b?'"));
    EXPECT_EQ(parse_number("100", "--speed", 0, 100), 100.0);
    EXPECT_THAT(failure_of([] { parse_number("100.1", "--speed", 0, 100); }),
                HasSubstr("--speed 100.1 is out of range; give 0 to 100"));
    EXPECT_EQ(parse_integer("-32768", "the percent", -32768, 32767), -32768);
    EXPECT_THAT(failure_of([] { parse_integer("1.5", "--wait", 0, 7); }), HasSubstr("whole number"));
    EXPECT_EQ(number_text(0.1) + " " + number_text(-5) + " " + number_text(62.80078125), "0.1 -5 62.80078125");
}

TEST(Axes, TakeTheDefaultTypeUnlessTheySayTheirOwn)
{
    std::string read;
    for (const AxisMove &move : parse_axes({"pan=10", "tilt=rel:-5.5", "zoom=continuous:20", "iris=abs:3"}, "relative"))
        read += move.axis + " " + move.type + " " + number_text(move.value) + "; ";
    EXPECT_EQ(read, "pan relative 10; tilt relative -5.5; zoom continuous 20; iris absolute 3; ");
    const std::pair<const char *, const char *> cases[] = {
        {"pan", "write AXIS=VALUE"},           {"Pan=1", "no axis 'Pan'"},  {"=1", "no axis ''"},
        {"pan=fast:1", "no move type 'fast'"}, {"pan=", "is not a number"}, {"pan=abs:", "is not a number"},
    };
    for (const auto &[term, message] : cases)
        EXPECT_THAT(failure_of([&axis = term] { parse_axes({axis}, "absolute"); }), HasSubstr(message)) << term;
    EXPECT_THAT(failure_of([] { parse_axes({"pan=1", "pan=rel:1"}, "absolute"); }), HasSubstr("named twice"));
}

TEST(Options, StandAnywhereAndAreRefusedWhenNobodyAskedForThem)
{
    Arguments move("move", {"pan=1", "--speed", "-5", "--wait", "tilt=2", "--for=3"});
    EXPECT_EQ(move.value("--speed"), "-5");
    EXPECT_EQ(move.value("--for"), "3");
    EXPECT_TRUE(move.flag("--wait"));
    EXPECT_FALSE(move.flag("--wait"));
    EXPECT_EQ(move.words(1, 6), (std::vector<std::string>{"pan=1", "tilt=2"}));
    Arguments special("special", {"--", "--json"}); // behind the separator everything is a word
    EXPECT_FALSE(special.flag("--json"));
    EXPECT_EQ(special.words(0, 1), std::vector<std::string>{"--json"});
    const auto words_of = [](std::vector<std::string> words, size_t least, size_t most) {
        return failure_of([&] { Arguments("stop", words).words(least, most); });
    };
    EXPECT_THAT(words_of({"--now"}, 0, 0), HasSubstr("no option '--now'"));
    EXPECT_THAT(words_of({"now"}, 0, 0), HasSubstr("'now'"));
    EXPECT_THAT(words_of({"iris"}, 2, 2), HasSubstr("more words"));
    const auto speed_of = [](std::vector<std::string> words) {
        return failure_of([&] { Arguments("move", words).value("--speed"); });
    };
    EXPECT_THAT(speed_of({"--speed"}), HasSubstr("needs a value"));
    EXPECT_THAT(speed_of({"--speed=1", "--speed", "2"}), HasSubstr("given twice"));
}

TEST(Json, WritesEveryKindOfValueAndEscapesWhatATextMayNotHold)
{
    EXPECT_EQ(json_text("a\"b\\c/d"), R"("a\"b\\c/d")");
    EXPECT_EQ(json_text("tab\t\n\x01\x7f gr\xc3\xbcn \xff"),
              "\"tab\\u0009\\u000a\\u0001\\u007f gr\xc3\xbcn \xef\xbf\xbd\"");
    const std::pair<const char *, const char *> values[] = {
        {"true", "true"},
        {"byte 255", "255"},
        {"int16 -32768", "-32768"},
        {"uint32 4294967295", "4294967295"},
        {"int64 -9007199254740993", "-9007199254740993"},
        {"12.5", "12.5"},
        {"('text', [1, 2], <'boxed'>)", R"(["text",[1,2],"boxed"])"},
        {"@ms nothing", "null"},
        {"{'pan': <10.25>, 'on': <true>}", R"({"pan":10.25,"on":true})"},
        {"@a{sv} {}", "{}"},
        {"@as []", "[]"},
        {"{uint16 7: 'seven'}", R"({"7":"seven"})"},
    };
    for (const auto &[text, json] : values) {
        VariantOwned value(g_variant_parse(nullptr, text, nullptr, nullptr, nullptr));
        EXPECT_EQ(value ? json_from_variant(value.get()) : "not a value", json) << text;
    }
    VariantOwned not_finite(g_variant_ref_sink(g_variant_new_double(G_MAXDOUBLE * 2)));
    EXPECT_EQ(json_from_variant(not_finite.get()), "null");
}

TEST(Standstill, ComesOnceNothingHasChangedForTheSettlingTime)
{
    Standstill standstill(1000);
    EXPECT_FALSE(standstill.observe({{"pan", 1.0}}, 5000));
    EXPECT_FALSE(standstill.observe({{"pan", 1.0}}, 5999));
    EXPECT_FALSE(standstill.observe({{"pan", 1.5}}, 6000));
    EXPECT_FALSE(standstill.observe({{"pan", 1.5}}, 6999));
    EXPECT_TRUE(standstill.observe({{"pan", 1.5}}, 7000));
}

} // namespace
