// Numbers, axes and options as people type them.
#include "tools/ptzctl/arguments.h"
#include "tools/ptzctl/axes.h"
#include "tools/ptzctl/failure.h"
#include "tools/ptzctl/numbers.h"

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

} // namespace

TEST(Numbers, ReadsWholeNumbersFractionsAndSigns)
{
    EXPECT_EQ(parse_number("12", "pan"), 12.0);
    EXPECT_EQ(parse_number("-5.25", "pan"), -5.25);
    EXPECT_EQ(parse_number("+0.5", "pan"), 0.5);
    EXPECT_EQ(parse_number("3e2", "pan"), 300.0);
}

TEST(Numbers, RefusesWhatIsNoNumber)
{
    for (const char *text :
         {"", " 1", "1 ", "1x", "nan", "-nan", "inf", "-inf", "0x10", "1,5", "+-1", "++1", "--1", "1e"})
        EXPECT_THAT(failure_of([&] { parse_number(text, "pan"); }), HasSubstr("is not a number")) << text;
    EXPECT_THAT(failure_of([] { parse_number("1e999", "pan"); }), HasSubstr("too large"));
    EXPECT_THAT(failure_of([] { parse_number("a\nb\x1b", "pan"); }), HasSubstr("'a?b?'"));
}

TEST(Numbers, KeepsRangesAndWholeNumbers)
{
    EXPECT_EQ(parse_number("100", "--speed", 0, 100), 100.0);
    EXPECT_THAT(failure_of([] { parse_number("100.1", "--speed", 0, 100); }),
                HasSubstr("--speed 100.1 is out of range; give 0 to 100"));
    EXPECT_EQ(parse_integer("-32768", "the percent", -32768, 32767), -32768);
    EXPECT_THAT(failure_of([] { parse_integer("1.5", "--wait", 0, 7); }), HasSubstr("whole number"));
}

TEST(Numbers, WritesTheShortestTextThatReadsBack)
{
    EXPECT_EQ(number_text(0.1), "0.1");
    EXPECT_EQ(number_text(-5), "-5");
    EXPECT_EQ(number_text(62.80078125), "62.80078125");
}

TEST(Axes, TakeTheDefaultTypeUnlessTheySayTheirOwn)
{
    const auto moves = parse_axes({"pan=10", "tilt=rel:-5.5", "zoom=continuous:20", "iris=abs:300"}, "relative");
    ASSERT_EQ(moves.size(), 4u);
    EXPECT_EQ(moves[0].axis + " " + moves[0].type, "pan relative");
    EXPECT_EQ(moves[0].value, 10.0);
    EXPECT_EQ(moves[1].type, "relative");
    EXPECT_EQ(moves[1].value, -5.5);
    EXPECT_EQ(moves[2].type, "continuous");
    EXPECT_EQ(moves[3].type, "absolute");
}

TEST(Axes, SayWhatIsWrong)
{
    const std::pair<const char *, const char *> cases[] = {
        {"pan", "write AXIS=VALUE"}, {"pam=1", "no axis 'pam'"},
        {"=1", "no axis ''"},        {"pan=fast:1", "no move type 'fast'"},
        {"pan=", "is not a number"}, {"pan=abs:", "is not a number"},
        {"Pan=1", "no axis 'Pan'"},
    };
    for (const auto &[term, message] : cases)
        EXPECT_THAT(failure_of([&axis = term] { parse_axes({axis}, "absolute"); }), HasSubstr(message)) << term;
    EXPECT_THAT(failure_of([] { parse_axes({"pan=1", "pan=rel:1"}, "absolute"); }), HasSubstr("named twice"));
}

TEST(Arguments, TakeOptionsAnywhereAndNegativeNumbersAsValues)
{
    Arguments arguments("move", {"pan=1", "--speed", "-5", "--wait", "tilt=2", "--for=3"});
    EXPECT_EQ(arguments.value("--speed"), "-5");
    EXPECT_EQ(arguments.value("--for"), "3");
    EXPECT_TRUE(arguments.flag("--wait"));
    EXPECT_FALSE(arguments.flag("--wait"));
    EXPECT_EQ(arguments.words(1, 6), (std::vector<std::string>{"pan=1", "tilt=2"}));
}

TEST(Arguments, TakeEverythingBehindTheSeparatorAsItStands)
{
    Arguments arguments("special", {"--", "--json"});
    EXPECT_FALSE(arguments.flag("--json"));
    EXPECT_EQ(arguments.words(0, 1), std::vector<std::string>{"--json"});
}

TEST(Arguments, RefuseWhatNobodyAskedFor)
{
    EXPECT_THAT(failure_of([] { Arguments("stop", {"--now"}).words(0, 0); }), HasSubstr("no option '--now'"));
    EXPECT_THAT(failure_of([] { Arguments("stop", {"now"}).words(0, 0); }), HasSubstr("'now'"));
    EXPECT_THAT(failure_of([] { Arguments("mode", {"iris"}).words(2, 2); }), HasSubstr("more words"));
    EXPECT_THAT(failure_of([] { Arguments("move", {"--speed"}).value("--speed"); }), HasSubstr("needs a value"));
    EXPECT_THAT(failure_of([] {
                    Arguments("move", {"--speed=1", "--speed", "2"}).value("--speed");
                }),
                HasSubstr("given twice"));
}
