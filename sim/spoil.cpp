#include "sim/spoil.h"

#include "sim/frame.h"

#include <algorithm>

namespace sim {
namespace {

void put16(std::span<std::uint8_t> bytes, std::size_t offset, unsigned value)
{
    bytes[offset] = static_cast<std::uint8_t>(value >> 8);
    bytes[offset + 1] = static_cast<std::uint8_t>(value);
}

void flip_bit(std::span<std::uint8_t> bytes, Faults &faults)
{
    const std::uint32_t bit = faults.random(static_cast<std::uint32_t>(8 * bytes.size()));
    bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] ^ 1u << bit % 8);
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
        put16(payload, 530, 0);
    return payload.size();
}

// Faults in the frame itself.
void spoil_frame(std::span<std::uint8_t> burst, std::size_t length, bool big_endian, Faults &faults)
{
    if (faults.strike(Fault::stretch_frame))
        write_header(burst, burst.size() - 3 + faults.random(1000), 0, big_endian);
    if (faults.strike(Fault::bad_checksum))
        burst[2] = static_cast<std::uint8_t>(burst[2] + 1 + faults.random(255));
    if (faults.strike(Fault::flip_bit))
        flip_bit(burst.first(length + kFrameHeader), faults);
    if (faults.strike(Fault::garbage))
        randomise(burst, faults);
}

// Header and payload of a frame, as far as they are in the burst.
std::size_t frame_size(std::span<const std::uint8_t> burst, bool big_endian)
{
    const std::size_t low = burst[big_endian ? 1 : 0];
    const std::size_t high = burst[big_endian ? 0 : 1];
    return std::min(kFrameHeader + (high << 8 | low), burst.size());
}

// Takes the bytes that were, and gives as many as fit, then zeros.
void replace(std::span<std::uint8_t> burst, std::span<const std::uint8_t> bytes)
{
    const std::size_t size = std::min(burst.size(), bytes.size());
    std::copy_n(bytes.begin(), size, burst.begin());
    std::fill(burst.begin() + static_cast<std::ptrdiff_t>(size), burst.end(), std::uint8_t{0});
}

} // namespace

void finish_frame(std::span<std::uint8_t> burst, std::size_t length, Faults &faults, bool big_endian)
{
    const auto room = burst.subspan(kFrameHeader);
    if (length != 0)
        length = spoil_payload(room.first(length), faults);
    write_header(burst, length, frame_checksum(room.first(length)), big_endian);
    spoil_frame(burst, length, big_endian, faults);
}

std::span<const std::uint8_t> Wires::to_block(std::span<const std::uint8_t> host)
{
    received_.assign(host.begin(), host.end());
    if (host.size() <= kFrameHeader || (host[0] == 0 && host[1] == 0))
        return received_; // a status read has nothing to lose
    const std::size_t size = frame_size(received_, true);
    if (faults_.strike(Fault::host_flip_bit))
        flip_bit(std::span(received_).first(size), faults_);
    if (faults_.strike(Fault::host_cut)) {
        const auto kept = kFrameHeader + faults_.random(static_cast<std::uint32_t>(size - kFrameHeader));
        std::fill(received_.begin() + static_cast<std::ptrdiff_t>(kept), received_.end(), std::uint8_t{0});
    }
    if (faults_.strike(Fault::host_lose))
        std::fill(received_.begin(), received_.end(), std::uint8_t{0});
    return received_;
}

void Wires::to_host(std::span<std::uint8_t> answer, bool big_endian)
{
    Bytes late;
    if (faults_.strike(Fault::late_reply))
        late.assign(answer.begin(), answer.end());
    if (!late.empty() || !late_.empty())
        replace(answer, late_);
    late_ = std::move(late);
    if (faults_.strike(Fault::stale_reply))
        replace(answer, before_);
    if (answer.size() > kFrameHeader && faults_.strike(Fault::double_reply)) {
        const std::size_t size = frame_size(answer, big_endian);
        replace(answer.subspan(size), Bytes(answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(size)));
    }
    if (!answer.empty() && faults_.strike(Fault::shift_reply)) {
        std::copy_backward(answer.begin(), answer.end() - 1, answer.end());
        answer[0] = 0;
    }
    if (faults_.strike(Fault::all_00))
        std::fill(answer.begin(), answer.end(), std::uint8_t{0x00});
    if (faults_.strike(Fault::all_ff))
        std::fill(answer.begin(), answer.end(), std::uint8_t{0xFF});
    before_.assign(answer.begin(), answer.end());
}

} // namespace sim
