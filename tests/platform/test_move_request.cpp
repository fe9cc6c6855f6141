#include "ptzorvel/ptzd/move_request.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The error's name and text, or "". `arguments` without the outer brackets.
std::string parse(const std::string &arguments, MoveRequest &&request = {})
{
    const auto type = G_VARIANT_TYPE("(a(ssd)da{sv})");
    GVariant *parameters = g_variant_parse(type, ("(" + arguments + ")").c_str(), nullptr, nullptr, nullptr);
    if (parameters == nullptr)
        return "the test's arguments are wrong";
    const auto error = parse_move(parameters, request);
    g_variant_unref(parameters);
    if (!error)
        return "";
    const std::string name = error_name(error->kind);
    return name.substr(name.rfind('.') + 1) + ": " + error->text;
}

TEST(MoveRequest, TurnsEngineeringValuesIntoFixedPoint)
{
    MoveRequest move;
    EXPECT_EQ(parse("[('tilt','absolute',-19.999992),('pan','continuous',-0.5),('zoom','relative',-19998)], 12.5, "
                    "{'preset': <true>}",
                    std::move(move)),
              "");
    const std::tuple<Axis, int, int> axes[] = {
        {AXIS_TILT, PTZ_MOVE_ABSOLUTE, -1310719}, // -19.999992 x 65536 is -1310719.48
        {AXIS_PAN, PTZ_MOVE_CONTINUOUS, -32768},
        {AXIS_ZOOM, PTZ_MOVE_RELATIVE, -1310588928},
        {AXIS_IRIS, PTZ_MOVE_NONE, 0},
    };
    for (const auto &[axis, type, value] : axes) {
        EXPECT_EQ(move.axes[axis].type, type);
        EXPECT_EQ(move.axes[axis].value, value);
    }
    EXPECT_EQ(move.speed->value, 819200);
    EXPECT_TRUE(move.preset);
    EXPECT_EQ(move.running(), 1u << AXIS_PAN);
}

TEST(MoveRequest, TakesBothEndsOfEveryRangeAndSaysWhatIsWrongBeyond)
{
    const std::pair<const char *, const char *> cases[] = {
        {"[('pan','absolute',170),('tilt','absolute',90),('zoom','absolute',19999),('focus','absolute',9999)], 0, {}",
         ""},
        {"[('pan','absolute',-170),('tilt','absolute',-20),('zoom','absolute',1),('iris','relative',-9998)], 0, {}",
         ""},
        {"[('tilt','relative',110),('brightness','continuous',100),('zoom','continuous',0)], 0, {}", ""},
        {"[], 0, {}", "InvalidArgument: The move names no axis; name at least one."},
        {"[('%s%n','absolute',1)], 0, {}",
         "InvalidArgument: There is no axis \"%s%n\"; there are pan, tilt, zoom, iris, focus and brightness."},
        {"[('pan','none',1)], 0, {}",
         "InvalidArgument: pan: there is no move type \"none\"; there are absolute, relative and continuous."},
        {"[('pan','absolute',1),('pan','relative',1)], 0, {}",
         "InvalidArgument: pan is asked for twice; name each axis once."},
        {"[('pan','absolute',nan)], 0, {}", "InvalidArgument: pan: nan is not a number that can be used."},
        {"[('pan','absolute',170.1)], 0, {}", "OutOfRange: pan: 170.1 is outside -170..170 degrees."},
        {"[('tilt','absolute',-20.5)], 0, {}", "OutOfRange: tilt: -20.5 is outside -20..90 degrees."},
        {"[('pan','relative',40000)], 0, {}", "OutOfRange: pan: 40000 is outside -340..340 degrees."},
        {"[('zoom','absolute',0)], 0, {}", "OutOfRange: zoom: 0 is outside 1..19999."},
        {"[('focus','absolute',10000)], 0, {}", "OutOfRange: focus: 10000 is outside 1..9999."},
        {"[('zoom','absolute',12.5)], 0, {}", "InvalidArgument: zoom: positions are whole numbers, not 12.5."},
        {"[('zoom','continuous',-100.5)], 0, {}", "OutOfRange: zoom: -100.5 is outside -100..100 percent."},
        {"[('pan','absolute',1)], -1, {}", "OutOfRange: speed: -1 is outside 0..100 percent."},
        {"[('pan','absolute',1)], nan, {}", "InvalidArgument: speed: nan is not a number that can be used."},
        {"[('pan','absolute',1)], 0, {'preset': <1>}",
         "InvalidArgument: There is no move option \"preset\" of that type; there is \"preset\", true or false."},
    };
    for (const auto &[arguments, error] : cases)
        EXPECT_EQ(parse(arguments), error) << arguments;
}

} // namespace
