// When a move counts as over, and how it ended.
#include "ptzorvel/ptzd/move_track.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <sstream>
#include <vector>

namespace {

// Looks at the pan, 0.15 s apart: the count of statuses and where it is ("-": not published), then "m" when it moves,
// or for how long the block has been silent.
std::vector<MotionLook> looks_of(const std::string &text)
{
    std::vector<MotionLook> looks;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        unsigned statuses = 0;
        char place[16] = "";
        char rest[16] = "";
        std::sscanf(word.c_str(), "%u:%15[-0-9.]%15s", &statuses, place, rest);
        MotionLook look{static_cast<std::int64_t>(looks.size()) * 150000, statuses, 0, 0, {}};
        if (*rest == 'm')
            look.moving = axis_bit(AXIS_PAN);
        else if (*rest == 's')
            look.silence_s = g_ascii_strtod(rest + 1, nullptr);
        if (std::string(place) != "-")
            look.positions[AXIS_PAN] = g_ascii_strtod(place, nullptr);
        looks.push_back(look);
    }
    return looks;
}

TEST(MoveTrack, EndsByFreshStatusesAndSaysWhy)
{
    enum Stop { untouched, stopped };
    const struct {
        int type;
        double value;
        Stop stop;
        const char *looks; // the first at its beginning, the last at its end
        const char *end;
    } cases[] = {
        {PTZ_MOVE_ABSOLUTE, 10, untouched, "1:10 1:10 1:10 2:10 3:10.04", "reached"},
        {PTZ_MOVE_ABSOLUTE, 10, untouched, "1:0 2:10 3:10m 4:10 5:10", "reached"},
        {PTZ_MOVE_ABSOLUTE, 10, untouched, "5:10 4:10 6:10 7:10", "reached"}, // a look from before it
        {PTZ_MOVE_ABSOLUTE, 10, untouched, "1:0 2:0 3:0 4:0 5:0 6:0", "not taken"},
        {PTZ_MOVE_ABSOLUTE, 10, untouched, "1:0 2:1m 3:9 4:9 5:9 6:9 7:9", "stopped"}, // nobody knows by whom
        {PTZ_MOVE_ABSOLUTE, 10, stopped, "1:0 2:5m 3:5 4:5", "stopped"},
        {PTZ_MOVE_ABSOLUTE, 10, stopped, "1:0 2:10 3:10", "reached"},
        {PTZ_MOVE_ABSOLUTE, 10, untouched, "1:0 1:5s1.5 2:8m 3:10 4:10", "reached"},
        {PTZ_MOVE_ABSOLUTE, 10, untouched, "1:0 1:5s1.5 2:8 3:8 4:8 5:8 6:8", "link lost"},
        {PTZ_MOVE_ABSOLUTE, 10, stopped, "1:0 1:5s5 1:5s10", "link lost"},
        {PTZ_MOVE_ABSOLUTE, 10, untouched, "1:- 2:- 3:-", "reached"},
        {PTZ_MOVE_RELATIVE, 20, untouched, "1:160 2:170 3:170", "limit"},
        {PTZ_MOVE_RELATIVE, 20, untouched, "1:0m 2:21.5 3:21.5", "reached"}, // counted from somewhere on its way
        {PTZ_MOVE_CONTINUOUS, 0, untouched, "1:3m 2:3.5 3:3.5", "reached"},
        {PTZ_MOVE_CONTINUOUS, -5, untouched, "1:3m 2:-170 3:-170", "limit"},
    };
    for (const auto &[type, value, stop, text, end] : cases) {
        SCOPED_TRACE(text);
        const std::vector<MotionLook> looks = looks_of(text);
        MoveRequest request;
        request.axes[AXIS_PAN] = {to_fixed(value), {}, type};
        MoveTrack track(1, request, axis_ways(nullptr), looks.front(), looks.front());
        if (stop == stopped)
            track.stop();
        for (std::size_t i = 1; i + 1 < looks.size(); ++i)
            EXPECT_FALSE(track.look(looks[i])) << i;
        const auto ended = track.look(looks.back());
        ASSERT_TRUE(ended);
        EXPECT_STREQ(move_end_text(*ended), end);
    }
}

TEST(MoveLimits, OnlyThoseThatWereSetCutAndRefuse)
{
    AxisWays ways = axis_ways(nullptr);
    ways[AXIS_PAN] = {-170, 20, false, true};
    ways[AXIS_ZOOM] = {1, 9999}; // a default
    const AxisPositions from{10.0, 5.0, 9000.0, {}, 100.0, {}};
    const auto places = [&](std::initializer_list<std::pair<Axis, double>> moves, int type) {
        MoveRequest request;
        for (const auto &[axis, value] : moves)
            request.axes[axis] = {to_fixed(value), {}, type};
        std::string text = check_limits(ways, request) ? "refused" : "";
        const MoveRequest within = within_limits(ways, from, request);
        for (const auto &[axis, value] : moves)
            text +=
                " " + plain_number(from_fixed(within.axes[axis].value)) + "/" + std::to_string(within.axes[axis].type);
        return text;
    };
    EXPECT_EQ(places({{AXIS_PAN, 20.5}}, PTZ_MOVE_ABSOLUTE), "refused 20.5/1");
    EXPECT_EQ(places({{AXIS_PAN, 20}, {AXIS_ZOOM, 15000}}, PTZ_MOVE_ABSOLUTE), " 20/1 15000/1");
    EXPECT_EQ(places({{AXIS_PAN, 10}, {AXIS_TILT, 3}, {AXIS_ZOOM, 5000}}, PTZ_MOVE_RELATIVE), " 10/2 3/2 5000/2");
    EXPECT_EQ(places({{AXIS_PAN, 10.5}, {AXIS_TILT, 300}, {AXIS_FOCUS, -500}}, PTZ_MOVE_RELATIVE), " 20/1 90/1 -500/2");
    EXPECT_EQ(places({{AXIS_PAN, 50}}, PTZ_MOVE_CONTINUOUS), " 50/3");
}

} // namespace
