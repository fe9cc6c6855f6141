// The picture of the simulated camera: what the block is told shows in the pixels.
#include "sim/view/picture.h"
#include "tests/sim/sim_fixture.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using namespace sim::view;

// What is told of a picture: mean brightness, its darkest and brightest twentieth, how much its pixels differ from
// their neighbours, mean colour, and how far from grey it is.
struct Statistics {
    double mean, dark, bright, edges, cb, cr, colour;
};

Statistics statistics(const Planes &planes)
{
    std::vector<std::uint8_t> sorted = planes.y;
    std::sort(sorted.begin(), sorted.end());
    const auto mean = [](const std::vector<std::uint8_t> &plane) {
        return std::accumulate(plane.begin(), plane.end(), 0.0) / static_cast<double>(plane.size());
    };
    double edges = 0;
    for (std::size_t i = 1; i < planes.y.size(); ++i)
        edges += std::abs(planes.y[i] - planes.y[i - 1]);
    double colour = 0;
    for (std::size_t i = 0; i < planes.cb.size(); ++i)
        colour += std::abs(planes.cb[i] - 128) + std::abs(planes.cr[i] - 128);
    return {mean(planes.y),
            static_cast<double>(sorted[sorted.size() / 20]),
            static_cast<double>(sorted[sorted.size() - sorted.size() / 20]),
            edges / static_cast<double>(planes.y.size()),
            mean(planes.cb),
            mean(planes.cr),
            colour / static_cast<double>(planes.cb.size())};
}

class PictureTest : public BoardTest {
  protected:
    // Records in digits, commands of the language, one after another; then the block settles.
    const Planes &after(const std::vector<std::string> &acts)
    {
        for (const std::string &act : acts) {
            if (std::isdigit(static_cast<unsigned char>(act[0])))
                EXPECT_FALSE(send(act).empty());
            else
                EXPECT_TRUE(board.command(act).ok) << act;
        }
        board.advance(10'000'000);
        return picture.draw(look());
    }
    Look look() const { return look_of(board.snapshot(), pipeline); }

    Picture picture;
    Pipeline pipeline;
};

constexpr char kManual[] = "0400030003";                // exposure by hand: F2, 1/60 s, 6 dB
constexpr char kWideOpen[] = "0400030204 0400031504";   // F1.41
constexpr char kClosed[] = "0400030220 0400031520";     // F16
constexpr char kMostGain[] = "0400030420";              // 48 dB
constexpr char kFast[] = "0400030336";                  // 1/11000 s
constexpr char kNight[] = "0400050000 0400050101";      // the filter is out
constexpr char kBalanced[] = "0400040005 050004050300"; // by hand, red gain 768

TEST_F(PictureTest, ShowsWhatTheBlockIsTold)
{
    using Field = double Statistics::*;
    constexpr Field mean = &Statistics::mean, edges = &Statistics::edges, colour = &Statistics::colour;
    // What is done, what is seen, and how it stands to what was seen before: at least, at most.
    const std::tuple<const char *, std::vector<std::string>, Field, double, double> cases[] = {
        {"out of focus", {"set focus 1900"}, edges, 0, 0.5},
        {"iris", {kManual, kWideOpen, "0400030400"}, mean, 1.0, 1.12}, // the automatic had it at that
        {"iris closed", {kClosed}, mean, 0, 0.3},
        {"iris, gain", {kWideOpen, kMostGain, kFast}, edges, 1.5, 99},
        {"noise reduction", {"0400070113"}, edges, 0, 0.75},
        {"shutter", {"0400030318"}, mean, 1.2, 99},
        {"automatic again", {"0400030000", "0400070100"}, mean, 0, 0.7},
        {"less light than there is gain for", {"set scene-light -7"}, mean, 0, 0.6},
        {"light", {"set scene-light 12"}, mean, 2, 99},
        {"brighter", {"0400030108"}, mean, 1.1, 99},
        {"as before", {"0400030100"}, mean, 0, 0.9},
        {"sodium balance", {"0400040001"}, &Statistics::cb, 1.04, 2},
        {"balance by hand", {kBalanced}, &Statistics::cr, 1.05, 2},
        {"automatic balance", {"0400040000"}, &Statistics::cr, 0, 0.96},
        {"no colours", {"0500048000 00"}, colour, 0, 0.05},
        {"colours", {"0500048000 64"}, colour, 1000, 1e9},
        {"less green", {"0500048004 00"}, colour, 0.5, 0.98},
        {"other hues", {"0500048100 00"}, &Statistics::cr, 0.5, 0.999},
        {"chroma suppression", {"0500048100 32", "0400048203"}, colour, 0, 0.75},
        {"sharper", {"0400070013"}, edges, 1.1, 9},
        {"defogged", {"0400070501 0400070613"}, &Statistics::dark, 0, 0.85},
        {"with its haze", {"0400070500"}, mean, 1.02, 9},
        {"wide range", {"0400070901"}, &Statistics::dark, 1.2, 9},
        {"straight", {"0400070900", "0400070A01"}, &Statistics::dark, 0, 0.85},
        {"night", {kNight}, colour, 0, 0.001},
        {"day", {"0400050000 0400050100"}, colour, 1000, 1e9},
        {"drawn out", {"set focus 1400", "set pan 10", "set zoom 30"}, edges, 0, 0.8},
        {"sensor halted", {"0500080000 01"}, &Statistics::bright, 0, 0}};
    Statistics before = statistics(after({}));
    for (const auto &[what, acts, field, low, high] : cases) {
        const Statistics now = statistics(after(acts));
        const double ratio = now.*field / std::max(before.*field, 1e-3);
        EXPECT_TRUE(ratio >= low && ratio <= high) << what << ": " << ratio;
        before = now;
    }
}

