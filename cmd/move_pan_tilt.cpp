#include "cmd/move_pan_tilt.h"

#include "cmd/send.h"
#include "cmd/stop.h"
#include "core/fixed_point.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/value_map.h"
#include "utils/publish.h"
#include "utils/status.h"
#include "vcc/convert.h"
#include "vcc/model.h"
#include "vcc/rows.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float FULL_SPEED_PERCENT = 100.0f;
constexpr int SPEED_PER_DEGREE = 1000; // camera speeds are thousandths of a degree per second

// What differs between the two drives.
struct Drive {
    int stop_code;
    const VccRow<3, 1> &speed_row;
    const VccRow<3, 1> &position_row;
    int lowest_degree, highest_degree; // where it ends, whatever the limits say
    int PTZDriverCanon::*limit_min;
    int PTZDriverCanon::*limit_max;
    float CameraState::*degree;
    int CameraState::*speed;
    int CameraState::*move_mode;
    MinMax CameraModel::*speed_range;
    int (*curve_speed)(const PTZDriverCanon *self, float percent);
    int (*to_vcc)(const CameraModel *model, float degree);
};

constexpr Drive PAN{PAN_TILT_STOP_PAN,
                    ROW_PAN_SPEED,
                    ROW_PAN_POSITION,
                    -170,
                    170,
                    &PTZDriverCanon::limit_min_pan,
                    &PTZDriverCanon::limit_max_pan,
                    &CameraState::pan_degree,
                    &CameraState::pan_speed,
                    &CameraState::pan_move_mode,
                    &CameraModel::pan_speed_vcc_range,
                    vccif_percent_to_vcc_pan_speed,
                    vccif_degree_to_vcc_pan};
constexpr Drive TILT{PAN_TILT_STOP_TILT,
                     ROW_TILT_SPEED,
                     ROW_TILT_POSITION,
                     -20,
                     90,
                     &PTZDriverCanon::limit_min_tilt,
                     &PTZDriverCanon::limit_max_tilt,
                     &CameraState::tilt_degree,
                     &CameraState::tilt_speed,
                     &CameraState::tilt_move_mode,
                     &CameraModel::tilt_speed_vcc_range,
                     vccif_percent_to_vcc_tilt_speed,
                     vccif_degree_to_vcc_tilt};

// One drive's share of a move, in real units.
struct DriveMove {
    const Drive &drive;
    bool requested;
    bool zero;         // the raw value is 0
    float value;       // degrees, or signed percent when continuous
    float base_degree; // where it is now
};

struct PanTiltMove {
    int mode; // PTZ_MOVE_*
    DriveMove pan, tilt;
    float speed_percent; // absolute and relative moves
};

DriveMove unpack_drive(const PTZDriverCanon *self, const Drive &drive, const PTZMotion &motion)
{
    return {drive, motion.type != PTZ_MOVE_NONE, motion.value == 0, fixed_to_real(motion.value),
            self->current.*drive.degree};
}

PanTiltMove unpack(const PTZDriverCanon *self, const PTZMotion &pan, const PTZMotion &tilt, const PTZSpeed &speed)
{
    return {pan.type != PTZ_MOVE_NONE ? pan.type : tilt.type, unpack_drive(self, PAN, pan),
            unpack_drive(self, TILT, tilt),
            speed.value == 0 ? FULL_SPEED_PERCENT : std::fabs(fixed_to_real(speed.value))};
}

// Degrees per second at full speed: the drive's own, in whole degrees, or a share of what is in view.
float full_speed(const PTZDriverCanon *self, const MinMax &range)
{
    if (self->parent_instance.proportional_speed == 1)
        return self->current.hfov * static_cast<float>(self->fov_speed_factor) / 100.0f;
    const int whole_degrees = range.max / SPEED_PER_DEGREE;
    return static_cast<float>(whole_degrees);
}

// The speed that the camera block gets for a continuous move at `percent` of `range`.
unsigned continuous_speed(const PTZDriverCanon *self, float percent, const MinMax &range)
{
    unsigned speed = truncate_to_unsigned(linear_map(percent, 0.0f, 100.0f, 0.0f, full_speed(self, range)) *
                                          float{SPEED_PER_DEGREE});
    const auto lowest = static_cast<unsigned>(range.min);
    const auto highest = static_cast<unsigned>(range.max);
    speed = speed <= highest ? std::max(speed, lowest) : highest;
    // A speed between the bounds of a gap, both excluded, becomes the lower bound.
    for (const SpeedSkipRange *gap = self->cam_model->speed_skip_ranges; gap != nullptr && gap->low != -1; ++gap) {
        if (static_cast<unsigned>(gap->low) < speed && speed < static_cast<unsigned>(gap->high)) {
            speed = static_cast<unsigned>(gap->low);
            break;
        }
    }
    return std::max(speed, 1u);
}

float continuous_percent(const PTZDriverCanon *self, float value)
{
    const CameraModel &model = *self->cam_model;
    const float percent = std::fabs(value);
    if (!model.response_profile_supported || model.response_profile_factors == nullptr)
        return percent;
    return ptz_driver_canon_apply_responsiveness(percent,
                                                 model.response_profile_factors[self->current.response_profile]);
}

