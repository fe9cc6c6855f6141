#include "sim/view/look.h"

#include "sim/view/painter.h"

#include <algorithm>
#include <cmath>

namespace sim::view {
namespace {

constexpr double kWideHalf = 62.80078125 / 2; // degrees
constexpr double kAspect = 16.0 / 9.0;
constexpr double kMostDefocus = 24; // pixels

// What a white balance other than the right one does to red and blue.
struct Balance {
    std::int32_t mode;
    double red;
    double blue;
};
constexpr Balance kBalances[] = {{1, 0.62, 1.7},  {2, 1.12, 0.86},  {16, 0.72, 1.42}, {17, 1.08, 0.9}, {18, 1.2, 0.78},
                                 {19, 0.86, 1.2}, {20, 0.94, 1.12}, {22, 0.58, 1.8},  {23, 1.25, 0.95}};
constexpr std::int32_t kManualBalance = 5;
constexpr double kUnityGain = 512; // the middle of its range

class Settings {
  public:
    explicit Settings(const Snapshot &board) : board_(board) {}
    std::int32_t operator[](Rec id) const { return board_.settings[static_cast<std::size_t>(id)][0]; }
    // Of a level 0 to 19, 0 to 1.
    double level(Rec id) const { return (*this)[id] / 19.0; }

  private:
    const Snapshot &board_;
};

// Distance from the focus, larger the longer the lens and the wider the iris; behind the removed filter the light that
// is not visible comes together elsewhere.
double defocus(const Snapshot &board, const Settings &settings, bool grey)
{
    constexpr double kInFocus = 1400;
    constexpr double kInfraredShift = 16; // motor steps
    const double best = kInFocus + (grey && settings[Rec::ir_correction] == 0 ? kInfraredShift : 0);
    const double aperture = std::exp2((8 - board.reading.exposure.iris) / 8.0);
    const double length = std::sqrt(board.reading.magnification);
    return std::min(std::fabs(board.reading.focus - best) * 0.016 * length * aperture, kMostDefocus);
}

void set_colours(Look &look, const Snapshot &board, const Settings &settings)
{
    const std::int32_t mode = settings[Rec::wb_mode];
    for (const Balance &balance : kBalances) {
        if (balance.mode == mode) {
            look.red = balance.red;
            look.blue = balance.blue;
        }
    }
    if (mode == kManualBalance) {
        look.red = settings[Rec::wb_red] / kUnityGain;
        look.blue = settings[Rec::wb_blue] / kUnityGain;
    }
    look.colours = board.colours;
    // Suppressed where the gain would show it as noise.
    const double gain = board.reading.exposure.gain / 32.0;
    look.chroma = std::max(0.0, 1 - settings[Rec::chroma] * (0.12 + 0.35 * gain));
}

double noise_of(std::int32_t gain, double reduction)
{
    constexpr std::int32_t kClean = 4; // gain code without visible noise
    if (gain <= kClean)
        return 0;
    return 0.8 * std::exp2((gain - kClean) / 6.0) * (1 - 0.7 * reduction);
}

} // namespace

double half_width(double magnification)
{
    return std::atan(std::tan(kWideHalf * kDegree) / magnification) / kDegree;
}

double half_height(double magnification)
{
    return std::atan(std::tan(kWideHalf * kDegree) / kAspect / magnification) / kDegree;
}

Look look_of(const Snapshot &board, const Pipeline &pipeline)
{
    const Settings settings(board);
    const Reading &reading = board.reading;
    Look look;
    look.video = reading.state == BlockState::running && !reading.sensor_halted && !pipeline.blanked;
    if (!look.video)
        return look;
    look.frozen = pipeline.frozen;
    look.pan = reading.pan;
    look.tilt = reading.tilt;
    look.magnification = reading.magnification;
    // The half turn is the block's; any other one the image pipeline makes itself.
    look.roll = settings[Rec::rotation] ? 180 : 0;
    if (board.services.rotation % 180 != 0)
        look.roll += board.services.rotation;
    look.barrel = settings[Rec::distortion] ? 0 : 0.05 / look.magnification;

    const bool moving = reading.pan_moving || reading.tilt_moving;
    if (moving && settings[Rec::stabilization] == 0) { // the head's own trembling
        const double seconds = static_cast<double>(board.us) / 1e6;
        look.tilt += 0.004 * std::sin(seconds * 71);
        look.pan += 0.004 * std::sin(seconds * 53 + 1);
    }
    const ExposureCodes &exposure = reading.exposure;
    look.grey = settings[Rec::ir_cut] == 1;
    look.defocus = defocus(board, settings, look.grey);
    look.sharpen = settings.level(Rec::sharpness);
    look.noise = noise_of(exposure.gain, settings.level(Rec::noise_reduction));
    look.scene_light = std::round(board.scene_light * 4) / 4;
    look.exposure = board.scene_light - (exposure.iris + exposure.shutter - exposure.gain) / 4.0;
    look.defog = settings[Rec::defog] ? 0.4 + 0.6 * settings.level(Rec::defog_effect) : 0;
    look.wide_range = settings[Rec::wdr] == 1;
    look.straight_gamma = settings[Rec::gamma] == 1;
    set_colours(look, board, settings);
    return look;
}

} // namespace sim::view
