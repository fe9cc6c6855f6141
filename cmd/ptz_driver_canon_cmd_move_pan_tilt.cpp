#include "cmd/ptz_driver_canon_cmd_move_pan_tilt.h"

#include "cmd/ptz_driver_canon_cmd_send.h"
#include "cmd/ptz_driver_canon_cmd_stop.h"
#include "core/fixed_point.h"
#include "core/guard.h"
#include "core/log.h"
#include "utils/ptz_driver_canon_utils_publish.h"
#include "utils/ptz_driver_canon_utils_status.h"
#include "vcc/vcc_rows.h"
#include "vcc/vccif_convert.h"
#include "vcc/vccif_model.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float FULL_SPEED_PERCENT = 100.0f;
constexpr int PAN_END_DEGREES[] = {-170, 170};
constexpr int TILT_END_DEGREES[] = {-20, 90};

// The move, in real units.
struct PanTiltMove {
    int mode; // PTZ_MOVE_*
    bool pan_requested, tilt_requested;
    bool pan_zero, tilt_zero; // the raw value is 0
    float pan, tilt;          // degrees, or signed percent when continuous
    float speed_percent;      // absolute and relative moves
};

PanTiltMove unpack(const PTZMotion &pan, const PTZMotion &tilt, const PTZSpeed &speed)
{
    PanTiltMove move{};
    move.mode = pan.type != PTZ_MOVE_NONE ? pan.type : tilt.type;
    move.pan_requested = pan.type != PTZ_MOVE_NONE;
    move.tilt_requested = tilt.type != PTZ_MOVE_NONE;
    move.pan_zero = pan.value == 0;
    move.tilt_zero = tilt.value == 0;
    move.pan = fixed_to_real(pan.value);
    move.tilt = fixed_to_real(tilt.value);
    move.speed_percent = speed.value == 0 ? FULL_SPEED_PERCENT : std::fabs(fixed_to_real(speed.value));
    return move;
}

