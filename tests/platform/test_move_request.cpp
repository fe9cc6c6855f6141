#include "ptzorvel/ptzd/move_request.h"

#include <gtest/gtest.h>

namespace {

// The error's name and text, or "". `axes` and `rest` make up the arguments of a move.
std::string parse(const std::string &axes, const std::string &rest)
{
    const std::string arguments = "([" + axes + "], " + rest + ")";
    GVariant *parsed = g_variant_parse(G_VARIANT_TYPE("(a(ssd)da{sv})"), arguments.c_str(), nullptr, nullptr, nullptr);
    MoveRequest request;
    const auto error = parse_move(parsed, request);
    g_variant_unref(parsed);
    if (!error)
        return "";
    const std::string name = error_name(error->kind);
    return name.substr(name.rfind('.') + 1) + ": " + error->text;
}

TEST(MoveRequest, TakesBothEndsOfEveryRangeAndSaysWhatIsWrongBeyond)
{
    const std::pair<const char *, const char *> cases[] = {
        {"('pan','absolute',170),('tilt','absolute',90),('zoom','absolute',19999),('focus','absolute',9999)", ""},
        {"('pan','absolute',-170),('tilt','absolute',-20),('zoom','absolute',1),('iris','relative',-9998)", ""},
        {"('tilt','relative',110),('brightness','continuous',100),('zoom','continuous',0)", ""},
        {"", "InvalidArgument: The move names no axis; name at least one."},
        {"('%s%n','absolute',1)",
         "InvalidArgument: There is no axis \"%s%n\"; there are pan, tilt, zoom, iris, focus and brightness."},
        {"('pan','none',1)",
         "InvalidArgument: pan: there is no move type \"none\"; there are absolute, relative and continuous."},
        {"('pan','absolute',1),('pan','relative',1)", "InvalidArgument: pan is asked for twice; name each axis once."},
        {"('pan','absolute',nan)", "InvalidArgument: pan: nan is not a number that can be used."},
        {"('pan','absolute',170.1)", "OutOfRange: pan: 170.1 is outside -170..170 degrees."},
        {"('tilt','absolute',-20.5)", "OutOfRange: tilt: -20.5 is outside -20..90 degrees."},
        {"('pan','relative',40000)", "OutOfRange: pan: 40000 is outside -340..340 degrees."},
        {"('zoom','absolute',0)", "OutOfRange: zoom: 0 is outside 1..19999."},
        {"('focus','absolute',10000)", "OutOfRange: focus: 10000 is outside 1..9999."},
        {"('zoom','absolute',12.5)", "InvalidArgument: zoom: positions are whole numbers, not 12.5."},
        {"('zoom','continuous',-100.5)", "OutOfRange: zoom: -100.5 is outside -100..100 percent."},
    };
    for (const auto &[axes, error] : cases)
        EXPECT_EQ(parse(axes, "0, {}"), error) << axes;
    const std::string pan = "('pan','absolute',1)";
    EXPECT_EQ(parse(pan, "-1, {}"), "OutOfRange: speed: -1 is outside 0..100 percent.");
    EXPECT_EQ(parse(pan, "nan, {}"), "InvalidArgument: speed: nan is not a number that can be used.");
    EXPECT_EQ(parse(pan, "0, {'preset': <1>}"),
              "InvalidArgument: There is no move option \"preset\" of that type; there is \"preset\", true or false.");
}

} // namespace
