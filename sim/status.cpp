#include "sim/status.h"

#include "sim/frame.h"
#include "sim/spoil.h"

#include <algorithm>
#include <cmath>

namespace sim {
namespace {

struct BlockRow {
    std::uint8_t tag;
    std::size_t at;   // in StatusBlocks
    std::size_t size; // header included
};
constexpr std::array<BlockRow, 4> kBlocks{{{0xF8, 0, 528}, {0xE0, 528, 128}, {0x60, 656, 64}, {0x40, 720, 32}}};
static_assert(kBlocks[3].at + kBlocks[3].size == std::tuple_size_v<StatusBlocks>);

constexpr double kWideHfov = 62.80078125; // degrees
constexpr double kAspect = 16.0 / 9.0;
constexpr int kZoomExponent = 11; // x30 still fits 16 bits
constexpr int kFovExponent = 10;  // and so does the widest view

using Block = std::span<std::uint8_t>;

void put(Block block, std::size_t offset, std::size_t size, std::int64_t value)
{
    const auto bits = static_cast<std::uint64_t>(value);
    for (std::size_t i = 0; i < size; ++i)
        block[offset + i] = static_cast<std::uint8_t>(bits >> (8 * (size - 1 - i)));
}

std::int64_t scaled(double value, int exponent)
{
    return std::min<std::int64_t>(std::llround(std::ldexp(value, exponent)), 0xFFFF);
}

void put_views(Block block, double magnification)
{
    const double degree = std::acos(-1.0) / 180.0;
    const double half_width = std::tan(kWideHfov / 2 * degree) / magnification;
    put(block, 92, 2, scaled(2 * std::atan(half_width) / degree, kFovExponent));
    put(block, 94, 2, scaled(2 * std::atan(half_width / kAspect) / degree, kFovExponent));
}

// What the status says of an axis.
bool says_moving(const Axis &axis, MovingFlag fault, std::int64_t now)
{
    const bool moving = axis.moving(now);
    return fault == MovingFlag::none ? moving : fault == MovingFlag::stuck || !moving;
}

// Lens status: bit 1 while the lens finds its zero, bit 4 zoom moving, bit 6 focus moving.
std::int64_t lens_status(const Camera &camera, MovingFlag fault, std::int64_t now)
{
    return (camera.lens_ready(now) ? 0 : 0x02) | (says_moving(camera.zoom, fault, now) ? 0x10 : 0) |
           (says_moving(camera.focus, fault, now) ? 0x40 : 0);
}

void fill_camera(Block block, const Camera &camera, MovingFlag fault, std::int64_t now)
{
    const double zoom = camera.zoom.at(now);
    const double optical = std::min(zoom, Camera::kZoomOptical);
    const std::int64_t tenths = std::llround(camera.temperature * 10);
    for (const std::size_t offset : {16u, 18u, 20u, 22u})
        put(block, offset, 2, tenths);
    put(block, 29, 1, lens_status(camera, fault, now));
    put(block, 34, 2, std::llround(camera.focus.at(now)));
    put(block, 43, 1, camera.setting(Rec::focus_speed)[0]);
    put(block, 64, 2, std::llround(optical * 2440 / Camera::kZoomOptical));
    put(block, 72, 1, camera.setting(Rec::zoom_speed)[0]);
    put(block, 79, 1, kZoomExponent << 4 | kFovExponent);
    put(block, 80, 2, std::llround(zoom - optical));
    put(block, 88, 2, scaled(optical / 256 + 1, kZoomExponent));
    put_views(block, camera.magnification(now));
    put(block, 96, 2, camera.setting(Rec::exposure_mode)[0]);
    put(block, 98, 1, camera.setting(Rec::exposure_window)[0]);
    const ExposureCodes exposure = camera.exposure(now);
    put(block, 103, 1, exposure.iris);
    put(block, 104, 1, exposure.shutter);
    put(block, 105, 1, exposure.gain);
    put(block, 121, 1, camera.setting(Rec::brightness)[0]);
    put(block, 130, 1, camera.setting(Rec::max_gain)[0]);
    put(block, 132, 1, camera.setting(Rec::shutter_limits)[0]);
    put(block, 133, 1, camera.setting(Rec::shutter_limits)[1]);
    put(block, 144, 1, camera.setting(Rec::ir_cut)[0]);
    put(block, 145, 1, camera.setting(Rec::day_night_mode)[0]);
    put(block, 146, 1, camera.setting(Rec::day_night_threshold)[0]);
    put(block, 192, 2, camera.setting(Rec::wb_red)[0]);
    put(block, 194, 2, camera.setting(Rec::wb_blue)[0]);
    put(block, 208, 1, camera.setting(Rec::wb_mode)[0]);
    put(block, 210, 1, camera.setting(Rec::colour_level)[1]);
}

void put_drive(Block block, std::size_t offset, const Axis &axis, std::int64_t now)
{
    put(block, offset, 4, std::llround(axis.at(now)));
    put(block, offset + 4, 4, std::llround(axis.target(now)));
    const std::int64_t speed = axis.moving(now) ? std::llround(axis.speed()) : 0;
    put(block, offset + 32, 4, speed);
    put(block, offset + 36, 4, speed);
}

void fill_pan_tilt(Block block, const Camera &camera, MovingFlag fault, std::int64_t now)
{
    put(block, 4, 1,
        (says_moving(camera.pan, fault, now) ? 0x01 : 0) | (says_moving(camera.tilt, fault, now) ? 0x10 : 0));
    put_drive(block, 16, camera.pan, now);
    put_drive(block, 32, camera.tilt, now);
}

void fill_system(Block block, const Camera &camera, std::int64_t now)
{
    put(block, 28, 1, camera.model());
    put(block, 30, 1, camera.capture_frequency);
    put(block, 31, 1, camera.capture_mode_state(now));
    put(block, 33, 1, camera.setting(Rec::video_mode)[0]);
    put(block, 34, 1, camera.setting(Rec::frame_rate)[0]);
    put(block, 35, 1, camera.setting(Rec::scan_mode)[0]);
}

void fill_block(Block block, std::size_t index, const Camera &camera, MovingFlag fault, std::int64_t now)
{
    block[0] = kBlocks[index].tag;
    switch (index) {
    case 0:
        fill_camera(block, camera, fault, now);
        break;
    case 1:
        fill_pan_tilt(block, camera, fault, now);
        break;
    case 2:
        fill_system(block, camera, now);
        break;
    default:
        put(block, 4, 4, camera.options().fw_revision);
        put(block, 8, 4, 1);
    }
    for (const ForcedBits &forced : camera.forced) {
        if (forced.tag == block[0] && forced.offset < block.size())
            block[forced.offset] = static_cast<std::uint8_t>((block[forced.offset] & ~forced.mask) | forced.value);
    }
}

StatusBlocks status_of(const Camera &camera, Faults &faults, std::int64_t now)
{
    const auto fault = faults.strike(Fault::moving_flag) ? static_cast<MovingFlag>(faults.value(Fault::moving_flag))
                                                         : MovingFlag::none;
    StatusBlocks status{};
    for (std::size_t i = 0; i < kBlocks.size(); ++i)
        fill_block(Block(status).subspan(kBlocks[i].at, kBlocks[i].size), i, camera, fault, now);
    return status;
}

// Fills `room` with blocks from `first` on and gives the bytes used. A block larger than the whole room is shortened.
std::size_t fill_run(const StatusBlocks &status, std::int64_t missing, std::span<std::uint8_t> room, std::size_t &first)
{
    std::size_t used = 0;
    for (std::size_t i = 0; i < kBlocks.size(); ++i) {
        const BlockRow &next = kBlocks[first];
        if (next.tag != missing) {
            if (used + next.size > room.size() && used > 0)
                return used;
            const std::size_t size = std::min(next.size, room.size());
            if (size < 5)
                return 0;
            const Block block = room.subspan(used, size);
            std::copy_n(status.begin() + static_cast<std::ptrdiff_t>(next.at), size, block.begin());
            put(block, 2, 2, static_cast<std::int64_t>(size - 4));
            used += size;
        }
        first = (first + 1) % kBlocks.size();
    }
    return used;
}

} // namespace

std::size_t write_answer(const Camera &camera, std::optional<StatusBlocks> &status, Faults &faults,
                         std::span<std::uint8_t> burst, std::size_t first, std::int64_t now)
{
    std::fill(burst.begin(), burst.end(), std::uint8_t{0});
    if (burst.size() <= kFrameHeader)
        return first;
    if (!status || !faults.strike(Fault::freeze_status))
        status = status_of(camera, faults, now);
    const std::int64_t missing = faults.strike(Fault::missing_block) ? faults.value(Fault::missing_block) : -1;
    const std::size_t length = fill_run(*status, missing, burst.subspan(kFrameHeader), first);
    finish_frame(burst, length, faults, camera.options().big_endian);
    return first;
}

void write_payload(std::span<const std::uint8_t> payload, Faults &faults, bool big_endian,
                   std::span<std::uint8_t> burst)
{
    std::fill(burst.begin(), burst.end(), std::uint8_t{0});
    if (burst.size() < kFrameHeader + payload.size())
        return;
    std::copy(payload.begin(), payload.end(), burst.begin() + kFrameHeader);
    finish_frame(burst, payload.size(), faults, big_endian);
}

} // namespace sim
