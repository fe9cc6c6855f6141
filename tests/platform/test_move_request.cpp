#include "ptzorvel/ptzd/move_request.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The error kind's name and text, or "".
std::string parse(const char *arguments, MoveRequest *out = nullptr)
{
    GVariant *parameters = g_variant_parse(G_VARIANT_TYPE("(a(ssd)da{sv})"), arguments, nullptr, nullptr, nullptr);
    if (parameters == nullptr)
        return "the test's arguments are wrong";
    MoveRequest request;
    const auto error = parse_move(parameters, request);
    g_variant_unref(parameters);
    if (out != nullptr)
        *out = request;
    if (!error)
        return "";
    const std::string name = error_name(error->kind);
    return name.substr(name.rfind('.') + 1) + ": " + error->text;
}

TEST(MoveRequest, TurnsEngineeringValuesIntoFixedPoint)
{
    MoveRequest move;
    ASSERT_EQ(parse("([('tilt','absolute',-19.999992),('pan','continuous',-0.5),('zoom','relative',-19998)],"
                    "12.5, {'preset': <true>})",
                    &move),
              "");
    EXPECT_EQ(move.axes[AXIS_TILT].value, -1310719); // -19.999992 x 65536 is -1310719.48
    EXPECT_EQ(move.axes[AXIS_TILT].type, PTZ_MOVE_ABSOLUTE);
    EXPECT_EQ(move.axes[AXIS_PAN].value, -32768);
    EXPECT_EQ(move.axes[AXIS_PAN].type, PTZ_MOVE_CONTINUOUS);
    EXPECT_EQ(move.axes[AXIS_ZOOM].value, -1310588928);
    EXPECT_EQ(move.axes[AXIS_ZOOM].type, PTZ_MOVE_RELATIVE);
    EXPECT_EQ(move.axes[AXIS_IRIS].type, PTZ_MOVE_NONE);
    EXPECT_EQ(move.speed->value, 819200);
    EXPECT_TRUE(move.preset);
    EXPECT_EQ(move.running(), 1u << AXIS_PAN);
}

TEST(MoveRequest, BothEndsOfEveryRangeAreInIt)
{
    for (const char *axis : {"('pan','absolute',170)", "('pan','absolute',-170)", "('tilt','absolute',90)",
                             "('tilt','absolute',-20)", "('zoom','absolute',1)", "('zoom','absolute',19999)",
                             "('focus','absolute',9999)", "('iris','relative',-9998)", "('tilt','relative',110)",
                             "('brightness','continuous',100)", "('zoom','continuous',0)"})
        EXPECT_EQ(parse(("([" + std::string(axis) + "], 0, {})").c_str()), "") << axis;
}

TEST(MoveRequest, SaysWhatIsWrong)
{
    const struct {
        const char *arguments;
        const char *error;
    } cases[] = {
        {"([], 0, {})", "InvalidArgument: The move names no axis; name at least one."},
        {"([('roll','absolute',1)], 0, {})",
         "InvalidArgument: There is no axis \"roll\"; there are pan, tilt, zoom, iris, focus and brightness."},
        {"([('%s%n','absolute',1)], 0, {})",
         "InvalidArgument: There is no axis \"%s%n\"; there are pan, tilt, zoom, iris, focus and brightness."},
        {"([('pan','none',1)], 0, {})",
         "InvalidArgument: pan: there is no move type \"none\"; there are absolute, relative and continuous."},
        {"([('pan','absolute',1),('pan','relative',1)], 0, {})",
         "InvalidArgument: pan is asked for twice; name each axis once."},
        {"([('pan','absolute',nan)], 0, {})", "InvalidArgument: pan: nan is not a number that can be used."},
        {"([('tilt','relative',-inf)], 0, {})", "InvalidArgument: tilt: -inf is not a number that can be used."},
        {"([('pan','absolute',170.1)], 0, {})", "OutOfRange: pan: 170.1 is outside -170..170 degrees."},
        {"([('tilt','absolute',-20.5)], 0, {})", "OutOfRange: tilt: -20.5 is outside -20..90 degrees."},
        {"([('pan','relative',40000)], 0, {})", "OutOfRange: pan: 40000 is outside -340..340 degrees."},
        {"([('zoom','absolute',0)], 0, {})", "OutOfRange: zoom: 0 is outside 1..19999."},
        {"([('focus','absolute',10000)], 0, {})", "OutOfRange: focus: 10000 is outside 1..9999."},
        {"([('zoom','absolute',12.5)], 0, {})", "InvalidArgument: zoom: positions are whole numbers, not 12.5."},
        {"([('zoom','continuous',-100.5)], 0, {})", "OutOfRange: zoom: -100.5 is outside -100..100 percent."},
        {"([('pan','absolute',1)], -1, {})", "OutOfRange: speed: -1 is outside 0..100 percent."},
        {"([('pan','absolute',1)], nan, {})", "InvalidArgument: speed: nan is not a number that can be used."},
        {"([('pan','absolute',1)], 0, {'preset': <1>})",
         "InvalidArgument: There is no move option \"preset\" of that type; there is \"preset\", true or false."},
        {"([('pan','absolute',1)], 0, {'fast': <true>})",
         "InvalidArgument: There is no move option \"fast\" of that type; there is \"preset\", true or false."},
    };
    for (const auto &[arguments, error] : cases)
        EXPECT_EQ(parse(arguments), error) << arguments;
}

} // namespace
