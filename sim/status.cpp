#include "sim/status.h"

#include "sim/frame.h"

#include <algorithm>
#include <cmath>

namespace sim {
namespace {

struct BlockRow {
    std::uint8_t tag;
    std::size_t size; // header included
};
constexpr std::array<BlockRow, 4> kBlocks{{{0xF8, 528}, {0xE0, 128}, {0x60, 64}, {0x40, 32}}};

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

// Lens status: bit 1 while the lens finds its zero, bit 4 zoom moving, bit 6 focus moving.
std::int64_t lens_status(const Camera &camera, std::int64_t now)
{
    return (camera.lens_ready(now) ? 0 : 0x02) | (camera.zoom.moving(now) ? 0x10 : 0) |
           (camera.focus.moving(now) ? 0x40 : 0);
}

void fill_camera(Block block, const Camera &camera, std::int64_t now)
{
    const double zoom = camera.zoom.at(now);
    const double optical = std::min(zoom, Camera::kZoomOptical);
    const std::int64_t tenths = std::llround(camera.temperature * 10);
    for (const std::size_t offset : {16u, 18u, 20u, 22u})
        put(block, offset, 2, tenths);
    put(block, 29, 1, lens_status(camera, now));
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

void fill_pan_tilt(Block block, const Camera &camera, std::int64_t now)
{
    put(block, 4, 1, (camera.pan.moving(now) ? 0x01 : 0) | (camera.tilt.moving(now) ? 0x10 : 0));
    put_drive(block, 16, camera.pan, now);
    put_drive(block, 32, camera.tilt, now);
}

void fill_system(Block block, const Camera &camera, std::int64_t now)
{
    put(block, 28, 1, camera.options().model);
    put(block, 30, 1, camera.capture_frequency);
    put(block, 31, 1, camera.capture_mode_state(now));
    put(block, 33, 1, camera.setting(Rec::video_mode)[0]);
    put(block, 34, 1, camera.setting(Rec::frame_rate)[0]);
    put(block, 35, 1, camera.setting(Rec::scan_mode)[0]);
}

void fill_block(Block block, std::size_t index, const Camera &camera, std::int64_t now)
{
    block[0] = kBlocks[index].tag;
    put(block, 2, 2, static_cast<std::int64_t>(block.size() - 4));
    switch (index) {
    case 0:
        fill_camera(block, camera, now);
        break;
    case 1:
        fill_pan_tilt(block, camera, now);
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

// Fills `room` with blocks from `first` on and gives the bytes used. A block larger than the whole room is shortened.
std::size_t fill_run(const Camera &camera, Faults &faults, std::span<std::uint8_t> room, std::size_t &first,
                     std::int64_t now)
{
    const std::int64_t missing = faults.strike(Fault::missing_block) ? faults.value(Fault::missing_block) : -1;
    std::array<std::uint8_t, 528> scratch{};
    std::size_t used = 0;
    for (std::size_t i = 0; i < kBlocks.size(); ++i) {
        std::size_t size = kBlocks[first].size;
        if (kBlocks[first].tag == missing) {
            first = (first + 1) % kBlocks.size();
            continue;
        }
        if (used + size > room.size() && used > 0)
            return used;
        const Block block = Block(scratch).first(size);
        std::fill(block.begin(), block.end(), std::uint8_t{0});
        fill_block(block, first, camera, now);
        size = std::min(size, room.size());
        if (size < 5)
            return 0;
        put(block, 2, 2, static_cast<std::int64_t>(size - 4));
        std::copy_n(block.begin(), size, room.begin() + static_cast<std::ptrdiff_t>(used));
        used += size;
        first = (first + 1) % kBlocks.size();
    }
    return used;
}

void randomise(std::span<std::uint8_t> bytes, Faults &faults)
{
    for (std::uint8_t &value : bytes)
        value = static_cast<std::uint8_t>(faults.random(256));
}

// Faults in what the frame carries; the header is made for the result. Gives the payload's length.
std::size_t spoil_payload(std::span<std::uint8_t> payload, Faults &faults)
{
    if (faults.strike(Fault::empty_frame))
        return 0;
    if (faults.strike(Fault::cut_frame))
        return 1 + faults.random(static_cast<std::uint32_t>(payload.size()));
    if (faults.strike(Fault::garbage_blocks))
        randomise(payload, faults);
    if (payload.size() > 532 && faults.strike(Fault::zero_length_block))
        put(payload, 530, 2, 0);
    return payload.size();
}

// Faults in the frame itself.
void spoil_frame(std::span<std::uint8_t> burst, std::size_t length, bool big_endian, Faults &faults)
{
    if (faults.strike(Fault::stretch_frame))
        write_header(burst, burst.size() - 3 + faults.random(1000), 0, big_endian);
    if (faults.strike(Fault::bad_checksum))
        burst[2] = static_cast<std::uint8_t>(burst[2] + 1 + faults.random(255));
    if (faults.strike(Fault::flip_bit)) {
        const std::uint32_t bit = faults.random(static_cast<std::uint32_t>(8 * (length + kFrameHeader)));
        burst[bit / 8] = static_cast<std::uint8_t>(burst[bit / 8] ^ 1u << bit % 8);
    }
    if (faults.strike(Fault::garbage))
        randomise(burst, faults);
}

// Spoils the payload that stands in the burst, and puts its header before it.
void finish_frame(std::span<std::uint8_t> burst, std::size_t length, Faults &faults, bool big_endian)
{
    const auto room = burst.subspan(kFrameHeader);
    if (length != 0)
        length = spoil_payload(room.first(length), faults);
    write_header(burst, length, frame_checksum(room.first(length)), big_endian);
    spoil_frame(burst, length, big_endian, faults);
}

} // namespace

std::size_t write_answer(const Camera &camera, Faults &faults, std::span<std::uint8_t> burst, std::size_t first,
                         std::int64_t now)
{
    std::fill(burst.begin(), burst.end(), std::uint8_t{0});
    if (burst.size() <= kFrameHeader)
        return first;
    const std::size_t length = fill_run(camera, faults, burst.subspan(kFrameHeader), first, now);
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