// A mark stands where the tangent of its angle puts it: the board of the chart begins at 11 degrees, and ends at 5.4
// up. Around it is a dark frame.
TEST_F(PictureTest, HasTheFieldOfViewThatTheStatusTells)
{
    constexpr double kHalf = 480 / 0.61037; // pixels, by the tangent of half of 62.8 degrees
    constexpr double kRadian = 3.14159265358979 / 180;
    const std::array<double, 3> cases[] = {{0, 0, 1},  {-10, 0, 1}, {8, 1, 3},  {10.5, -2, 12},
                                           {19, 0, 1}, {18, 4, 4},  {18, 5, 20}};
    after({"0400060101"}); // no distortion
    for (const auto &[pan, tilt, zoom] : cases) {
        const Planes &seen = after(
            {"set pan " + std::to_string(pan), "set tilt " + std::to_string(tilt), "set zoom " + std::to_string(zoom)});
        const bool side = pan < 15;
        const double expected = side ? 480 + kHalf * zoom * std::tan((11 - pan) * kRadian) * std::cos(tilt * kRadian)
                                     : 270 - kHalf * zoom * std::tan((5.4 - tilt) * kRadian);
        int found = static_cast<int>(expected) - 3;
        const auto bright = [&] {
            return seen.y[static_cast<std::size_t>(side ? 270 * kWidth + found : found * kWidth + 480)] > 120;
        };
        EXPECT_FALSE(bright()) << pan << " " << tilt << " " << zoom;
        while (found < 530 + (side ? 400 : 0) && !bright())
            ++found;
        EXPECT_NEAR(found, expected, 1.5) << pan << " " << tilt << " " << zoom;
    }
}

TEST_F(PictureTest, IsTurnedByTheBlockAndByThePipeline)
{
    const Planes upright = after({"set pan 12", "0400070000"}); // not sharpened
    const auto difference = [&](const Planes &turned, bool backwards) {
        double sum = 0;
        for (std::size_t i = 0; i < upright.y.size(); ++i)
            sum += std::abs(upright.y[i] - turned.y[backwards ? upright.y.size() - 1 - i : i]);
        return sum / static_cast<double>(upright.y.size());
    };
    EXPECT_GT(difference(upright, true), 20);
    EXPECT_LT(difference(after({"0402080301"}), true), 3);
    EXPECT_LT(difference(after({"set rotation 180"}), true), 3); // of which the block was told
    EXPECT_GT(difference(after({"set rotation 90"}), true), 10);
    EXPECT_LT(difference(after({"set rotation 0", "0402080300"}), false), 0.01);
    pipeline.blanked = true;
    EXPECT_EQ(statistics(after({})).bright, 0);
    pipeline = {.frozen = true};
    EXPECT_TRUE(look().frozen);
}

// At the ends of every range there is a picture, and with the lens drawn out there is text in it.
TEST_F(PictureTest, IsThereInEveryDirection)
{
    for (const double pan : {-170.0, 170.0, 42.5}) {
        for (const double tilt : {-20.0, 89.9, 90.0}) {
            for (const double zoom : {1.0, 7.0, 30.0, 360.0})
                EXPECT_GT(statistics(after({"set pan " + std::to_string(pan), "set tilt " + std::to_string(tilt),
                                            "set zoom " + std::to_string(zoom)}))
                              .mean,
                          20);
        }
    }
    // The last but two rows of the chart.
    const Statistics text = statistics(after({"set pan 18.5", "set tilt -3.45", "set zoom 30"}));
    EXPECT_LT(text.dark, 90);
    EXPECT_GT(text.bright, 180);
    EXPECT_GT(picture.jpeg().size(), 10'000u);
}

} // namespace