// Whether the drive is to travel; one that is told to go nowhere is stopped.
bool sets_off(CommandBuffer &commands, const DriveMove &move)
{
    if (move.requested && move.zero)
        commands.add(ROW_PAN_TILT_STOP, move.drive.stop_code);
    return move.requested && !move.zero;
}

void add_continuous(PTZDriverCanon *self, CommandBuffer &commands, const DriveMove &move)
{
    const Drive &drive = move.drive;
    if (!sets_off(commands, move))
        return;
    const float percent = continuous_percent(self, move.value);
    self->current.*drive.speed = truncate_to_int(percent);
    const int end = move.value > 0 ? std::min(self->*drive.limit_max, drive.highest_degree)
                                   : std::max(self->*drive.limit_min, drive.lowest_degree);
    commands.add(drive.speed_row, continuous_speed(self, percent, self->cam_model->*drive.speed_range));
    commands.add(drive.position_row, drive.to_vcc(self->cam_model, static_cast<float>(end)));
}

void add_relative(PTZDriverCanon *self, CommandBuffer &commands, const DriveMove &move, float speed_percent)
{
    const Drive &drive = move.drive;
    if (!sets_off(commands, move))
        return;
    commands.add(drive.speed_row, drive.curve_speed(self, speed_percent));
    commands.add(drive.position_row, drive.to_vcc(self->cam_model, move.base_degree + move.value));
}

void add_absolute(PTZDriverCanon *self, CommandBuffer &commands, const PanTiltMove &move)
{
    const auto target = [self](const DriveMove &axis) { return axis.drive.to_vcc(self->cam_model, axis.value); };
    for (const DriveMove *axis : {&move.pan, &move.tilt})
        if (axis->requested)
            commands.add(axis->drive.speed_row, axis->drive.curve_speed(self, move.speed_percent));
    if (move.pan.requested && move.tilt.requested)
        commands.add(ROW_PAN_TILT_POSITION, target(move.pan), target(move.tilt));
    else if (move.pan.requested)
        commands.add(ROW_PAN_POSITION, target(move.pan));
    else
        commands.add(ROW_TILT_POSITION, target(move.tilt));
}

// Fills the buffer; false for a mode that moves nothing.
bool add_move(PTZDriverCanon *self, CommandBuffer &commands, const PanTiltMove &move)
{
    if (move.mode == PTZ_MOVE_CONTINUOUS) {
        add_continuous(self, commands, move.tilt);
        add_continuous(self, commands, move.pan);
        return true;
    }
    if (move.mode != PTZ_MOVE_ABSOLUTE && move.mode != PTZ_MOVE_RELATIVE)
        return false;
    // The magnitudes, of both drives, asked for or not.
    self->current.pan_speed = truncate_to_int(std::fabs(move.pan.value));
    self->current.tilt_speed = truncate_to_int(std::fabs(move.tilt.value));
    if (move.mode == PTZ_MOVE_ABSOLUTE) {
        add_absolute(self, commands, move);
    } else {
        add_relative(self, commands, move.pan, move.speed_percent);
        add_relative(self, commands, move.tilt, move.speed_percent);
    }
    return true;
}

// What is kept of a move that the camera block has taken.
void keep_target(PTZDriverCanon *self, const DriveMove &move, int mode)
{
    if (!move.requested)
        return;
    self->target.*move.drive.degree = mode == PTZ_MOVE_RELATIVE ? move.base_degree + move.value : move.value;
    self->current.*move.drive.move_mode = mode;
}

} // namespace

gboolean ptz_driver_canon_cmd_move_pan_tilt(PTZDriverCanon *self, const PTZMotion *pan, const PTZMotion *tilt,
                                            const PTZSpeed *speed, int /*unused*/)
{
    GUARD(self, FALSE);
    if (pan->type != PTZ_MOVE_NONE && tilt->type != PTZ_MOVE_NONE && pan->type != tilt->type) {
        log_error("Move modes for pan (%d) and tilt (%d) is not compatible", pan->type, tilt->type);
        return FALSE;
    }
    const PanTiltMove move = unpack(self, *pan, *tilt, *speed);
    CommandBuffer commands;
    const bool sent = add_move(self, commands, move) &&
                      ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to execute pan/tilt setup command");
    if (sent) {
        keep_target(self, move.pan, move.mode);
        keep_target(self, move.tilt, move.mode);
        ptz_driver_canon_cmd_update_status(self);
    }
    ptz_driver_canon_utils_publish_status(self);
    return sent;
}

float ptz_driver_canon_apply_responsiveness(float speed, float factor)
{
    if (factor > 1.0f || factor < 0.0f) {
        log_error("Invalid responsiveness");
        return speed;
    }
    if (speed < 0.0f) {
        log_error("Input speed is not absolute value");
        return speed;
    }
    if (factor == 1.0f || speed < 1.0f || speed > 100.0f)
        return speed;
    // The straight share in double precision, the cubic one in single; 1..100 cubed is brought back to 1..100.
    const auto straight = static_cast<float>((1.0 - static_cast<double>(factor)) * static_cast<double>(speed));
    const float cube = speed * speed * speed;
    const float curved = (1.0f + (cube - 1.0f) / 999999.0f * 99.0f) * factor;
    return straight + curved;
}