// The speed that the camera block gets for a continuous move at `percent` of `range`.
unsigned continuous_speed(const PTZDriverCanon *self, float percent, const MinMax &range)
{
    float scale = static_cast<float>(range.max / 1000);
    if (self->parent_instance.proportional_speed == 1)
        scale = self->current.hfov * static_cast<float>(self->fov_speed_factor) / 100.0f;
    unsigned speed = truncate_to_unsigned((percent * scale / 100.0f + 0.0f) * 1000.0f);
    const auto lowest = static_cast<unsigned>(range.min);
    const auto highest = static_cast<unsigned>(range.max);
    speed = speed <= highest ? std::max(speed, lowest) : highest;
    // The drive resonates between the bounds of a gap.
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

void add_continuous_tilt(PTZDriverCanon *self, CommandBuffer &commands, const PanTiltMove &move)
{
    if (move.tilt_zero) {
        commands.add(kPanTiltStop, int{PAN_TILT_STOP_TILT});
        return;
    }
    const float percent = continuous_percent(self, move.tilt);
    self->current.tilt_speed = truncate_to_int(percent);
    const int end = move.tilt > 0 ? std::min(self->limit_max_tilt, TILT_END_DEGREES[1])
                                  : std::max(self->limit_min_tilt, TILT_END_DEGREES[0]);
    commands.add(kTiltSpeed, continuous_speed(self, percent, self->cam_model->tilt_speed_vcc_range));
    commands.add(kTiltPosition, vccif_degree_to_vcc_tilt(self->cam_model, static_cast<float>(end)));
}

void add_continuous_pan(PTZDriverCanon *self, CommandBuffer &commands, const PanTiltMove &move)
{
    if (move.pan_zero) {
        commands.add(kPanTiltStop, int{PAN_TILT_STOP_PAN});
        return;
    }
    const float percent = continuous_percent(self, move.pan);
    self->current.pan_speed = truncate_to_int(percent);
    const int end = move.pan > 0 ? std::min(self->limit_max_pan, PAN_END_DEGREES[1])
                                 : std::max(self->limit_min_pan, PAN_END_DEGREES[0]);
    commands.add(kPanSpeed, continuous_speed(self, percent, self->cam_model->pan_speed_vcc_range));
    commands.add(kPanPosition, vccif_degree_to_vcc_pan(self->cam_model, static_cast<float>(end)));
}

void add_continuous(PTZDriverCanon *self, CommandBuffer &commands, const PanTiltMove &move)
{
    if (move.tilt_requested)
        add_continuous_tilt(self, commands, move);
    if (move.pan_requested)
        add_continuous_pan(self, commands, move);
}

int pan_speed(const PTZDriverCanon *self, const PanTiltMove &move)
{
    return vccif_percent_to_vcc_pan_speed(self, move.speed_percent);
}

int tilt_speed(const PTZDriverCanon *self, const PanTiltMove &move)
{
    return vccif_percent_to_vcc_tilt_speed(self, move.speed_percent);
}

void add_relative(PTZDriverCanon *self, CommandBuffer &commands, const PanTiltMove &move)
{
    const CameraModel *model = self->cam_model;
    if (move.pan_requested && move.pan_zero) {
        commands.add(kPanTiltStop, int{PAN_TILT_STOP_PAN});
    } else if (move.pan_requested) {
        commands.add(kPanSpeed, pan_speed(self, move));
        commands.add(kPanPosition, vccif_degree_to_vcc_pan(model, self->current.pan_degree + move.pan));
    }
    if (move.tilt_requested && move.tilt_zero) {
        commands.add(kPanTiltStop, int{PAN_TILT_STOP_TILT});
    } else if (move.tilt_requested) {
        commands.add(kTiltSpeed, tilt_speed(self, move));
        commands.add(kTiltPosition, vccif_degree_to_vcc_tilt(model, self->current.tilt_degree + move.tilt));
    }
}

void add_absolute(PTZDriverCanon *self, CommandBuffer &commands, const PanTiltMove &move)
{
    const CameraModel *model = self->cam_model;
    const bool both = move.pan_requested && move.tilt_requested;
    if (move.pan_requested)
        commands.add(kPanSpeed, pan_speed(self, move));
    if (move.tilt_requested)
        commands.add(kTiltSpeed, tilt_speed(self, move));
    if (both)
        commands.add(kPanTiltPosition, vccif_degree_to_vcc_pan(model, move.pan),
                     vccif_degree_to_vcc_tilt(model, move.tilt));
    else if (move.pan_requested)
        commands.add(kPanPosition, vccif_degree_to_vcc_pan(model, move.pan));
    else
        commands.add(kTiltPosition, vccif_degree_to_vcc_tilt(model, move.tilt));
}

// What is kept of a move that the camera block has taken. The bases of a relative move are those it was computed from.
void keep_targets(PTZDriverCanon *self, const PanTiltMove &move, float pan_base, float tilt_base)
{
    const bool relative = move.mode == PTZ_MOVE_RELATIVE;
    if (move.pan_requested) {
        self->target.pan_degree = relative ? pan_base + move.pan : move.pan;
        self->current.pan_move_mode = move.mode;
    }
    if (move.tilt_requested) {
        self->target.tilt_degree = relative ? tilt_base + move.tilt : move.tilt;
        self->current.tilt_move_mode = move.mode;
    }
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
    const PanTiltMove move = unpack(*pan, *tilt, *speed);
    if (move.mode == PTZ_MOVE_ABSOLUTE || move.mode == PTZ_MOVE_RELATIVE) {
        self->current.pan_speed = truncate_to_int(std::fabs(move.pan));
        self->current.tilt_speed = truncate_to_int(std::fabs(move.tilt));
    }

    CommandBuffer commands;
    switch (move.mode) {
    case PTZ_MOVE_ABSOLUTE:
        add_absolute(self, commands, move);
        break;
    case PTZ_MOVE_RELATIVE:
        add_relative(self, commands, move);
        break;
    case PTZ_MOVE_CONTINUOUS:
        add_continuous(self, commands, move);
        break;
    default:
        ptz_driver_canon_utils_publish_status(self);
        return FALSE;
    }
    const float pan_base = self->current.pan_degree;
    const float tilt_base = self->current.tilt_degree;
    if (!ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to execute pan/tilt setup command")) {
        ptz_driver_canon_utils_publish_status(self);
        return FALSE;
    }
    keep_targets(self, move, pan_base, tilt_base);
    ptz_driver_canon_cmd_update_status(self);
    ptz_driver_canon_utils_publish_status(self);
    return TRUE;
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
    // The straight share in double precision, the cubic one in single: so the curve was tuned.
    const auto straight = static_cast<float>((1.0 - static_cast<double>(factor)) * static_cast<double>(speed));
    const float cube = speed * speed * speed;
    const float curved = (1.0f + (cube - 1.0f) / 999999.0f * 99.0f) * factor;
    return straight + curved;
}
